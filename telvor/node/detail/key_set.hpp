// Internal: the values under a fixed set of keys, found in one pass over a dictionary.
//
//   constexpr detail::KeySet<2> kKeys({"Port", "AETitle"});
//   const auto found = kKeys.find(dictionary);  // found[1]: the value under "AETitle", or null
//
// A record reads a score of keys from each dictionary; looking each up on its own costs a
// scan of the entries per key. Here each entry is matched only against the keys of its
// length, from a table made when the set is compiled.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "telvor/coding/property_dictionary.hpp"

namespace telvor::detail {

template <std::size_t N>
class KeySet {
 public:
  static constexpr std::size_t kLongest = 63;  // longer keys cannot be in a set
  static_assert(N < 255);

  // The keys must be distinct, not empty, and no longer than kLongest bytes.
  consteval explicit KeySet(const std::array<std::string_view, N>& keys) : keys_(keys) {
    firstOfLength_.fill(kNone);
    next_.fill(kNone);
    for (std::size_t i = N; i-- > 0;) {
      const std::size_t length = keys[i].size();
      if (length == 0 || length > kLongest) throw "a key of a KeySet is empty or too long";
      for (std::size_t j = 0; j < i; ++j)
        if (keys[j] == keys[i]) throw "a KeySet holds a key twice";
      next_[i] = firstOfLength_[length];
      firstOfLength_[length] = static_cast<std::uint8_t>(i);
    }
  }

  // The value under each key, in the set's order; null for a key the dictionary lacks.
  std::array<const PropertyValue*, N> find(const PropertyDictionary& dictionary) const noexcept {
    std::array<const PropertyValue*, N> found{};
    for (const auto& [key, value] : dictionary) {
      if (key.size() > kLongest) continue;
      for (std::uint8_t i = firstOfLength_[key.size()]; i != kNone; i = next_[i]) {
        if (sameBytes(keys_[i].data(), key.data(), key.size())) {
          found[i] = &value;
          break;
        }
      }
    }
    return found;
  }

  const std::array<std::string_view, N>& keys() const noexcept { return keys_; }

 private:
  static constexpr std::uint8_t kNone = 0xFF;

  // Whether `n` (at least 1) bytes are equal, compared in overlapping words: keys are short
  // and mostly differ early, so a call to memcmp would cost more than the comparison.
  static bool sameBytes(const char* a, const char* b, std::size_t n) noexcept {
    const auto differ = [a, b](std::size_t at, auto word) {
      decltype(word) x, y;
      std::memcpy(&x, a + at, sizeof x);
      std::memcpy(&y, b + at, sizeof y);
      return x != y;
    };
    if (n < 4) {
      for (std::size_t i = 0; i < n; ++i)
        if (a[i] != b[i]) return false;
      return true;
    }
    if (n < 8) return !differ(0, std::uint32_t{}) && !differ(n - 4, std::uint32_t{});
    for (std::size_t at = 0; at + 8 < n; at += 8)
      if (differ(at, std::uint64_t{})) return false;
    return !differ(n - 8, std::uint64_t{});
  }
  std::array<std::string_view, N> keys_;
  std::array<std::uint8_t, kLongest + 1> firstOfLength_{};  // per length, the first key of it
  std::array<std::uint8_t, N> next_{};                       // the next key of the same length
};

}  // namespace telvor::detail
