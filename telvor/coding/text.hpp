// Text helpers shared by every record: UTF-8 validity and canonical equality.
//
// Texts are std::string holding UTF-8. Wherever the library compares texts (record
// fields, status reasons) it uses `textEquals`: Unicode canonical equivalence, so that
// a precomposed letter equals its decomposed form.
//
//   textEquals("\u00e9", "e\u0301")   // true: "é" precomposed and decomposed
//   textEquals("ARCHIVE", "archive")  // false: letter case counts
//
// Byte-equal texts, and texts whose first difference is ASCII on both sides, are answered
// inline without normalising. A text that is not valid UTF-8 has no canonical form: it
// equals only its own bytes.
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

// Where two words first differ, in bytes from their start; they must differ.
template <class Word>
inline std::size_t firstDifferentByte(Word x, Word y) noexcept {
  const int bit = std::endian::native == std::endian::little ? std::countr_zero(x ^ y) : std::countl_zero(x ^ y);
  return static_cast<std::size_t>(bit) / 8;
}

// Whether the words of type Word at `at` differ, and if so where (into `where`).
template <class Word>
inline bool wordsDiffer(std::string_view a, std::string_view b, std::size_t at, std::size_t& where) noexcept {
  Word x = 0;
  Word y = 0;
  std::memcpy(&x, a.data() + at, sizeof(Word));
  std::memcpy(&y, b.data() + at, sizeof(Word));
  if (x == y) return false;
  where = at + firstDifferentByte(x, y);
  return true;
}

// The same for the sixteen bytes at `at`, as two words tested with one branch.
inline bool blocksDiffer(std::string_view a, std::string_view b, std::size_t at, std::size_t& where) noexcept {
  std::uint64_t x[2] = {0, 0};
  std::uint64_t y[2] = {0, 0};
  std::memcpy(x, a.data() + at, 16);
  std::memcpy(y, b.data() + at, 16);
  if (((x[0] ^ y[0]) | (x[1] ^ y[1])) == 0) return false;
  where = x[0] != y[0] ? at + firstDifferentByte(x[0], y[0]) : at + 8 + firstDifferentByte(x[1], y[1]);
  return true;
}

// The index of the first byte where the texts differ (the shorter one's size when one is
// a prefix of the other), compared sixteen bytes at a time. The last block may overlap
// the one before it, whose bytes are known to be equal; so do the two words of a text
// shorter than a block.
inline std::size_t firstDifference(std::string_view a, std::string_view b) noexcept {
  const std::size_t common = a.size() < b.size() ? a.size() : b.size();
  std::size_t where = common;
  if (common >= 16) {
    std::size_t i = 0;
    for (; i + 16 <= common; i += 16)
      if (blocksDiffer(a, b, i, where)) return where;
    if (i < common) blocksDiffer(a, b, common - 16, where);
  } else if (common >= 8) {
    if (!wordsDiffer<std::uint64_t>(a, b, 0, where)) wordsDiffer<std::uint64_t>(a, b, common - 8, where);
  } else if (common >= 4) {
    if (!wordsDiffer<std::uint32_t>(a, b, 0, where)) wordsDiffer<std::uint32_t>(a, b, common - 4, where);
  } else {
    for (std::size_t i = 0; i < common; ++i)
      if (a[i] != b[i]) return i;
  }
  return where;
}

}  // namespace detail

// True when the two texts are canonically equivalent; see above. Never throws: should
// normalisation be impossible (invalid UTF-8, memory exhausted) the bytes are compared.
// Inline up to the first difference, so that equal texts cost about what operator==
// costs; only a difference at a non-ASCII byte calls into the library. (Texts of other
// lengths cost more than operator==, which decides them from the sizes: a text and its
// decomposition differ in length, so the bytes must be read.)
inline bool textEquals(std::string_view a, std::string_view b) noexcept {
  const std::size_t i = detail::firstDifference(a, b);
  if (i == a.size() && i == b.size()) return true;
  // Where the texts first differ, an ASCII character (or the end of the text) on both
  // sides settles it: ASCII characters are starters that neither decompose nor reorder,
  // so the canonical forms differ at that same place.
  const bool settledA = i == a.size() || static_cast<unsigned char>(a[i]) < 0x80;
  const bool settledB = i == b.size() || static_cast<unsigned char>(b[i]) < 0x80;
  if (settledA && settledB) return false;
  return detail::canonicallyEqual(a, b);
}

}  // namespace telvor
