// One command of telvor-nodes, as the command line declares and runs it.
//
// A command is a CommandSpec: its name, a one-line summary, and `setup`, which declares the
// command's options on its CLI11 subcommand (binding them to state it owns) and returns the
// function that runs the command once the line is parsed. To add a command, write a
// function returning its CommandSpec and add it to the table in cli.cpp; help, `help
// COMMAND`, the error handling and the exit statuses come with it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace telvor::tool {

struct Options;

using CommandRun = std::function<int()>;

struct CommandSpec {
  const char* name;
  const char* summary;
  std::function<CommandRun(CLI::App&)> setup;
};

// The commands, in the order help lists them.
CommandSpec listCommand();
CommandSpec showCommand();
CommandSpec checkCommand();
CommandSpec echoCommand();
CommandSpec addCommand();
CommandSpec setCommand();
CommandSpec removeCommand();
CommandSpec convertCommand();
CommandSpec importCommand();
CommandSpec exportCommand();

// Shared declarations: the optional catalogue FILE of the reading commands ("-" reads
// standard input; none: the bundled sample catalogue) and --json.
void addCatalogueInput(CLI::App& command, Options& options);
void addJsonFlag(CLI::App& command, bool& json);
// --max-input-size BYTES (default catalogue::kDefaultMaxInputBytes) and --follow-symlinks, for the commands that
// read a file and those that save one.
void addInputLimit(CLI::App& command, std::uint64_t& maxInputBytes);
void addFollowSymlinks(CLI::App& command, bool& follow);

}  // namespace telvor::tool
