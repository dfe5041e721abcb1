// telvor-nodes' command line: the commands of command.hpp under one CLI11 application,
// help for each, and every failure mapped onto the tool's exit statuses (tool_error.hpp).
#pragma once

namespace telvor::tool {

// Parses the arguments, runs the command, and returns the process exit status.
int runCommandLine(int argc, char** argv);

// The arguments runCommandLine was given (null-terminated, as main received them), for a
// command that hands the whole line to another program.
char** commandLine() noexcept;

}  // namespace telvor::tool
