// `echo`: a DICOM C-ECHO to every node, through the DCMTK companion.
#include <algorithm>
#include <cmath>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "commands.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "telvor/dcmtk/node_probe.hpp"
#include "telvor/json/json.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

// One line per node: "NAME: online", or "NAME: offline: REASON" / "NAME: unknown: REASON".
// Exit status 0 when every node is online, 1 otherwise. With --json, one document:
// {"allOnline": BOOL, "nodes": [{"index", "name", "status", "title"}]}.
int runEcho(const Options& options) {
  const auto nodes = readCatalogue(options.input, options.maxInputBytes).nodes();
  dcmtk::ProbeOptions probe;
  probe.callingAeTitle = options.callingAeTitle;
  // The options hold the timeout to (0, 3600] seconds.
  probe.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(options.timeoutSeconds * 1000)));
  const auto statuses = dcmtk::probeAll(nodes, probe, options.jobs);
  bool allOnline = true;
  boost::json::array report;
  std::string out;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    allOnline = allOnline && statuses[i] == DicomNodeStatus::accessable();
    if (options.json) {
      boost::json::object entry{{"index", i + 1}, {"status", json::toDocument(statuses[i])}, {"title", statuses[i].title()}};
      entry["name"] = nodes[i].name ? boost::json::value(*nodes[i].name) : boost::json::value(nullptr);
      report.push_back(std::move(entry));
      continue;
    }
    const auto label = nodes[i].name ? escapeForTerminal(*nodes[i].name) : "node " + std::to_string(i + 1);
    out += label + ": " + std::string(statuses[i].title());
    if (!statuses[i].reason().empty()) out += ": " + escapeForTerminal(statuses[i].reason());
    out += '\n';
  }
  if (options.json)
    out = json::serialize(boost::json::object{{"allOnline", allOnline}, {"nodes", std::move(report)}}, {.indent = 2}) + '\n';
  writeStandardOutput(out);
  return allOnline ? kSuccess : kAnswerNo;
}

}  // namespace telvor::tool
