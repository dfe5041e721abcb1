// `echo`: a DICOM C-ECHO to every node, through the DCMTK companion.
#include <algorithm>
#include <cmath>
#include <iostream>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "commands.hpp"
#include "telvor/dcmtk/node_probe.hpp"
#include "telvor/json/json.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
// One line per node: "NAME: online", or "NAME: offline: REASON" / "NAME: unknown: REASON".
// Exit status 0 when every node is online, 1 otherwise. With --json, one document:
// {"allOnline": BOOL, "nodes": [{"index", "name", "status", "title"}]}.
int runEcho(const Options& options) {
  const auto nodes = readCatalogue(options.input).nodes();
  dcmtk::ProbeOptions probe;
  probe.callingAeTitle = options.callingAeTitle;
  // DCMTK waits whole seconds, a day at most; the options have made sure the number is positive.
  const double seconds = std::min(options.timeoutSeconds, 86400.0);
  probe.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000)));
  const auto statuses = dcmtk::probeAll(nodes, probe, options.jobs);
  bool allOnline = true;
  boost::json::array report;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    allOnline = allOnline && statuses[i] == DicomNodeStatus::accessable();
    if (options.json) {
      boost::json::object entry{{"index", i + 1}, {"status", json::toDocument(statuses[i])}, {"title", statuses[i].title()}};
      entry["name"] = nodes[i].name ? boost::json::value(*nodes[i].name) : boost::json::value(nullptr);
      report.push_back(std::move(entry));
      continue;
    }
    const auto label = nodes[i].name ? *nodes[i].name : "node " + std::to_string(i + 1);
    std::cout << label << ": " << statuses[i].title();
    if (!statuses[i].reason().empty()) std::cout << ": " << statuses[i].reason();
    std::cout << '\n';
  }
  if (options.json)
    std::cout << json::serialize(boost::json::object{{"allOnline", allOnline}, {"nodes", std::move(report)}}, {.indent = 2})
              << '\n';
  return allOnline ? kSuccess : kAnswerNo;
}

}  // namespace telvor::tool
