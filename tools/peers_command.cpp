// import and export: other systems' peer lists into and out of a catalogue.
#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

#include "command.hpp"
#include "peers_commands.hpp"

namespace telvor::tool {

CommandSpec importCommand() {
  return {"import", "another system's peer list into a catalogue (losses reported on standard error)",
          [](CLI::App& command) {
            auto request = std::make_shared<ImportRequest>();
            command.add_option("--from", request->format, "the other system's format (an unknown name lists the ones offered)")
                ->required();
            command.add_option("SOURCE", request->source, "the other system's file; \"-\" reads standard input")
                ->required();
            command.add_option("-o,--output", request->catalogue,
                               "catalogue to append to (created when missing); without it the catalogue is printed");
            command.add_flag("--replace-matching", request->replaceMatching,
                             "update the nodes with the same AE title, address and port instead of appending");
            command.add_flag("--strict", request->strict, "fail (exit 1, nothing written) on any loss");
            addInputLimit(command, request->maxInputBytes);
            return CommandRun([request] { return runImport(*request); });
          }};
}

CommandSpec exportCommand() {
  return {"export", "a catalogue as another system's peer list (losses reported on standard error)",
          [](CLI::App& command) {
            auto request = std::make_shared<ExportRequest>();
            command.add_option("--to", request->format, "the other system's format (an unknown name lists the ones offered)")
                ->required();
            command.add_option("CATALOGUE", request->catalogue, "property-list catalogue; \"-\" reads standard input")
                ->required();
            command.add_option("-o,--output", request->output, "output file (default: standard output)");
            command.add_option("--select", request->select, "only these nodes: names, AE titles or positions (from 1)");
            command.add_flag("--strict", request->strict, "fail (exit 1, nothing written) on any loss");
            addInputLimit(command, request->maxInputBytes);
            return CommandRun([request] { return runExport(*request); });
          }};
}

}  // namespace telvor::tool
