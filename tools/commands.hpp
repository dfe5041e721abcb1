// The subcommands of telvor-nodes. Each returns the process exit status.
#pragma once

#include "options.hpp"

namespace telvor::tool {

int runList(const Options& options);
int runConvert(const Options& options);
int runCheck(const Options& options);
int runVersion();
int runEcho(const Options& options);

// The bytes of the sample catalogue bundled into the tool (examples/nodes.plist).
std::string_view sampleCatalogue() noexcept;

}  // namespace telvor::tool
