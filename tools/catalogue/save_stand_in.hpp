// STAND-IN, to be deleted once tools/support's atomic save is on main: the same signature,
// the same guarantees in their simplest form (temporary file in the same directory, fsync,
// rename, fsync of the directory; mode 0600 for a new file, the old mode on replace; a
// symbolic link is refused unless followed).
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace telvor::tool::support {

struct SaveOptions {
  bool followSymlinks = false;
};

struct SaveError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Replaces `path` with `bytes` so that a reader sees the old or the new contents, never a
// mixture. Throws SaveError naming the path.
void saveAtomically(const std::filesystem::path& path, std::string_view bytes, const SaveOptions& options = {});

}  // namespace telvor::tool::support
