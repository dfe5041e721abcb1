// `echo`: a DICOM C-ECHO to every node, through the DCMTK companion.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <mutex>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "catalogue_errors.hpp"
#include "commands.hpp"
#include "selector_options.hpp"
#include "telvor/node/node_validation.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "telvor/dcmtk/node_probe.hpp"
#include "telvor/json/json.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

// Fewer nodes than this finish before a progress line would help.
constexpr std::size_t kProgressFromNodes = 4;

// Each node to probe with its 1-based position in the catalogue (0 for --host's).
struct Probed {
  std::size_t position;
  DicomNode node;
};

void requireCallingAeTitle(const std::string& title) {
  DicomNode self;
  self.aetitle = title;
  for (const auto& problem : validate(self))
    if (problem.code <= NodeProblemCode::aetitleInvalidCharacter)
      throw UsageError("--aet \"" + escapeForTerminal(title) +
                       "\" is not a valid AE title: 1 to 16 printable ASCII characters, no backslash");
}

// The nodes of FILE (all, or the one a selector names), or the unsaved target of --host.
std::vector<Probed> echoNodes(const Options& options, const SelectorOptions& select) {
  requireCallingAeTitle(options.callingAeTitle);
  if (options.certificateFile.has_value() != options.privateKeyFile.has_value())
    throw UsageError("--cert and --key go together");
  if ((options.listenPort || !options.acceptFrom.empty()) && !options.checkRetrieve)
    throw UsageError("--listen-port and --accept-from go with --check-retrieve");
  if (options.host ? !options.calledAeTitle : (options.port || options.calledAeTitle))
    throw UsageError("an unsaved target takes --host and --aec (and --port, 104 by default)");
  if (options.host && options.input) throw UsageError("give either a catalogue or --host, not both");
  const std::size_t selectors = (select.index ? 1 : 0) + (select.id ? 1 : 0) + select.name.size() + select.aet.size();
  if (selectors > 1) throw UsageError("select at most one node with --index N, --name TEXT, --node-aet TEXT or --id UUID");
  if (options.host) {
    if (selectors > 0) throw UsageError("a selector chooses a node of a catalogue, not of --host");
    DicomNode node;
    node.name = *options.host;
    node.address = *options.host;
    node.port = options.port.value_or("104");
    node.aetitle = options.calledAeTitle;
    if (options.checkRetrieve) node.retrieveMode = options.listenPort ? RetrieveModeType::cmove : RetrieveModeType::cget;
    return {{0, node}};
  }
  if (!options.input)
    throw UsageError("echo needs a catalogue: give FILE (\"-\" reads standard input), or --host and --aec for one peer");
  const auto catalogue = readCatalogue(options.input, options.maxInputBytes);
  std::vector<Probed> probed;
  if (selectors == 1) {
    std::size_t index = 0;
    try {
      index = catalogue.selectOne(select.selector());
    } catch (const catalogue::CatalogueError& e) {
      throwToolError(e);
    }
    probed.push_back({index + 1, catalogue.node(index)});
    return probed;
  }
  const auto& nodes = catalogue.nodes();
  for (std::size_t i = 0; i < nodes.size(); ++i) probed.push_back({i + 1, nodes[i]});
  return probed;
}

dcmtk::ProbeOptions probeOptions(const Options& options) {
  dcmtk::ProbeOptions probe;
  probe.callingAeTitle = options.callingAeTitle;
  // The options hold the timeout to (0, 3600] seconds.
  probe.timeout = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(options.timeoutSeconds * 1000)));
  probe.checkFind = options.checkFind;
  probe.checkRetrieve = options.checkRetrieve;
  probe.listenPort = options.listenPort.value_or(0);
  probe.acceptFrom = options.acceptFrom;
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

// A check's answer in the JSON document: {"title", "reason"}, or null when not asked.
template <class Answer>
boost::json::value answerDocument(const std::optional<Answer>& answer) {
  if (!answer) return nullptr;
  return boost::json::object{{"answered", answer->answered()},
                             {"title", dcmtk::title(answer->outcome)},
                             {"reason", answer->reason}};
}

template <class Answer>
void appendAnswer(std::string& out, std::string_view check, const std::optional<Answer>& answer) {
  if (!answer) return;
  out += "; " + std::string(check) + ": " + std::string(dcmtk::title(answer->outcome));
  if (!answer->reason.empty()) out += ": " + escapeForTerminal(answer->reason);
}

}  // namespace

// One line per node: "NAME: online", or "NAME: offline: REASON" / "NAME: unknown: REASON";
// with --check-find an answered node adds "; query: yes" or "; query: refused: REASON",
// with --check-retrieve "; retrieve: yes|no|unknown[: REASON]". With --json, one document
// (docs/CLI.md). Exit status 0 when every node is online, 1 otherwise.
int runEcho(const Options& options, const SelectorOptions& select) {
  const auto probed = echoNodes(options, select);
  std::vector<DicomNode> nodes;
  nodes.reserve(probed.size());
  for (const auto& p : probed) nodes.push_back(p.node);
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
    allOnline = allOnline && results[i].answered();
    const bool web = nodes[i].retrieveMode == RetrieveModeType::wado;
    if (options.json) {
      boost::json::object entry{{"index", probed[i].position},
                                {"status", json::toDocument(status)},
                                {"title", status.title()},
                                {"via", web ? "http" : "dicom"},
                                {"elapsedMs", results[i].elapsed.count()}};
      entry["name"] = nodes[i].name ? boost::json::value(*nodes[i].name) : boost::json::value(nullptr);
      if (options.checkFind) entry["query"] = answerDocument(results[i].query);
      if (options.checkRetrieve) entry["retrieve"] = answerDocument(results[i].retrieve);
      report.push_back(std::move(entry));
      continue;
    }
    const auto label = nodes[i].name ? escapeForTerminal(*nodes[i].name)
                                     : "node " + std::to_string(probed[i].position);
    out += label + ": " + std::string(status.title());
    if (!status.reason().empty()) out += ": " + escapeForTerminal(status.reason());
    appendAnswer(out, "query", results[i].query);
    appendAnswer(out, "retrieve", results[i].retrieve);
    out += '\n';
  }
  if (options.json)
    out = json::serialize(boost::json::object{{"allOnline", allOnline}, {"nodes", std::move(report)}}, {.indent = 2}) + '\n';
  writeStandardOutput(out);
  return allOnline ? kSuccess : kAnswerNo;
}

}  // namespace telvor::tool
