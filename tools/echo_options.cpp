// echo's command-line declaration; the probing itself is in echo_command.cpp (or
// echo_unavailable.cpp in builds without DCMTK).
#include <CLI/CLI.hpp>

#include <cmath>
#include <memory>

#include "command.hpp"
#include "commands.hpp"
#include "selector_options.hpp"

namespace telvor::tool {

CommandSpec echoCommand() {
  return {"echo", "probe every node: DICOM C-ECHO, or its web service for WADO nodes (exit status 1 when one is not online)",
          [](CLI::App& command) {
            auto options = std::make_shared<Options>();
            auto select = std::make_shared<SelectorOptions>();
            command.add_option("FILE", options->input,
                               "catalogue: XML or binary property list, or JSON; \"-\" reads standard input");
            addInputLimit(command, options->maxInputBytes);
            command.add_option("--aet", options->callingAeTitle, "calling AE title (default TELVOR)");
            command.add_option("--timeout", options->timeoutSeconds, "seconds to wait for each node (default 5)")
                ->check(CLI::Validator(
                    [](std::string& text) {
                      double seconds = 0;
                      const bool number = CLI::detail::lexical_cast(text, seconds);
                      return number && std::isfinite(seconds) && seconds > 0 && seconds <= 3600
                                 ? std::string()
                                 : "takes seconds above 0 and at most 3600, not " + text;
                    },
                    "SECONDS"));
            command.add_option("--jobs", options->jobs, "nodes probed at once (default 4)")->check(CLI::Range(1, 1024));
            command.add_option("--cert", options->certificateFile, "client certificate (PEM) for nodes with TLS on; needs --key");
            command.add_option("--key", options->privateKeyFile, "private key (PEM) of --cert");
            command.add_option("--ca-file", options->trustedCertificateFiles, "trusted authority certificate (PEM); repeatable");
            command.add_option("--ca-dir", options->trustedCertificateDirectories, "directory of trusted authorities; repeatable");
            command.add_flag("--check-find", options->checkFind,
                             "after the echo, ask whether the node answers queries (a study-root C-FIND matching nothing)");
            command.add_flag("--check-retrieve", options->checkRetrieve,
                             "after the echo, retrieve one instance (C-MOVE to --listen-port, or C-GET) and discard it");
            command.add_option("--listen-port", options->listenPort,
                               "port of this computer's storage listener for C-MOVE nodes (the port the peers know "
                               "for --aet)")
                ->check(CLI::Range(1, 65535));
            command.add_option("--accept-from", options->acceptFrom,
                               "also accept the moved instance from this address (archives that send from another "
                               "host); repeatable");
            command.add_option("--host", options->host, "probe this one peer instead of a catalogue (needs --aec)");
            command.add_option("--port", options->port, "the peer's port with --host (default 104)");
            command.add_option("--aec", options->calledAeTitle, "the peer's AE title with --host");
            constexpr const char* group = "Selector (probe one node of FILE)";
            addSelectorOptions(command, *select, false, group);
            command.add_option("--name", select->name, "the node with this name (canonical equivalence)")
                ->expected(1)
                ->group(group);
            command.add_option("--node-aet", select->aet, "the node with this AE title (--aet is the calling one)")
                ->expected(1)
                ->group(group);
            addJsonFlag(command, options->json);
            return CommandRun([options, select] { return runEcho(*options, *select); });
          }};
}

}  // namespace telvor::tool
