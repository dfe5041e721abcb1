// import and export: other systems' peer lists into and out of a catalogue.
#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

#include "command.hpp"
#include "peers_commands.hpp"

namespace telvor::tool {
namespace {

constexpr const char* kDirectoryGroup = "Directory (ldap)";

void addDirectoryOptions(CLI::App& command, DirectoryOptions& options) {
  command.add_option("--bind-dn", options.bindDn, "bind as this DN (simple bind; anonymous without it)")
      ->group(kDirectoryGroup);
  command.add_option("--password-file", options.passwordFile,
                     "the bind password: the first line of this file (never given on the command line)")
      ->group(kDirectoryGroup);
  command.add_option("--ca-file", options.caFile, "PEM certificates to trust for ldaps:// and --starttls")
      ->group(kDirectoryGroup);
  command.add_flag("--starttls", options.startTls, "upgrade an ldap:// connection with StartTLS before binding")
      ->group(kDirectoryGroup);
  command.add_option("--timeout", options.timeoutSeconds, "seconds to wait for the directory at each step (default 10)")
      ->group(kDirectoryGroup);
}

}  // namespace

CommandSpec importCommand() {
  return {"import", "another system's peer list into a catalogue (losses reported on standard error)",
          [](CLI::App& command) {
            auto request = std::make_shared<ImportRequest>();
            command.add_option("--from", request->format, "the other system's format (an unknown name lists the ones offered)")
                ->required();
            command.add_option("SOURCE", request->source,
                               "the other system's file; \"-\" reads standard input; ldap: ldap://HOST:PORT/BASE-DN")
                ->required();
            command.add_option("-o,--output", request->catalogue,
                               "catalogue to append to (created when missing; any catalogue format); without it the catalogue is printed");
            command.add_flag("--replace-matching", request->replaceMatching,
                             "update the nodes with the same AE title, address and port instead of appending");
            command.add_flag("--strict", request->strict, "fail (exit 1, nothing written) on any loss");
            addInputLimit(command, request->maxInputBytes);
            addDirectoryOptions(command, request->directory);
            return CommandRun([request] { return runImport(*request); });
          }};
}

CommandSpec exportCommand() {
  return {"export", "a catalogue as another system's peer list (losses reported on standard error)",
          [](CLI::App& command) {
            auto request = std::make_shared<ExportRequest>();
            command.add_option("--to", request->format, "the other system's format (an unknown name lists the ones offered)")
                ->required();
            command.add_option("CATALOGUE", request->catalogue,
                               "catalogue file (XML or binary property list, or JSON); \"-\" reads standard input")
                ->required();
            command.add_option("-o,--output", request->output,
                               "output file (default: standard output); a format that holds more than peers (ctk) keeps "
                               "the rest of an existing file; ldap: the directory, ldap://HOST:PORT/BASE-DN");
            addSelectorOptions(command, request->selectors, true, "Selectors (any of; --name and --aet repeatable)");
            command.add_option("--select", request->select,
                               "a node by its number in list, its name or its AE title (repeatable)")
                ->group("Selectors (any of; --name and --aet repeatable)");
            command.footer("Without selectors every node is exported; with them, each node any of them matches.");
            command.add_flag("--strict", request->strict, "fail (exit 1, nothing written) on any loss");
            command.add_option("--certificate-file", request->certificateFile,
                               "dcmtk-pstat: the certificate file named for nodes that authenticate with a certificate");
            command.add_option("--private-key-file", request->privateKeyFile,
                               "dcmtk-pstat: the private key file named beside it");
            addInputLimit(command, request->maxInputBytes);
            addDirectoryOptions(command, request->directory);
            return CommandRun([request] { return runExport(*request); });
          }};
}

}  // namespace telvor::tool
