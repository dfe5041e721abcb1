// The two property-list writers, and what they share: the checks of text and nesting
// that make everything written readable again, with the offending value's path.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "telvor/coding/coding_path.hpp"
#include "telvor/coding/property_dictionary.hpp"

namespace telvor::plist::detail {

// The dictionaries to write: one as the root, or an array of them.
struct WriteRoot {
  std::span<const PropertyDictionary> dictionaries;
  bool asArray = false;
};

// The XML form: UTF-8, tab indentation, keys in the dictionaries' order.
std::string writeXml(const WriteRoot& root);
// The binary form ("bplist00"), equal scalars stored once.
std::string writeBinary(const WriteRoot& root);

// "$[2].Port"
std::string where(const CodingPathLink& at);

// Refuses (unwritable) text that is not valid UTF-8 or holds a NUL character, which no
// form can hold; `isKey` says whether it is a key in the dictionary at `at`.
void checkText(std::string_view text, const CodingPathLink& at, bool isKey);

// Refuses (tooDeep) a container at `level` beyond kMaxDepth.
void checkLevel(const CodingPathLink& at, std::size_t level);

}  // namespace telvor::plist::detail
