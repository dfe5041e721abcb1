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
  return write(detail::WriteRoot{std::span(&dictionary, 1), false}, format);
}

std::string serialize(const PropertyListDocument& document, Format format) {
  return serialize(std::span<const PropertyDictionary>(document.dictionaries), document.wasArray, format);
}

std::string serialize(std::span<const PropertyDictionary> dictionaries, bool asArray, Format format) {
  if (!asArray && dictionaries.size() != 1) {
    detail::refuseOutput(PlistError::Kind::unwritable, "a document of " + std::to_string(dictionaries.size()) +
                                                           " dictionaries must be written as an array (wasArray)");
  }
  return write(detail::WriteRoot{dictionaries, asArray}, format);
}

}  // namespace telvor::plist
