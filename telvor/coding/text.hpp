// Text helpers shared by every record: UTF-8 validity and canonical equality.
//
// Texts are std::string holding UTF-8. Wherever the library compares texts (record
// fields, status reasons) it uses `textEquals`: Unicode canonical equivalence, so that
// a precomposed letter equals its decomposed form.
//
//   textEquals("\u00e9", "e\u0301")   // true: "é" precomposed and decomposed
//   textEquals("ARCHIVE", "archive")  // false: letter case counts
//
// Byte-equal texts, and pairs that are both ASCII, are answered without normalising.
// A text that is not valid UTF-8 has no canonical form: it equals only its own bytes.
#pragma once

#include <string_view>

#include "telvor/telvor_export.hpp"

namespace telvor {

// True when `text` is well-formed UTF-8 (no overlong forms, surrogates or values past
// U+10FFFF). Allocation-free.
TELVOR_API bool isValidUtf8(std::string_view text) noexcept;

// True when the two texts are canonically equivalent; see above. Never throws: should
// normalisation be impossible (invalid UTF-8, memory exhausted) the bytes are compared.
TELVOR_API bool textEquals(std::string_view a, std::string_view b) noexcept;

}  // namespace telvor
