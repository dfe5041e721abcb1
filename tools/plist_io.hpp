// The tool's bridge to the property-list format.
#pragma once

#include <cstddef>
#include <functional>
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
// a binary one. Throws InputError ("invalidValue at PATH: ...") for a value the form
// cannot hold.
std::string writePlist(const DictionaryList& list, bool binary);

// The same one dictionary at a time, so that a catalogue's dictionaries never all exist
// at once: readPlist hands each to `take` as soon as it is read and gives wasArray;
// writePlist asks `make(i)` for dictionary i of `count`.
bool readPlist(std::string_view bytes, const std::function<void(PropertyDictionary&&)>& take);
std::string writePlist(std::size_t count, bool wasArray, const std::function<PropertyDictionary(std::size_t)>& make,
                       bool binary);

}  // namespace telvor::tool
