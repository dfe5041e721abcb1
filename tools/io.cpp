#include "io.hpp"

#include "support/atomic_save.hpp"
#include "support/bounded_input.hpp"
#include "support/checked_output.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

std::string readInput(const std::string& path, std::uint64_t limit) {
  try {
    return readBounded(path, limit);
  } catch (const ReadError& e) {
    if (e.tooLarge()) throw FileError(std::string(e.what()) + " (raise it with --max-input-size BYTES)");
    throw FileError(e.what());
  }
}

void writeOutput(const std::optional<std::string>& path, std::string_view bytes, bool followSymlinks) {
  if (!path || *path == "-") return writeStandardOutput(bytes);
  try {
    saveAtomically(*path, bytes, {.followSymlinks = followSymlinks});
  } catch (const SaveError& e) {
    if (e.isSymbolicLink()) throw FileError(std::string(e.what()) + " (--follow-symlinks replaces the file it points to)");
    throw FileError(e.what());
  }
}

Format inputFormat(const std::optional<Format>& from, const std::string& path, std::string_view bytes) {
  if (from) return *from;
  if (auto byExtension = formatOfPath(path)) return *byExtension;
  const auto start = bytes.find_first_not_of(" \t\r\n");
  const std::string_view head = start == std::string_view::npos ? std::string_view() : bytes.substr(start);
  const bool looksLikePlist = head.starts_with("bplist") || head.starts_with("<?xml") || head.starts_with("<plist") ||
                              head.starts_with("<!DOCTYPE");
  return looksLikePlist ? Format::plist : Format::json;
}

}  // namespace telvor::tool
