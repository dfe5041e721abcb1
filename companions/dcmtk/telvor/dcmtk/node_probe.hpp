// Probing nodes: whether each DicomNode answers as it is configured, as the DicomNodeStatus
// to show beside it. A node retrieved by C-MOVE or C-GET is asked a DICOM C-ECHO; a node
// retrieved over WADO is asked at its web service over HTTP(S) (telvor/web/wado_probe.hpp),
// never by C-ECHO, since its DICOM port says nothing about WADO.
//
//   telvor::dcmtk::ProbeOptions options{.callingAeTitle = "VIEWER", .timeout = std::chrono::seconds(3)};
//   options.applicationIdentifier = "org.example.viewer";
//   options.certificateFor = [&](std::string_view id) { return keychain.find(id); };
//   options.trustedCertificateFiles = {"/etc/viewer/pacs-ca.pem"};
//   auto statuses = telvor::dcmtk::probeAll(nodes, options, 4);  // four at a time, in order
//   statuses[0].title();   // "offline"
//   statuses[0].reason();  // "Connection to 10.0.0.5:104 refused: nothing listens on that port; ..."
//
// A node is echoed at its address, port and AE title, over TLS when its TLS settings are
// on (with their profile and peer verification, and the client certificate the
// application holds for the node's tlsCertificateID when the node authenticates with one).
// A node that lacks what a peer needs (AE title, port 1 to 65535, an address without a port
// or scheme) is not echoed; its result (notAttempted) gives the same reasons as
// telvor::validate. A web node's outcome maps onto EchoOutcome (serviceRefused,
// serviceMissing, and the connection and TLS values); in a build without the web companion
// it is notAttempted, and its status unknown, with that reason.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "telvor/dcmtk/echo.hpp"
#include "telvor/dcmtk/telvor_dcmtk_export.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor::dcmtk {

struct ProbeOptions {
  // This application's AE title, presented to every node (1 to 16 characters).
  std::string callingAeTitle;
  // How long each node's whole probe may take (see EchoOptions).
  std::chrono::milliseconds timeout = kDefaultEchoTimeout;
  // After an answered echo, also ask whether the node answers queries (EchoResult::query).
  bool checkFind = false;
  // After an answered echo, also retrieve one instance (EchoResult::retrieve): by C-MOVE
  // to `listenPort` for nodes retrieved by C-MOVE, by C-GET for the others. Not for web
  // nodes.
  bool checkRetrieve = false;
  std::uint16_t listenPort = 0;
  std::vector<std::string> acceptFrom;
  // The application's reverse-domain identifier, which begins each node's tlsCertificateID.
  std::string applicationIdentifier;
  // The client certificate the application holds under a certificate identifier, if any.
  // Asked only for nodes that authenticate with a certificate, always on the calling thread.
  std::function<std::optional<CertificateFiles>(std::string_view certificateId)> certificateFor;
  // Trusted authorities for nodes that verify their peer (see EchoTls); for web nodes, at
  // most one folder.
  std::vector<std::string> trustedCertificateFiles;
  std::vector<std::string> trustedCertificateDirectories;
  // Told of each node's result as soon as it is known (its index in `nodes`), for progress
  // displays. Called by echoNodes and probeAll from the threads that echo, one call at a
  // time; it must not throw.
  std::function<void(std::size_t index, const EchoResult& result)> onResult;
};

// The echo target a node stands for as a DICOM peer (whatever its retrieve mode), or, when it cannot be echoed, the result saying why:
// notAttempted for a missing or invalid AE title, port or address; localSetupFailed when
// the node authenticates with a client certificate and `certificateFor` has none for it.
// Calls `options.certificateFor` at most once; exceptions it throws pass through.
TELVOR_DCMTK_API std::variant<EchoTarget, EchoResult> echoTarget(const DicomNode& node, const ProbeOptions& options);

// Probes one node: a C-ECHO, or its web service for a WADO node. Never throws for network
// conditions (see echo()).
TELVOR_DCMTK_API EchoResult echoNode(const DicomNode& node, const ProbeOptions& options);

// Probes every node as echoNode does, `jobs` at a time (0 counts as 1) on threads of its own, and returns
// the results in the order of `nodes`. Targets are worked out first, on the calling
// thread; it then waits for the echoes, taking part in them.
TELVOR_DCMTK_API std::vector<EchoResult> echoNodes(std::span<const DicomNode> nodes, const ProbeOptions& options,
                                                   unsigned jobs);

// The status an echo result stands for: accessable when the peer answered; unknown with
// the result's reason when nothing was learnt about the peer (notAttempted,
// localSetupFailed); inaccessible with the reason otherwise.
TELVOR_DCMTK_API DicomNodeStatus toStatus(const EchoResult& result);

// The node's status: toStatus(echoNode(node, options)).
TELVOR_DCMTK_API DicomNodeStatus probe(const DicomNode& node, const ProbeOptions& options);

// Every node's status, in the order of `nodes`, `jobs` at a time (see echoNodes).
TELVOR_DCMTK_API std::vector<DicomNodeStatus> probeAll(std::span<const DicomNode> nodes, const ProbeOptions& options,
                                                       unsigned jobs);

}  // namespace telvor::dcmtk
