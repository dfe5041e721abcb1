// `echo` in a build without the DCMTK companion.
#include "commands.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

int runEcho(const Options&, const SelectorOptions&) { throw UsageError("echo needs the DCMTK companion, which this build lacks"); }

}  // namespace telvor::tool
