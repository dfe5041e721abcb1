// Options of the commands that read a catalogue or convert records (list, convert, check,
// echo), as their CLI11 declarations fill them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace telvor::tool {

enum class Format { plist, json };
enum class RecordType { node, tls, wado, status };

struct Options {
  RecordType type = RecordType::node;
  std::optional<Format> from;
  std::optional<Format> to;
  bool binary = false;
  std::optional<std::string> input;   // a path, or "-" for standard input
  std::optional<std::string> output;  // a path; standard output when absent
  bool json = false;                  // one JSON document on standard output
  bool followSymlinks = false;        // -o may name a symbolic link, whose target is replaced
  std::uint64_t maxInputBytes = std::uint64_t{256} << 20;  // larger inputs are refused unread
  // echo only
  std::string callingAeTitle = "TELVOR";
  double timeoutSeconds = 5;
  unsigned jobs = 4;
};

// The format a path's extension names, if any.
std::optional<Format> formatOfPath(const std::string& path);

}  // namespace telvor::tool
