// echo, import and export in the reading tool: each runs in the whole tool, which lies at
// TELVOR_FULL_TOOL relative to this one, so that listing, showing, checking and converting
// a catalogue never load DCMTK, libcurl, OpenLDAP or Qt. The command line was parsed here
// already (its errors are this tool's); the whole tool parses it again and runs it.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "cli.hpp"
#include "commands.hpp"
#include "peers_commands.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

[[noreturn]] void handOver() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::string full = (self.parent_path() / TELVOR_FULL_TOOL).lexically_normal().string();
  char** argv = commandLine();
  if (!error) ::execv(full.c_str(), argv);
  const std::string reason = error ? error.message() : std::strerror(errno);
  throw UsageError("echo, import and export run in " + full + ", which could not be started (" + reason +
                   "); reinstall telvor-nodes");
}

}  // namespace

int runEcho(const Options&, const SelectorOptions&) { handOver(); }
int runImport(const ImportRequest&) { handOver(); }
int runExport(const ExportRequest&) { handOver(); }

}  // namespace telvor::tool
