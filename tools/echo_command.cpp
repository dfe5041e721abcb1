// `echo`: a DICOM C-ECHO to every node, through the DCMTK companion.
#include <algorithm>
#include <cmath>

#include "commands.hpp"
#include "io.hpp"
#include "records.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "telvor/dcmtk/node_probe.hpp"

namespace telvor::tool {
namespace {

// The nodes of FILE, or of the bundled sample catalogue when no file is named.
std::vector<DicomNode> readEchoNodes(const Options& options) {
  if (!options.input) return readRecords<DicomNode>(sampleCatalogue(), Format::plist).values;
  const std::string bytes = readInput(*options.input, options.maxInputBytes);
  return readRecords<DicomNode>(bytes, inputFormat(options.from, *options.input, bytes)).values;
}

}  // namespace

// One line per node: "NAME: online", or "NAME: offline: REASON" / "NAME: unknown: REASON".
// Exit status 0 when every node is online, 1 otherwise.
int runEcho(const Options& options) {
  const auto nodes = readEchoNodes(options);
  dcmtk::ProbeOptions probe;
  probe.callingAeTitle = options.callingAeTitle;
  // DCMTK waits whole seconds, a day at most; the options have made sure the number is positive.
  const double seconds = std::min(options.timeoutSeconds, 86400.0);
  probe.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000)));
  const auto statuses = dcmtk::probeAll(nodes, probe, options.jobs);
  bool allOnline = true;
  std::string out;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const auto label = nodes[i].name ? escapeForTerminal(*nodes[i].name) : "node " + std::to_string(i + 1);
    out += label + ": " + std::string(statuses[i].title());
    if (!statuses[i].reason().empty()) out += ": " + escapeForTerminal(statuses[i].reason());
    out += '\n';
    allOnline = allOnline && statuses[i] == DicomNodeStatus::accessable();
  }
  writeStandardOutput(out);
  return allOnline ? 0 : 1;
}

}  // namespace telvor::tool
