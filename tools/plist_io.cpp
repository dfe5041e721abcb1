#include "plist_io.hpp"

#include "tool_error.hpp"

namespace telvor::tool {

DictionaryList readPlist(std::string_view) { throw UsageError("property lists are not available yet"); }
std::string writePlist(const DictionaryList&, bool) { throw UsageError("property lists are not available yet"); }

}  // namespace telvor::tool
