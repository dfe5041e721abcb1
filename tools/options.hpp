// Options of the commands that read a catalogue or convert records (list, convert, check,
// echo), as their CLI11 declarations fill them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "telvor/catalogue/limits.hpp"

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
  std::uint64_t maxInputBytes = catalogue::kDefaultMaxInputBytes;  // larger inputs are refused unread
  // echo only
  std::string callingAeTitle = "TELVOR";
  double timeoutSeconds = 5;  // finite, above 0, at most 3600
  unsigned jobs = 4;          // 1 to 1024
  std::optional<std::string> certificateFile;  // --cert, with --key: the client certificate
  std::optional<std::string> privateKeyFile;   // --key
  std::vector<std::string> trustedCertificateFiles;        // --ca-file, repeatable
  std::vector<std::string> trustedCertificateDirectories;  // --ca-dir, repeatable
  bool checkFind = false;
  // --check-retrieve: a real retrieve after the echo; C-MOVE sends to --listen-port, where
  // only the probed peers' addresses (and those of --accept-from) may deliver.
  bool checkRetrieve = false;
  std::optional<std::uint16_t> listenPort;
  std::vector<std::string> acceptFrom;
  // An unsaved target instead of a catalogue: --host, --port (default 104), --aec.
  std::optional<std::string> host;
  std::optional<std::string> port;
  std::optional<std::string> calledAeTitle;
};

// The format a path's extension names, if any.
std::optional<Format> formatOfPath(const std::string& path);

}  // namespace telvor::tool
