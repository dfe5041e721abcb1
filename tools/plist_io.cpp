#include "plist_io.hpp"

#include "telvor/plist/plist.hpp"
#include "telvor/plist/plist_error.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

DictionaryList readPlist(std::string_view bytes) {
  try {
    auto document = plist::parse(bytes);
    return {std::move(document.dictionaries), document.wasArray};
  } catch (const plist::PlistError& e) {
    throw InputError(std::string("dataCorrupted at $: ") + e.what());
  }
}

std::string writePlist(const DictionaryList& list, bool binary) {
  try {
    return plist::serialize(plist::PropertyListDocument{list.dictionaries, list.wasArray},
                            binary ? plist::Format::binary : plist::Format::xml);
  } catch (const plist::PlistError& e) {
    throw InputError(std::string("invalidValue at $: ") + e.what());
  }
}

}  // namespace telvor::tool
