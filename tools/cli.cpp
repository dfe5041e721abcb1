#include "cli.hpp"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>

#include "command.hpp"
#include "commands.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

// The commands, in the order help lists them. A new command is one line here.
std::vector<CommandSpec> commandTable() {
  return {listCommand(), showCommand(), checkCommand(), echoCommand(),
          addCommand(),  setCommand(),  removeCommand(), convertCommand(), importCommand(), exportCommand()};
}

constexpr const char* kExitStatuses =
    "Exit status, the same for every command:\n"
    "  0  success (check: no problems; echo: every node online)\n"
    "  1  the answer is no (check found problems; echo found a node not online)\n"
    "  2  usage: unknown option, bad value, a selector matching no node or several\n"
    "  3  the input cannot be used: unreadable file, damaged property list, or a decoding\n"
    "     error printed as KIND at PATH: DESCRIPTION\n"
    "  4  the result could not be saved: no space, permissions, lock not obtained\n";

// Error lines may quote a catalogue's text or a path: escaped line by line, never raw.
int fail(std::string_view what, int status) {
  std::string text = "telvor-nodes: ";
  for (std::size_t start = 0;;) {
    const auto end = what.find('\n', start);
    text += escapeForTerminal(what.substr(start, end - start));
    if (end == std::string_view::npos) break;
    text += '\n';
    start = end + 1;
  }
  std::cerr << text << '\n';
  return status;
}

// Runs the command, then makes sure everything written to standard output arrived.
int runChecked(const CommandRun& run) {
  const int status = run();
  finishStandardOutput();
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
    fail(e.what(), kUsage);
    std::cerr << "Run \"telvor-nodes --help\" or \"telvor-nodes COMMAND --help\" for the options.\n";
    return kUsage;
  }

  try {
    if (help->parsed()) {
      if (helpTopic.empty()) {
        writeStandardOutput(app.help());
        return runChecked([] { return kSuccess; });
      }
      for (const auto& [command, run] : runs)
        if (command->get_name() == helpTopic) {
          writeStandardOutput(command->help("telvor-nodes"));
          return runChecked([] { return kSuccess; });
        }
      throw UsageError("no command \"" + helpTopic + "\"");
    }
    for (const auto& [command, run] : runs)
      if (command->parsed()) return runChecked(run);
    if (version) return runChecked(runVersion);
    throw UsageError("a command is required (run \"telvor-nodes --help\" for the list)");
  } catch (const UsageError& e) {
    return fail(e.what(), kUsage);
  } catch (const InputError& e) {
    return fail(e.what(), kUnusableInput);
  } catch (const SaveFailure& e) {
    return fail(e.what(), kNotSaved);
  } catch (const OutputError& e) {
    // A reader that went away wants no more output, and no message either.
    return e.brokenPipe() ? kNotSaved : fail(e.what(), kNotSaved);
  } catch (const std::exception& e) {
    return fail(e.what(), kUnusableInput);
  }
}

}  // namespace telvor::tool
