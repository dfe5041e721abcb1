#include <string>

#include "detail/refuse.hpp"
#include "detail/writers.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist {
namespace {

std::string write(const detail::WriteRoot& root, Format format) {
  return format == Format::binary ? detail::writeBinary(root) : detail::writeXml(root);
}

}  // namespace

std::string serialize(const PropertyDictionary& dictionary, Format format) {
  return write(detail::WriteRoot{1, false, [&](std::size_t, const detail::WriteRoot::Write& w) { w(dictionary); }},
               format);
}

std::string serialize(const PropertyListDocument& document, Format format) {
  return serialize(std::span<const PropertyDictionary>(document.dictionaries), document.wasArray, format);
}

std::string serialize(std::span<const PropertyDictionary> dictionaries, bool asArray, Format format) {
  if (!asArray && dictionaries.size() != 1) {
    detail::refuseOutput(PlistError::Kind::unwritable, "a document of " + std::to_string(dictionaries.size()) +
                                                           " dictionaries must be written as an array (wasArray)");
  }
  return write(detail::WriteRoot{dictionaries.size(), asArray,
                                 [&](std::size_t i, const detail::WriteRoot::Write& w) { w(dictionaries[i]); }},
               format);
}

std::string serializeEach(std::size_t count, bool asArray, const std::function<PropertyDictionary(std::size_t)>& make,
                          Format format) {
  if (!asArray && count != 1) {
    detail::refuseOutput(PlistError::Kind::unwritable,
                         "a document of " + std::to_string(count) + " dictionaries must be written as an array (wasArray)");
  }
  return write(detail::WriteRoot{count, asArray,
                                 [&](std::size_t i, const detail::WriteRoot::Write& w) {
                                   const PropertyDictionary dictionary = make(i);
                                   w(dictionary);
                                 }},
               format);
}

}  // namespace telvor::plist
