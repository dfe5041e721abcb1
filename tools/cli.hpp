// telvor-nodes' command line: the commands of command.hpp under one CLI11 application,
// help for each, and every failure mapped onto the tool's exit statuses (tool_error.hpp).
#pragma once

namespace telvor::tool {

// Parses the arguments, runs the command, and returns the process exit status.
int runCommandLine(int argc, char** argv);

}  // namespace telvor::tool
