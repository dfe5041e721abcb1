#include <cstdint>
#include <limits>
#include <string>

#include "detail/binary_reader.hpp"
#include "detail/refuse.hpp"
#include "detail/xml_reader.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist {

bool parseEach(std::string_view bytes, const std::function<void(PropertyDictionary&&)>& take) {
  return parseEach(bytes, {}, take);
}

bool parseEach(std::string_view bytes, const std::function<void(std::size_t)>& expect,
               const std::function<void(PropertyDictionary&&)>& take) {
  if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
    detail::refuseInput(PlistError::Kind::tooLarge,
                        std::to_string(bytes.size()) + " bytes of input; at most 4 GiB are read");
  }
  return bytes.starts_with("bplist") ? detail::readBinary(bytes, take, expect) : detail::readXml(bytes, take);
}

PropertyListDocument parse(std::string_view bytes) {
  PropertyListDocument document;
  document.wasArray =
      parseEach(bytes, [&](PropertyDictionary&& d) { document.dictionaries.push_back(std::move(d)); });
  return document;
}

PropertyDictionary parseDictionary(std::string_view bytes) {
  PropertyListDocument document = parse(bytes);
  if (document.wasArray) {
    detail::refuseInput(PlistError::Kind::unexpectedShape, "the root is an array of " +
                                                               std::to_string(document.dictionaries.size()) +
                                                               " dictionaries, not a dictionary");
  }
  return std::move(document.dictionaries.front());
}

}  // namespace telvor::plist
