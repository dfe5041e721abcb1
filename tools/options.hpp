// Command-line options of telvor-nodes.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace telvor::tool {

enum class Command { list, convert, check, echo, version };
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
  // echo only
  std::string callingAeTitle = "TELVOR";
  double timeoutSeconds = 5;  // finite, above 0, at most 3600
  unsigned jobs = 4;          // 1 to 1024
  std::optional<std::string> certificateFile;  // --cert, with --key: the client certificate
  std::optional<std::string> privateKeyFile;   // --key
  std::vector<std::string> trustedCertificateFiles;        // --ca-file, repeatable
  std::vector<std::string> trustedCertificateDirectories;  // --ca-dir, repeatable
  bool checkFind = false;
  // An unsaved target instead of a catalogue: --host, --port (default 104), --aec.
  std::optional<std::string> host;
  std::optional<std::string> port;
  std::optional<std::string> calledAeTitle;
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
