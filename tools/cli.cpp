#include "cli.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <vector>
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

// Edit distance (insertions, deletions, substitutions, swaps of neighbours) of short words.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (std::size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i)
    for (std::size_t j = 1; j <= b.size(); ++j) {
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  return d[a.size()][b.size()];
}

// For a first word that is no command: the command meant, when one is near enough.
std::string unknownCommand(const std::vector<std::string>& names, std::string_view word) {
  std::string best;
  std::size_t bestDistance = 3;  // more than two edits away is another word
  for (const std::string& name : names) {
    const std::size_t d = name.starts_with(word) ? 1 : distance(word, name);
    if (d < bestDistance) bestDistance = d, best = name;
  }
  std::string message = "no command \"" + std::string(word) + '"';
  if (!best.empty()) message += "; did you mean \"" + best + "\"?";
  return message + " (run \"telvor-nodes --help\" for the list)";
}

// Runs the command, then makes sure everything written to standard output arrived.
int runChecked(const CommandRun& run) {
  const int status = run();
  finishStandardOutput();
  return status;
}

char** arguments = nullptr;

}  // namespace

char** commandLine() noexcept { return arguments; }

int runCommandLine(int argc, char** argv) {
  arguments = argv;
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

  std::vector<std::string> names{"help"};
  for (const auto& [command, run] : runs) names.push_back(command->get_name());
  if (argc > 1 && argv[1][0] != '-' && std::find(names.begin(), names.end(), argv[1]) == names.end())
    return fail(unknownCommand(names, argv[1]), kUsage);
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
