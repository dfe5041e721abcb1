// `echo`: a DICOM C-ECHO to every node, through the DCMTK companion.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <mutex>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "commands.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "telvor/dcmtk/node_probe.hpp"
#include "telvor/json/json.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

// Fewer nodes than this finish before a progress line would help.
constexpr std::size_t kProgressFromNodes = 4;

// The nodes of FILE, the unsaved target of --host, or the bundled sample catalogue.
std::vector<DicomNode> echoNodes(const Options& options) {
  if (options.certificateFile.has_value() != options.privateKeyFile.has_value())
    throw UsageError("--cert and --key go together");
  if (options.host ? !options.calledAeTitle : (options.port || options.calledAeTitle))
    throw UsageError("an unsaved target takes --host and --aec (and --port, 104 by default)");
  if (options.host && options.input) throw UsageError("give either a catalogue or --host, not both");
  if (options.host) {
    DicomNode node;
    node.name = *options.host;
    node.address = *options.host;
    node.port = options.port.value_or("104");
    node.aetitle = options.calledAeTitle;
    return {node};
  }
  return readCatalogue(options.input, options.maxInputBytes).nodes();
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

// One line on standard error, rewritten in place as results come in: "echo: D/T done,
// N online, M not online". Only on a terminal; cleared when the probes end.
class ProgressLine {
 public:
  ProgressLine(std::size_t total, bool wanted) : total_(total), shown_(wanted && ::isatty(STDERR_FILENO) == 1) {}
  ~ProgressLine() {
    if (shown_ && done_ > 0) std::fputs("\r\033[K", stderr);
  }
  void attach(dcmtk::ProbeOptions& probe) {
    if (!shown_) return;
    probe.onResult = [this](std::size_t, const dcmtk::EchoResult& result) noexcept { record(result.answered()); };
  }

 private:
  void record(bool online) noexcept {
    const std::lock_guard lock(mutex_);
    ++done_;
    online_ += online;
    std::fprintf(stderr, "\r\033[Kecho: %zu/%zu done, %zu online, %zu not online", done_, total_, online_,
                 done_ - online_);
    std::fflush(stderr);
  }
  std::mutex mutex_;
  std::size_t total_, done_ = 0, online_ = 0;
  bool shown_;
};

}  // namespace

// One line per node: "NAME: online", or "NAME: offline: REASON" / "NAME: unknown: REASON";
// with --check-find an answered node adds "; query: yes" or "; query: refused: REASON".
// With --json, one document (docs/CLI.md). Exit status 0 when every node is online, 1
// otherwise.
int runEcho(const Options& options) {
  const auto nodes = echoNodes(options);
  auto probe = probeOptions(options);
  std::vector<dcmtk::EchoResult> results;
  {
    ProgressLine progress(nodes.size(), !options.json && nodes.size() >= kProgressFromNodes);
    progress.attach(probe);
    results = dcmtk::echoNodes(nodes, probe, options.jobs);
  }
  bool allOnline = true;
  boost::json::array report;
  std::string out;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNodeStatus status = dcmtk::toStatus(results[i]);
    const auto& query = results[i].query;
    allOnline = allOnline && results[i].answered();
    if (options.json) {
      boost::json::object entry{{"index", i + 1},
                                {"status", json::toDocument(status)},
                                {"title", status.title()},
                                {"elapsedMs", results[i].elapsed.count()}};
      entry["name"] = nodes[i].name ? boost::json::value(*nodes[i].name) : boost::json::value(nullptr);
      if (options.checkFind)
        entry["query"] = query ? boost::json::value(boost::json::object{{"answered", query->answered()},
                                                                        {"title", dcmtk::title(query->outcome)},
                                                                        {"reason", query->reason}})
                               : boost::json::value(nullptr);
      report.push_back(std::move(entry));
      continue;
    }
    const auto label = nodes[i].name ? escapeForTerminal(*nodes[i].name) : "node " + std::to_string(i + 1);
    out += label + ": " + std::string(status.title());
    if (!status.reason().empty()) out += ": " + escapeForTerminal(status.reason());
    if (query) {
      out += "; query: " + std::string(dcmtk::title(query->outcome));
      if (!query->reason.empty()) out += ": " + escapeForTerminal(query->reason);
    }
    out += '\n';
  }
  if (options.json)
    out = json::serialize(boost::json::object{{"allOnline", allOnline}, {"nodes", std::move(report)}}, {.indent = 2}) + '\n';
  writeStandardOutput(out);
  return allOnline ? kSuccess : kAnswerNo;
}

}  // namespace telvor::tool
