// telvor-nodes import and export: other systems' peer lists into and out of a catalogue.
// Each returns the exit status: 0 done; 1 --strict and something was lost, or a node the
// format cannot hold (nothing written); 2 unusable options or files; 3 damaged input
// (nothing written); 4 (export to a directory) a node the directory refused, or the
// directory could not be written. Losses go to standard error, one line per field per node.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "selector_options.hpp"

#include "telvor/catalogue/limits.hpp"

namespace telvor::tool {

// How to reach a directory (the ldap format): simple bind with the password read from a
// file, never taken from the command line; TLS trusted from a CA file.
struct DirectoryOptions {
  std::optional<std::string> bindDn;        // --bind-dn; absent: anonymous
  std::optional<std::string> passwordFile;  // --password-file, with --bind-dn
  std::optional<std::string> caFile;        // --ca-file, for ldaps:// and --starttls
  bool startTls = false;                    // --starttls: upgrade ldap:// before binding
  double timeoutSeconds = 10;               // --timeout, each network wait
};

struct ImportRequest {
  std::string format;                    // a name from peerFormats()
  std::string source;                    // the other system's file, "-" for standard input; ldap: the URL
  DirectoryOptions directory;            // ldap only
  std::optional<std::string> catalogue;  // -o: appended to under its lock (created when missing); absent or "-": printed
  bool replaceMatching = false;          // update the nodes with the same AE title, address and port
  bool strict = false;                   // any loss fails
  std::uint64_t maxInputBytes = catalogue::kDefaultMaxInputBytes;  // larger inputs are refused unread
};

struct ExportRequest {
  std::string format;
  std::string catalogue;                 // any catalogue format, "-" for standard input
  std::optional<std::string> output;     // -o; standard output when absent; ldap: the URL (required)
  DirectoryOptions directory;            // ldap only
  SelectorOptions selectors;             // with `select`: the nodes any of them matches, in catalogue order;
  std::vector<std::string> select;       // all when none. --select: a position, name or AE title
  bool strict = false;
  std::uint64_t maxInputBytes = catalogue::kDefaultMaxInputBytes;
  // The TLS files written for nodes that authenticate with a certificate (dcmtk-pstat).
  std::optional<std::string> certificateFile, privateKeyFile;
};

int runImport(const ImportRequest& request);
int runExport(const ExportRequest& request);

}  // namespace telvor::tool
