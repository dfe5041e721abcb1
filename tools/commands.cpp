#include "commands.hpp"

#include "catalogue_errors.hpp"
#include "import_hint.hpp"
#include "io.hpp"
#include "support/checked_output.hpp"
#include "telvor/catalogue/bounded_input.hpp"
#include "telvor/presentation/version.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

catalogue::Catalogue readCatalogue(const std::optional<std::string>& input, std::uint64_t maxInputBytes) {
  try {
    using Purpose = catalogue::Catalogue::Purpose;
    if (!input)
      return catalogue::Catalogue::parse(sampleCatalogue(), catalogue::FileFormat::xmlPropertyList, Purpose::viewing);
    const std::string bytes = readInput(*input, maxInputBytes);
    try {
      return catalogue::Catalogue::parse(bytes, catalogue::Catalogue::formatOf(*input == "-" ? "" : *input, bytes),
                                         Purpose::viewing);
    } catch (const catalogue::CatalogueError& e) {
      throwToolError(e, catalogue::inputName(*input) + ": ", importHint(bytes, *input));
    }
  } catch (const catalogue::CatalogueError& e) {
    throwToolError(e);
  }
}

int runVersion() {
  // The library's identification line, without the "@(#)" marker that finds it in binaries.
  const std::string_view line(reinterpret_cast<const char*>(TelvorVersionString) + 4, sizeof TelvorVersionString - 5);
  writeStandardOutput("telvor-nodes " TELVOR_VERSION_TEXT " (" + std::string(line.substr(0, line.size() - 1)) + ")\n");
  return 0;
}

}  // namespace telvor::tool
