// The tool's bridge to the property-list format.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "telvor/coding/property_dictionary.hpp"

namespace telvor::tool {

struct DictionaryList {
  std::vector<PropertyDictionary> dictionaries;
  bool wasArray = false;
};

// Reads an XML or binary property list holding a dictionary or an array of them.
// Throws InputError ("dataCorrupted at $: ...") when it is not one.
DictionaryList readPlist(std::string_view bytes);

// Writes the dictionaries (one, or an array when `wasArray`) as an XML property list, or
// a binary one.
std::string writePlist(const DictionaryList& list, bool binary);

}  // namespace telvor::tool
