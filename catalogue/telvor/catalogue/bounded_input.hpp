// Reading a whole input (a file, a pipe, a device, standard input) with a size limit, so
// that `/dev/zero` or a runaway pipe is refused instead of filling memory.
//
//   using telvor::catalogue::readBounded;
//   try {
//     const std::string bytes = readBounded("nodes.plist");       // up to kDefaultMaxInputBytes
//     const std::string piped = readBounded("-", 1 << 20);         // standard input, 1 MiB
//   } catch (const ReadError& e) {
//     std::cerr << e.what() << '\n';  // "nodes.plist: Is a directory"
//   }
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "telvor/catalogue/limits.hpp"
#include "telvor/catalogue/telvor_catalogue_export.hpp"

namespace telvor::catalogue {

// Why an input could not be read. what() is one line, "PATH: REASON" ("standard input"
// for "-"), REASON being the system's description of errorNumber(), or the size limit.
class TELVOR_CATALOGUE_API ReadError : public std::runtime_error {
 public:
  ReadError(std::string path, int errorNumber, const std::string& reason);

  const std::string& path() const noexcept { return path_; }
  int errorNumber() const noexcept { return errorNumber_; }  // EFBIG when above the limit
  bool tooLarge() const noexcept { return errorNumber_ == EFBIG; }

 private:
  std::string path_;
  int errorNumber_;
};

// How messages name an input: its path, or "standard input" for "-".
TELVOR_CATALOGUE_API std::string inputName(const std::string& path);

// Capacity left past a regular file's bytes, for parsers that read ahead of the end
// (simdjson), so that they read the text in place.
inline constexpr std::size_t kReadAheadRoom = 64;

// All bytes of `path` ("-": standard input). A regular file larger than `limit` is refused
// before reading; anything else (pipe, device) is read in chunks and refused as soon as it
// passes `limit`. A directory, a missing or an unreadable path throws ReadError. A file is
// never read through descriptors 0 to 2 (only "-" reads standard input).
TELVOR_CATALOGUE_API std::string readBounded(const std::string& path, std::uint64_t limit = kDefaultMaxInputBytes);

}  // namespace telvor::catalogue
