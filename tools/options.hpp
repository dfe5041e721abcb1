// Command-line options of telvor-nodes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace telvor::tool {

enum class Command { list, convert, check, echo, import_, export_, version };
enum class Format { plist, json };
enum class RecordType { node, tls, wado, status };

struct Options {
  Command command = Command::list;
  RecordType type = RecordType::node;
  std::optional<Format> from;
  std::optional<Format> to;
  bool binary = false;
  std::optional<std::string> input;   // a path, or "-" for standard input
  std::optional<std::string> output;  // a path; standard output when absent
  bool followSymlinks = false;        // -o may name a symbolic link, whose target is replaced
  std::uint64_t maxInputBytes = std::uint64_t{256} << 20;  // larger inputs are refused unread
  // echo only
  std::string callingAeTitle = "TELVOR";
  double timeoutSeconds = 5;
  unsigned jobs = 4;
  // import and export (other systems' peer lists)
  std::string peerFormat;
  bool replaceMatching = false;
  bool strict = false;
  std::vector<std::string> select;
};

// The one-line usage text.
const char* usageLine() noexcept;
// The full help text.
const char* helpText() noexcept;

// Parses argv[1..]; throws UsageError for anything unusable.
Options parseOptions(const std::vector<std::string>& args);

// The format a path's extension names, if any.
std::optional<Format> formatOfPath(const std::string& path);

}  // namespace telvor::tool
