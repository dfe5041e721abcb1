#include "telvor/dcmtk/node_probe.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "telvor/node/node_validation.hpp"

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

EchoOptions echoOptions(const ProbeOptions& options) { return {options.timeout, options.checkFind}; }

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
  auto target = echoTarget(node, options);
  if (auto* result = std::get_if<EchoResult>(&target)) return std::move(*result);
  return echo(std::get<EchoTarget>(target), options.callingAeTitle, echoOptions(options));
}

std::vector<EchoResult> echoNodes(std::span<const DicomNode> nodes, const ProbeOptions& options, unsigned jobs) {
  std::vector<std::variant<EchoTarget, EchoResult>> targets;
  targets.reserve(nodes.size());
  for (const auto& node : nodes) targets.push_back(echoTarget(node, options));

  std::vector<EchoResult> results(nodes.size());
  std::mutex reporting;
  forEachIndex(nodes.size(), jobs, [&](std::size_t i) {
    if (auto* result = std::get_if<EchoResult>(&targets[i])) results[i] = std::move(*result);
    else results[i] = echo(std::get<EchoTarget>(targets[i]), options.callingAeTitle, echoOptions(options));
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
