// `echo`: a DICOM C-ECHO to every node, through the DCMTK companion.
#include <algorithm>
#include <cmath>
#include <iostream>

#include "commands.hpp"
#include "io.hpp"
#include "records.hpp"
#include "telvor/dcmtk/node_probe.hpp"

namespace telvor::tool {
namespace {

// The nodes of FILE, the unsaved target of --host, or the bundled sample catalogue.
std::vector<DicomNode> readEchoNodes(const Options& options) {
  if (options.host) {
    DicomNode node;
    node.name = *options.host;
    node.address = *options.host;
    node.port = options.port.value_or("104");
    node.aetitle = options.calledAeTitle;
    return {node};
  }
  if (!options.input) return readRecords<DicomNode>(sampleCatalogue(), Format::plist).values;
  const std::string bytes = readInput(*options.input);
  return readRecords<DicomNode>(bytes, inputFormat(options.from, *options.input, bytes)).values;
}

dcmtk::ProbeOptions probeOptions(const Options& options) {
  dcmtk::ProbeOptions probe;
  probe.callingAeTitle = options.callingAeTitle;
  // The options hold the timeout to (0, 3600] seconds.
  probe.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(options.timeoutSeconds * 1000)));
  probe.checkFind = options.checkFind;
  probe.trustedCertificateFiles = options.trustedCertificateFiles;
  probe.trustedCertificateDirectories = options.trustedCertificateDirectories;
  if (options.certificateFile && options.privateKeyFile) {
    const dcmtk::CertificateFiles files{*options.certificateFile, *options.privateKeyFile};
    probe.certificateFor = [files](std::string_view) { return std::optional(files); };
  }
  return probe;
}

}  // namespace

// One line per node: "NAME: online", or "NAME: offline: REASON" / "NAME: unknown: REASON";
// with --check-find an answered node adds "; query: yes" or "; query: refused: REASON".
// Exit status 0 when every node is online, 1 otherwise.
int runEcho(const Options& options) {
  const auto nodes = readEchoNodes(options);
  const auto results = dcmtk::echoNodes(nodes, probeOptions(options), options.jobs);
  bool allOnline = true;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNodeStatus status = dcmtk::toStatus(results[i]);
    const auto label = nodes[i].name ? *nodes[i].name : "node " + std::to_string(i + 1);
    std::cout << label << ": " << status.title();
    if (!status.reason().empty()) std::cout << ": " << status.reason();
    if (const auto& query = results[i].query) {
      std::cout << "; query: " << dcmtk::title(query->outcome);
      if (!query->reason.empty()) std::cout << ": " << query->reason;
    }
    std::cout << '\n';
    allOnline = allOnline && results[i].answered();
  }
  return allOnline ? 0 : 1;
}

}  // namespace telvor::tool
