// Key enumerations of the keyed coded forms.
//
// A coded type declares its keys as an enumeration next to its coded form, private to
// that type (in practice: in an unnamed namespace of its source file), and names them
// once through a `codingKeyNames` function found by argument-dependent lookup:
//
//   enum class CodingKeys { isEnabled, securityProfile };
//   constexpr std::array<std::string_view, 2> codingKeyNames(CodingKeys) {
//     return {"isEnabled", "securityProfile"};
//   }
//
// Each key's `stringValue` is its name in the coded form; keys have no integer value.
// Names are compared case-sensitively with no trimming.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

namespace telvor {

template <class K>
concept CodingKey = std::is_enum_v<K> && requires(K k) {
  { codingKeyNames(k) };
};

template <CodingKey K>
inline constexpr auto codingKeyNamesOf = codingKeyNames(K{});

// The key's name in the coded form; a view of static storage.
template <CodingKey K>
constexpr std::string_view stringValue(K key) noexcept {
  return codingKeyNamesOf<K>[static_cast<std::size_t>(key)];
}

// Keys of this library have no integer value.
template <CodingKey K>
constexpr std::optional<std::int64_t> intValue(K) noexcept {
  return std::nullopt;
}

// The key whose name equals `text` exactly, or absent.
template <CodingKey K>
constexpr std::optional<K> fromStringValue(std::string_view text) noexcept {
  for (std::size_t i = 0; i < codingKeyNamesOf<K>.size(); ++i)
    if (codingKeyNamesOf<K>[i] == text) return static_cast<K>(i);
  return std::nullopt;
}

// No integer names a key of this library.
template <CodingKey K>
constexpr std::optional<K> fromIntValue(std::int64_t) noexcept {
  return std::nullopt;
}

}  // namespace telvor
