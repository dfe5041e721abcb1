#include "cli.hpp"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>

#include "command.hpp"
#include "commands.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

// The commands, in the order help lists them. A new command is one line here.
std::vector<CommandSpec> commandTable() {
  return {listCommand(), showCommand(), checkCommand(), echoCommand(),
          addCommand(),  setCommand(),  removeCommand(), convertCommand()};
}

constexpr const char* kExitStatuses =
    "Exit status, the same for every command:\n"
    "  0  success (check: no problems; echo: every node online)\n"
    "  1  the answer is no (check found problems; echo found a node not online)\n"
    "  2  usage: unknown option, bad value, a selector matching no node or several\n"
    "  3  the input cannot be used: unreadable file, damaged property list, or a decoding\n"
    "     error printed as KIND at PATH: DESCRIPTION\n"
    "  4  the result could not be saved: no space, permissions, lock not obtained\n";

int fail(const char* what, int status) {
  std::cerr << "telvor-nodes: " << what << '\n';
  return status;
}

}  // namespace

int runCommandLine(int argc, char** argv) {
  CLI::App app("telvor-nodes: manage, check and probe DICOM node catalogues.", "telvor-nodes");
  app.require_subcommand(0, 1);
  bool version = false;
  app.add_flag("--version", version, "print the tool's and the library's version");

  std::map<CLI::App*, CommandRun> runs;
  for (const auto& spec : commandTable()) {
    CLI::App* command = app.add_subcommand(spec.name, spec.summary);
    runs[command] = spec.setup(*command);
    command->footer(command->get_footer().empty() ? kExitStatuses
                                                  : command->get_footer() + "\n\n" + kExitStatuses);
  }
  // After the commands: they would inherit it.
  app.footer(std::string("Run \"telvor-nodes COMMAND --help\" or \"telvor-nodes help COMMAND\" for a command's options.\n\n") +
             kExitStatuses);
  std::string helpTopic;
  CLI::App* help = app.add_subcommand("help", "the options of a command, or of the tool");
  help->add_option("COMMAND", helpTopic, "the command to describe");

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::cerr << "telvor-nodes: " << e.what() << '\n'
              << "Run \"telvor-nodes --help\" or \"telvor-nodes COMMAND --help\" for the options.\n";
    return kUsage;
  }

  try {
    if (help->parsed()) {
      if (helpTopic.empty()) {
        std::cout << app.help();
        return kSuccess;
      }
      for (const auto& [command, run] : runs)
        if (command->get_name() == helpTopic) {
          std::cout << command->help("telvor-nodes");
          return kSuccess;
        }
      throw UsageError("no command \"" + helpTopic + "\"");
    }
    for (const auto& [command, run] : runs)
      if (command->parsed()) return run();
    if (version) return runVersion();
    throw UsageError("a command is required (run \"telvor-nodes --help\" for the list)");
  } catch (const UsageError& e) {
    return fail(e.what(), kUsage);
  } catch (const InputError& e) {
    return fail(e.what(), kUnusableInput);
  } catch (const SaveFailure& e) {
    return fail(e.what(), kNotSaved);
  } catch (const std::exception& e) {
    return fail(e.what(), kUnusableInput);
  }
}

}  // namespace telvor::tool
