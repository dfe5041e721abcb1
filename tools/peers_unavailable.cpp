// import and export in a tool built without the peer-list formats (TELVOR_BUILD_PEERS off).
#include "command.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

CommandSpec unavailable(const char* name) {
  return {name, "(not in this build: it was built without the peer-list formats)", [](CLI::App&) {
            return CommandRun([]() -> int { throw UsageError("this telvor-nodes was built without the peer-list formats"); });
          }};
}

}  // namespace

CommandSpec importCommand() { return unavailable("import"); }
CommandSpec exportCommand() { return unavailable("export"); }

}  // namespace telvor::tool
