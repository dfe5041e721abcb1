// Saving a file so that a reader only ever sees the old bytes or all of the new ones.
//
// The bytes go to a temporary file beside the target, which is flushed to disk and then
// renamed over the target; the directory is synced afterwards. Whatever goes wrong (no
// space, a file-size limit, an I/O error), the previous file stays byte-identical and the
// temporary file is removed. The library installs no signal handler: a program that wants
// an interrupted save cleaned up calls removeUnfinishedSave() from its own handler.
//
//   try {
//     telvor::catalogue::saveAtomically("nodes.plist", bytes);
//   } catch (const telvor::catalogue::SaveError& e) {
//     std::cerr << e.what() << '\n';  // "nodes.plist: No space left on device"
//   }
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "telvor/catalogue/telvor_catalogue_export.hpp"

namespace telvor::catalogue {

struct SaveOptions {
  // A target that is a symbolic link is refused unless this is set; then the file the link
  // finally points to is replaced (atomically) and the link itself stays.
  bool followSymlinks = false;
};

// Why a save failed. what() is one line, "PATH: REASON", REASON being the system's
// description of errorNumber() where there is one.
class TELVOR_CATALOGUE_API SaveError : public std::runtime_error {
 public:
  SaveError(std::filesystem::path path, int errorNumber, const std::string& reason);
  // The refusal to replace a symbolic link that was not to be followed.
  static SaveError symbolicLink(std::filesystem::path path);

  const std::filesystem::path& path() const noexcept { return path_; }
  // The errno value behind the failure; ELOOP when the target is a symbolic link that was
  // not to be followed, EISDIR/EINVAL for a target that is not a regular file.
  int errorNumber() const noexcept { return errorNumber_; }
  bool isSymbolicLink() const noexcept { return symbolicLink_; }

 private:
  std::filesystem::path path_;
  int errorNumber_;
  bool symbolicLink_ = false;
};

// Replaces (or creates) `target` with `bytes`, atomically and durably. A new file gets mode
// 0600; a replaced file keeps its mode, and its owner and group where the process may set
// them. Throws SaveError, with the previous file untouched and no temporary file left. A
// file-size limit (RLIMIT_FSIZE) is an EFBIG error only where the program ignores SIGXFSZ,
// whose default action ends the process. Saves in one process are serialised. The file is a
// new inode: other hard links to the old one keep the old bytes. No descriptor 0 to 2 is
// used, so a program started with a standard stream closed never writes into the file.
TELVOR_CATALOGUE_API void saveAtomically(const std::filesystem::path& target, std::string_view bytes,
                                         const SaveOptions& options = {});

// Removes the temporary file of a save that is under way, if there is one; the save, should
// it go on, then fails. Async-signal-safe: meant for a program's SIGINT/SIGTERM/SIGHUP
// handler, before it ends the process.
TELVOR_CATALOGUE_API void removeUnfinishedSave() noexcept;

}  // namespace telvor::catalogue
