#include "telvor/dcmtk/node_probe.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "telvor/node/node_validation.hpp"
#ifdef TELVOR_DCMTK_WEB
#include "telvor/web/wado_probe.hpp"
#endif

namespace telvor::dcmtk {
namespace {

// The problems that keep a peer from being reached; a WADO URL matters only to WADO.
std::optional<EchoResult> unusableNode(const DicomNode& node) {
  std::string reasons;
  for (const auto& problem : validate(node)) {
    if (problem.code == NodeProblemCode::wadoUrlMissing) continue;
    if (!reasons.empty()) reasons += ' ';
    reasons += problem.message;
  }
  if (reasons.empty()) return std::nullopt;
  return EchoResult{EchoOutcome::notAttempted, std::move(reasons)};
}

// Runs `work(i)` for every i below `count`, on up to `jobs` threads including the caller
// (fewer when the system will not start more). The first exception thrown by `work` stops
// the remaining work and is rethrown once every thread has finished.
template <class Work>
void forEachIndex(std::size_t count, unsigned jobs, Work work) {
  std::atomic<std::size_t> next{0};
  std::exception_ptr failure;
  std::mutex failureMutex;
  const auto drain = [&] {
    try {
      for (std::size_t i = next++; i < count; i = next++) work(i);
    } catch (...) {
      next = count;
      const std::lock_guard lock(failureMutex);
      if (!failure) failure = std::current_exception();
    }
  };
  const std::size_t helpers = std::min<std::size_t>(std::max(jobs, 1u), count) - (count > 0 ? 1 : 0);
  std::vector<std::thread> threads;
  threads.reserve(helpers);
  for (std::size_t t = 0; t < helpers; ++t) {
    try {
      threads.emplace_back(drain);
    } catch (const std::system_error&) {
      break;
    }
  }
  drain();
  for (auto& thread : threads) thread.join();
  if (failure) std::rethrow_exception(failure);
}

EchoOptions echoOptions(const ProbeOptions& options, const DicomNode& node) {
  EchoOptions echo{options.timeout, options.checkFind, std::nullopt};
  if (options.checkRetrieve)
    echo.retrieve = RetrieveCheck{node.retrieveMode == RetrieveModeType::cmove, options.listenPort, options.acceptFrom};
  return echo;
}

bool isWebNode(const DicomNode& node) { return node.retrieveMode == RetrieveModeType::wado; }

#ifdef TELVOR_DCMTK_WEB
using WebProbe = web::WadoProbeOptions;

EchoOutcome fromWeb(web::WadoOutcome outcome) {
  using W = web::WadoOutcome;
  switch (outcome) {
    case W::answered: return EchoOutcome::answered;
    case W::notAttempted: return EchoOutcome::notAttempted;
    case W::localSetupFailed: return EchoOutcome::localSetupFailed;
    case W::credentialsRefused:
    case W::forbidden: return EchoOutcome::serviceRefused;
    case W::noService:
    case W::notDicomWeb:
    case W::serviceError: return EchoOutcome::serviceMissing;
    case W::certificateNotTrusted:
    case W::certificateNameMismatch:
    case W::tlsFailed: return EchoOutcome::tlsHandshakeFailed;
    case W::connectionRefused: return EchoOutcome::connectionRefused;
    case W::unreachable: return EchoOutcome::connectionFailed;
    case W::addressNotFound: return EchoOutcome::addressNotFound;
    case W::timedOut: return EchoOutcome::timedOut;
    case W::connectionClosed: return EchoOutcome::connectionClosed;
  }
  return EchoOutcome::protocolError;
}

// The web probe's settings for a node; the client certificate is looked up here, on the
// calling thread, as for DICOM nodes.
std::variant<WebProbe, EchoResult> webProbe(const DicomNode& node, const ProbeOptions& options) {
  WebProbe probe{options.timeout, options.trustedCertificateFiles, options.trustedCertificateDirectories, std::nullopt};
  if (node.tlsSettings && node.tlsSettings->authenticateWithCertificate && options.certificateFor)
    if (auto files = options.certificateFor(node.tlsCertificateID(options.applicationIdentifier)))
      probe.clientCertificate = web::ClientCertificate{files->certificateFile, files->privateKeyFile};
  return probe;
}

EchoResult runWeb(const DicomNode& node, const WebProbe& probe) {
  const web::WadoResult web = web::probeWado(node, probe);
  EchoResult result{fromWeb(web.outcome), web.reason};
  result.elapsed = web.elapsed;
  return result;
}
#else
struct WebProbe {};

std::variant<WebProbe, EchoResult> webProbe(const DicomNode&, const ProbeOptions&) {
  return EchoResult{EchoOutcome::notAttempted,
                    "The node is retrieved over WADO, and this build cannot probe web services (it was built "
                    "without libcurl); a C-ECHO would not tell whether WADO works."};
}

EchoResult runWeb(const DicomNode&, const WebProbe&) { return {}; }
#endif

// What probing one node takes: a DICOM target, a web probe, or the result already known.
using Job = std::variant<EchoTarget, WebProbe, EchoResult>;

Job prepare(const DicomNode& node, const ProbeOptions& options) {
  if (isWebNode(node)) {
    auto probe = webProbe(node, options);
    if (auto* result = std::get_if<EchoResult>(&probe)) return std::move(*result);
    return std::get<WebProbe>(std::move(probe));
  }
  auto target = echoTarget(node, options);
  if (auto* result = std::get_if<EchoResult>(&target)) return std::move(*result);
  return std::get<EchoTarget>(std::move(target));
}

EchoResult runJob(const Job& job, const DicomNode& node, const ProbeOptions& options) {
  if (const auto* result = std::get_if<EchoResult>(&job)) return *result;
  if (const auto* web = std::get_if<WebProbe>(&job)) return runWeb(node, *web);
  return echo(std::get<EchoTarget>(job), options.callingAeTitle, echoOptions(options, node));
}

}  // namespace

std::variant<EchoTarget, EchoResult> echoTarget(const DicomNode& node, const ProbeOptions& options) {
  if (auto unusable = unusableNode(node)) return std::move(*unusable);
  EchoTarget target{*node.address, portNumber(*node.port).value_or(0), *node.aetitle, std::nullopt};
  if (!node.tlsSettings || !node.tlsSettings->isEnabled) return target;

  const TlsSettings& settings = *node.tlsSettings;
  EchoTls tls{settings.securityProfile, settings.verifyPeerCertificate, std::nullopt, options.trustedCertificateFiles,
              options.trustedCertificateDirectories};
  if (settings.authenticateWithCertificate) {
    const std::string id = node.tlsCertificateID(options.applicationIdentifier);
    if (options.certificateFor) tls.clientCertificate = options.certificateFor(id);
    if (!tls.clientCertificate)
      return EchoResult{EchoOutcome::localSetupFailed,
                        "The node authenticates with a client certificate, but none is installed for \"" + id +
                            "\": install one, or turn the node's certificate authentication off."};
  }
  target.tls = std::move(tls);
  return target;
}

EchoResult echoNode(const DicomNode& node, const ProbeOptions& options) {
  return runJob(prepare(node, options), node, options);
}

std::vector<EchoResult> echoNodes(std::span<const DicomNode> nodes, const ProbeOptions& options, unsigned jobs) {
  std::vector<Job> work;
  work.reserve(nodes.size());
  for (const auto& node : nodes) work.push_back(prepare(node, options));

  std::vector<EchoResult> results(nodes.size());
  std::mutex reporting;
  forEachIndex(nodes.size(), jobs, [&](std::size_t i) {
    results[i] = runJob(work[i], nodes[i], options);
    if (options.onResult) {
      const std::lock_guard lock(reporting);
      options.onResult(i, results[i]);
    }
  });
  return results;
}

DicomNodeStatus toStatus(const EchoResult& result) {
  if (result.answered()) return DicomNodeStatus::accessable();
  if (!result.attempted()) return DicomNodeStatus::unknown(result.reason);
  return DicomNodeStatus::inaccessible(result.reason);
}

DicomNodeStatus probe(const DicomNode& node, const ProbeOptions& options) { return toStatus(echoNode(node, options)); }

std::vector<DicomNodeStatus> probeAll(std::span<const DicomNode> nodes, const ProbeOptions& options, unsigned jobs) {
  const auto results = echoNodes(nodes, options, jobs);
  std::vector<DicomNodeStatus> statuses;
  statuses.reserve(results.size());
  for (const auto& result : results) statuses.push_back(toStatus(result));
  return statuses;
}

}  // namespace telvor::dcmtk
