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
    return plist::serialize(list.dictionaries, list.wasArray, binary ? plist::Format::binary : plist::Format::xml);
  } catch (const plist::PlistError& e) {
    const std::string path = e.path().empty() ? "$" : e.path();
    // Text the XML form cannot hold fits the binary form.
    const bool binaryHoldsIt = !binary && std::string_view(e.what()).find("the binary form can") != std::string_view::npos;
    throw InputError("invalidValue at " + path + ": " + e.what() + (binaryHoldsIt ? "; write it with --binary" : ""));
  }
}

}  // namespace telvor::tool
