#include "plist_io.hpp"

#include "telvor/plist/plist.hpp"
#include "telvor/plist/plist_error.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

namespace {

[[noreturn]] void unreadable(const plist::PlistError& e) {
  throw InputError(std::string("dataCorrupted at $: ") + e.what());
}

[[noreturn]] void unwritable(const plist::PlistError& e, bool binary) {
  const std::string path = e.path().empty() ? "$" : e.path();
  // Text the XML form cannot hold fits the binary form.
  const bool binaryHoldsIt = !binary && std::string_view(e.what()).find("the binary form can") != std::string_view::npos;
  throw InputError("invalidValue at " + path + ": " + e.what() + (binaryHoldsIt ? "; write it with --binary" : ""));
}

plist::Format formOf(bool binary) { return binary ? plist::Format::binary : plist::Format::xml; }

}  // namespace

DictionaryList readPlist(std::string_view bytes) {
  DictionaryList list;
  list.wasArray = readPlist(bytes, [&](PropertyDictionary&& d) { list.dictionaries.push_back(std::move(d)); });
  return list;
}

bool readPlist(std::string_view bytes, const std::function<void(PropertyDictionary&&)>& take) {
  try {
    return plist::parseEach(bytes, take);
  } catch (const plist::PlistError& e) {
    unreadable(e);
  }
}

std::string writePlist(const DictionaryList& list, bool binary) {
  try {
    return plist::serialize(list.dictionaries, list.wasArray, formOf(binary));
  } catch (const plist::PlistError& e) {
    unwritable(e, binary);
  }
}

std::string writePlist(std::size_t count, bool wasArray, const std::function<PropertyDictionary(std::size_t)>& make,
                       bool binary) {
  try {
    return plist::serializeEach(count, wasArray, make, formOf(binary));
  } catch (const plist::PlistError& e) {
    unwritable(e, binary);
  }
}

}  // namespace telvor::tool
