// Text helpers shared by every record: UTF-8 validity and canonical equality.
//
// Texts are std::string holding UTF-8. Wherever the library compares texts (record
// fields, status reasons) it uses `textEquals`: Unicode canonical equivalence, so that
// a precomposed letter equals its decomposed form.
//
//   textEquals("\u00e9", "e\u0301")   // true: "é" precomposed and decomposed
//   textEquals("ARCHIVE", "archive")  // false: letter case counts
//
// Byte-equal texts, and pairs that are both ASCII, are answered inline without
// normalising.
// A text that is not valid UTF-8 has no canonical form: it equals only its own bytes.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "telvor/telvor_export.hpp"

namespace telvor {

// True when `text` is well-formed UTF-8 (no overlong forms, surrogates or values past
// U+10FFFF). Allocation-free.
TELVOR_API bool isValidUtf8(std::string_view text) noexcept;

namespace detail {
// Canonical equivalence of two texts known to differ in their bytes, by normalising both.
TELVOR_API bool canonicallyEqual(std::string_view a, std::string_view b) noexcept;

// The index of the first byte where the texts differ (the shorter one's size when one is
// a prefix of the other), compared eight bytes at a time.
inline std::size_t firstDifference(std::string_view a, std::string_view b) noexcept {
  const std::size_t common = a.size() < b.size() ? a.size() : b.size();
  std::size_t i = 0;
  for (; i + 8 <= common; i += 8) {
    std::uint64_t x = 0;
    std::uint64_t y = 0;
    std::memcpy(&x, a.data() + i, 8);
    std::memcpy(&y, b.data() + i, 8);
    if (x != y) {
      const int bit = std::endian::native == std::endian::little ? std::countr_zero(x ^ y) : std::countl_zero(x ^ y);
      return i + static_cast<std::size_t>(bit) / 8;
    }
  }
  while (i < common && a[i] == b[i]) ++i;
  return i;
}
}  // namespace detail

// True when the two texts are canonically equivalent; see above. Never throws: should
// normalisation be impossible (invalid UTF-8, memory exhausted) the bytes are compared.
// Inline up to the first difference, so that ASCII texts cost about what operator==
// costs; only a difference at a non-ASCII byte calls into the library.
inline bool textEquals(std::string_view a, std::string_view b) noexcept {
  if (a == b) return true;
  // Where the texts first differ, an ASCII character (or the end of the text) on both
  // sides settles it: ASCII characters are starters that neither decompose nor reorder,
  // so the canonical forms differ at that same place.
  const std::size_t i = detail::firstDifference(a, b);
  const bool settledA = i == a.size() || static_cast<unsigned char>(a[i]) < 0x80;
  const bool settledB = i == b.size() || static_cast<unsigned char>(b[i]) < 0x80;
  if (settledA && settledB) return false;
  return detail::canonicallyEqual(a, b);
}

}  // namespace telvor
