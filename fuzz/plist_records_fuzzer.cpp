// Property-list bytes (XML and binary) to PropertyDictionary values and on to every
// record. Reading must give a document or the format's own PlistError; every dictionary
// read goes through the records' readers, is written again in both forms and must read
// back as the format documents (support/plist_checks.hpp, support/dictionary_oracle.hpp).
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/plist_checks.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  telvor::fuzz::checkPlistBytes(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}
