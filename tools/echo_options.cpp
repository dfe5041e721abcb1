// echo's command-line declaration; the probing itself is in echo_command.cpp (or
// echo_unavailable.cpp in builds without DCMTK).
#include <CLI/CLI.hpp>

#include <cmath>
#include <memory>

#include "command.hpp"
#include "commands.hpp"

namespace telvor::tool {

CommandSpec echoCommand() {
  return {"echo", "DICOM C-ECHO every node (exit status 1 when one is not online)", [](CLI::App& command) {
            auto options = std::make_shared<Options>();
            addCatalogueInput(command, *options);
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
            command.add_option("--host", options->host, "probe this one peer instead of a catalogue (needs --aec)");
            command.add_option("--port", options->port, "the peer's port with --host (default 104)");
            command.add_option("--aec", options->calledAeTitle, "the peer's AE title with --host");
            addJsonFlag(command, options->json);
            return CommandRun([options] { return runEcho(*options); });
          }};
}

}  // namespace telvor::tool
