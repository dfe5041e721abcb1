// `echo`: a DICOM C-ECHO to every node, through the DCMTK companion.
#include <cmath>
#include <iostream>

#include "commands.hpp"
#include "io.hpp"
#include "records.hpp"
#include "telvor/dcmtk/node_probe.hpp"

namespace telvor::tool {
namespace {

// The nodes of FILE, or of the bundled sample catalogue when no file is named.
std::vector<DicomNode> readEchoNodes(const Options& options) {
  if (!options.input) return readRecords<DicomNode>(sampleCatalogue(), Format::plist).values;
  const std::string bytes = readInput(*options.input);
  return readRecords<DicomNode>(bytes, inputFormat(options.from, *options.input, bytes)).values;
}

// The status title a result stands for.
const char* statusTitle(const dcmtk::EchoResult& result) {
  if (result.answered()) return "online";
  return result.attempted() ? "offline" : "unknown";
}

}  // namespace

int runEcho(const Options& options) {
  const auto nodes = readEchoNodes(options);
  dcmtk::ProbeOptions probe;
  probe.callingAeTitle = options.callingAeTitle;
  probe.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(options.timeoutSeconds * 1000)));
  const auto results = dcmtk::echoNodes(nodes, probe, options.jobs);
  bool allOnline = true;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const auto label = nodes[i].name ? *nodes[i].name : "node " + std::to_string(i + 1);
    std::cout << label << ": " << statusTitle(results[i]);
    if (!results[i].reason.empty()) std::cout << ": " << results[i].reason;
    std::cout << '\n';
    allOnline = allOnline && results[i].answered();
  }
  return allOnline ? 0 : 1;
}

}  // namespace telvor::tool
