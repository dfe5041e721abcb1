// echo's command-line declaration; the probing itself is in echo_command.cpp (or
// echo_unavailable.cpp in builds without DCMTK).
#include <CLI/CLI.hpp>

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
                ->check(CLI::PositiveNumber);
            command.add_option("--jobs", options->jobs, "nodes probed at once (default 4)")->check(CLI::Range(1, 1024));
            addJsonFlag(command, options->json);
            return CommandRun([options] { return runEcho(*options); });
          }};
}

}  // namespace telvor::tool
