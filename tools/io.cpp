#include "io.hpp"

#include "catalogue_errors.hpp"
#include "support/checked_output.hpp"
#include "telvor/catalogue/atomic_save.hpp"
#include "telvor/catalogue/bounded_input.hpp"
#include "telvor/catalogue/catalogue.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

std::string readInput(const std::string& path, std::uint64_t limit) {
  try {
    return catalogue::readBounded(path, limit);
  } catch (const catalogue::ReadError& e) {
    throw InputError(withHint(e.what(), catalogue::CatalogueError::Kind::invalidInput,
                              catalogue::CatalogueError::Operation::reading, e.errorNumber()));
  }
}

void writeOutput(const std::optional<std::string>& path, std::string_view bytes, bool followSymlinks) {
  if (!path || *path == "-") return writeStandardOutput(bytes);
  try {
    catalogue::saveAtomically(*path, bytes, {.followSymlinks = followSymlinks});
  } catch (const catalogue::SaveError& e) {
    throw SaveFailure(withHint(e.what(), catalogue::CatalogueError::Kind::storage,
                               catalogue::CatalogueError::Operation::saving,
                               e.isSymbolicLink() ? e.errorNumber() : 0));
  }
}

Format inputFormat(const std::optional<Format>& from, const std::string& path, std::string_view bytes) {
  if (from) return *from;
  // The catalogue's own rule, so that every command reads a file alike.
  return catalogue::Catalogue::formatOf(path == "-" ? std::string() : path, bytes) == catalogue::FileFormat::json
             ? Format::json
             : Format::plist;
}

}  // namespace telvor::tool
