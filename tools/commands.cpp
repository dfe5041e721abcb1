#include "commands.hpp"

#include "catalogue_error.hpp"
#include "import_hint.hpp"
#include "io.hpp"
#include "support/bounded_input.hpp"
#include "support/checked_output.hpp"
#include "telvor/presentation/version.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

void rethrowAsToolError(const catalogue::CatalogueError& error) {
  switch (error.kind()) {
    case catalogue::CatalogueError::Kind::unusableInput: throw InputError(error.what());
    case catalogue::CatalogueError::Kind::selection: throw UsageError(error.what());
    case catalogue::CatalogueError::Kind::notSaved: throw SaveFailure(error.what());
  }
  throw InputError(error.what());
}

catalogue::Catalogue readCatalogue(const std::optional<std::string>& input, std::uint64_t maxInputBytes) {
  try {
    if (!input) return catalogue::Catalogue::parse(sampleCatalogue(), catalogue::FileFormat::xmlPropertyList);
    const std::string bytes = readInput(*input, maxInputBytes);
    try {
      return catalogue::Catalogue::parse(bytes, catalogue::Catalogue::formatOf(*input, bytes));
    } catch (const catalogue::CatalogueError& e) {
      throw InputError(inputName(*input) + ": " + e.what() + importHint(bytes, *input));
    }
  } catch (const catalogue::CatalogueError& e) {
    rethrowAsToolError(e);
  }
}

int runVersion() {
  // The library's identification line, without the "@(#)" marker that finds it in binaries.
  const std::string_view line(reinterpret_cast<const char*>(TelvorVersionString) + 4, sizeof TelvorVersionString - 5);
  writeStandardOutput("telvor-nodes " TELVOR_VERSION_TEXT " (" + std::string(line.substr(0, line.size() - 1)) + ")\n");
  return 0;
}

}  // namespace telvor::tool
