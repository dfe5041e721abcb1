# Writes OUTPUT, a C++ source defining telvor::tool::sampleCatalogue() over INPUT's bytes.
file(READ ${INPUT} hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
file(WRITE ${OUTPUT}
"// Generated from examples/nodes.plist; do not edit.\n#include <string_view>\n\nnamespace telvor::tool {\nnamespace {\nconstexpr unsigned char kCatalogue[] = {${bytes}};\n}  // namespace\n\nstd::string_view sampleCatalogue() noexcept { return {reinterpret_cast<const char*>(kCatalogue), sizeof kCatalogue}; }\n\n}  // namespace telvor::tool\n")
