// The two property-list writers, and what they share: the checks of text and nesting
// that make everything written readable again, with the offending value's path.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "telvor/coding/coding_path.hpp"
#include "telvor/coding/property_dictionary.hpp"

namespace telvor::plist::detail {

// The dictionaries to write: one as the root, or an array of them. `visit(i, write)`
// calls `write` with dictionary i, which need live only during the call.
struct WriteRoot {
  using Write = std::function<void(const PropertyDictionary&)>;
  std::size_t count = 0;
  bool asArray = false;
  std::function<void(std::size_t, const Write&)> visit;
};

// How much output to reserve once the first of `count` dictionaries took `firstBytes`:
// a little more than they all seem to need. Reserved pages that are never written cost no
// memory, and growing by doubling would hold the old and the new copy at once.
std::size_t outputEstimate(std::size_t firstBytes, std::size_t count);

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
