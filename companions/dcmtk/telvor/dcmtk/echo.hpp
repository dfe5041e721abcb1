// A DICOM C-ECHO (verification) to one peer, through DCMTK, with a verdict a person can act on.
//
//   telvor::dcmtk::EchoTarget target{.address = "10.0.0.5", .port = 104, .calledAeTitle = "ARCHIVE"};
//   auto result = telvor::dcmtk::echo(target, "VIEWER", {.timeout = std::chrono::seconds(2), .checkFind = true});
//   if (!result.answered()) show(result.reason);
//   // "Connection to 10.0.0.5:104 refused: nothing listens on that port; ..."
//   else if (result.query && !result.query->answered()) show(result.query->reason);
//
// The echo resolves the address and connects (both bounded by the timeout, IPv6 included),
// hands the connection to DCMTK, which requests an association proposing the Verification
// service (and Study Root C-FIND when asked), sends one C-ECHO (and one C-FIND that matches
// nothing), and releases the association. The timeout bounds all of it together: when it
// passes, the connection is shut down, whatever the peer is doing. It never throws for
// network conditions and never logs: every outcome is a result. Most applications probe
// nodes through telvor/dcmtk/node_probe.hpp, which builds the target from a node.
//
// DCMTK keeps its connection and socket timeouts and its loggers in process-wide state.
// While at least one echo runs, the companion sets those timeouts (to the largest timeout
// among the echoes running at that moment) and switches DCMTK's network, TLS and data
// loggers off; it puts back the previous settings when the last echo ends. DCMTK also
// ignores SIGPIPE from its first network use on.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/dcmtk/telvor_dcmtk_export.hpp"
#include "telvor/vocabulary/tls_security_profile.hpp"

namespace telvor::dcmtk {

// A client certificate and its private key, as unencrypted PEM files.
struct CertificateFiles {
  std::string certificateFile;
  std::string privateKeyFile;
};

// How to speak TLS to a peer.
struct EchoTls {
  // The profile's protocol versions and cipher suites (see tls_profile_conversion.hpp);
  // profile0, no DICOM profile, leaves the TLS library's defaults in place.
  TLSSecurityProfile securityProfile = TLSSecurityProfile::profile1;
  // Refuse a peer whose certificate does not lead to one of the trusted authorities.
  // DCMTK checks the chain, not the host name the certificate was issued for.
  bool verifyPeerCertificate = false;
  // Presented to the peer when present; otherwise none is.
  std::optional<CertificateFiles> clientCertificate;
  // Certificates of trusted authorities (PEM files), and folders of them (hashed names,
  // as OpenSSL's c_rehash makes them). Needed when verifyPeerCertificate is on.
  std::vector<std::string> trustedCertificateFiles;
  std::vector<std::string> trustedCertificateDirectories;
};

// The peer to echo.
struct EchoTarget {
  std::string address;         // host name, IPv4 or IPv6 address ("::1" or "[::1]"), without a port
  std::uint16_t port = 104;    // TCP port, 1 to 65535
  std::string calledAeTitle;   // the peer's AE title, 1 to 16 characters
  std::optional<EchoTls> tls;  // absent: plain TCP
};

// How an echo ended. `answered` means the peer is reachable; `notAttempted` and
// `localSetupFailed` say nothing about the peer; every other value means it could not be
// reached as configured.
enum class EchoOutcome {
  answered,                  // the peer answered the C-ECHO with Success
  notAttempted,              // the target or the calling AE title is unusable
  localSetupFailed,          // this side's TLS or network set-up failed (files, profile)
  addressNotFound,           // the host name does not resolve
  connectionRefused,         // nothing listens on the port
  connectionFailed,          // no TCP connection for another reason (unreachable, ...)
  timedOut,                  // the timeout passed (name lookup, connection or any answer)
  tlsHandshakeFailed,        // TLS did not come up (certificate, profile, not TLS)
  connectionClosed,          // the peer hung up or aborted before answering
  associationRejected,       // the peer rejected the association (AE titles, load, ...)
  verificationNotAccepted,   // association accepted, but not the Verification service
  echoFailed,                // the C-ECHO was answered with a status other than Success
  protocolError,             // the peer answered, but not as a DICOM service does
  // Web (WADO) nodes only, probed over HTTP(S) (node_probe.hpp); the other values above
  // stand for the same conditions of the web connection.
  serviceRefused,            // the web service refused the credentials or the user (HTTP 401, 403)
  serviceMissing,            // no DICOMweb service answers there (404, redirect, web page, HTTP error)
};

// Whether a peer answers queries, told by a C-FIND that matches nothing.
enum class QueryOutcome {
  answered,  // the peer answered the C-FIND (with Success, or matches)
  refused,   // the peer does not offer Study Root C-FIND to this application, or refused the query
  failed,    // no answer: the time ran out or the connection ended
};

// "yes", "refused" or "failed", as a person reads it after "query: ".
TELVOR_DCMTK_API std::string_view title(QueryOutcome outcome) noexcept;

struct QueryAnswer {
  QueryOutcome outcome = QueryOutcome::failed;
  std::string reason;  // what the peer said or did; empty when answered
  bool answered() const noexcept { return outcome == QueryOutcome::answered; }
};

// Whether retrieving from the peer works, told by retrieving one real instance.
enum class RetrieveOutcome {
  yes,      // the instance asked for arrived (and was discarded)
  no,       // the peer refused the retrieve, or what it sent did not arrive as asked
  unknown,  // nothing to retrieve, or it could not be decided (time, listener, query refused)
};

// "yes", "no" or "unknown", as a person reads it after "retrieve: ".
TELVOR_DCMTK_API std::string_view title(RetrieveOutcome outcome) noexcept;

struct RetrieveAnswer {
  RetrieveOutcome outcome = RetrieveOutcome::unknown;
  std::string reason;  // what happened and what to do; empty when yes
  bool answered() const noexcept { return outcome == RetrieveOutcome::yes; }
};

// How to retrieve in a retrieve check.
struct RetrieveCheck {
  // C-MOVE: the peer sends the instance to the calling AE title, which it must know with
  // this computer's address and `listenPort`; this side listens there while the move runs
  // and accepts it only from the peer's own address and those in `acceptFrom` (numeric
  // addresses or host names), only the instance asked for, up to `maxInstanceBytes`.
  // C-GET: the instance comes back on the association itself; no listener is needed.
  bool move = false;
  std::uint16_t listenPort = 0;
  std::vector<std::string> acceptFrom;
  std::uint64_t maxInstanceBytes = std::uint64_t{256} << 20;
};

struct EchoResult {
  EchoResult() = default;
  EchoResult(EchoOutcome outcome, std::string reason) : outcome(outcome), reason(std::move(reason)) {}

  EchoOutcome outcome = EchoOutcome::notAttempted;
  // What happened and what to do about it, in one or two sentences; empty when answered.
  std::string reason;
  // How long the probe took, from its start to its result.
  std::chrono::milliseconds elapsed{0};
  // Present when a query check was asked for and the echo was answered.
  std::optional<QueryAnswer> query;
  // Present when a retrieve check was asked for and the echo was answered.
  std::optional<RetrieveAnswer> retrieve;

  bool answered() const noexcept { return outcome == EchoOutcome::answered; }
  // True when the result tells something about the peer (reachable or not).
  bool attempted() const noexcept {
    return outcome != EchoOutcome::notAttempted && outcome != EchoOutcome::localSetupFailed;
  }
};

// The timeout used when none is given.
inline constexpr std::chrono::milliseconds kDefaultEchoTimeout = std::chrono::seconds(5);

struct EchoOptions {
  // How long the whole probe may take: name resolution, connection, association, echo,
  // query check and release together (1 ms to a day; values outside are brought inside).
  std::chrono::milliseconds timeout = kDefaultEchoTimeout;
  // After an answered echo, ask a Study Root C-FIND at study level for a study that
  // cannot exist, and give the peer's answer in EchoResult::query.
  bool checkFind = false;
  // After an answered echo (and query check), find one instance (C-FIND at study, series
  // and image level, first match) and retrieve it as told; the answer is in
  // EchoResult::retrieve. Received data is held in memory only and discarded; nothing of
  // it is written or reported. C-MOVE checks on the same listening port wait for each other.
  std::optional<RetrieveCheck> retrieve;
};

// Echoes `target`, presenting `callingAeTitle` (1 to 16 printable ASCII characters, no
// backslash), and returns within the timeout (plus the moment it takes to close the
// connection). Safe to call from several threads at once. Throws only std::bad_alloc.
TELVOR_DCMTK_API EchoResult echo(const EchoTarget& target, std::string_view callingAeTitle,
                                 const EchoOptions& options);

// The same with only a timeout.
TELVOR_DCMTK_API EchoResult echo(const EchoTarget& target, std::string_view callingAeTitle,
                                 std::chrono::milliseconds timeout = kDefaultEchoTimeout);

}  // namespace telvor::dcmtk
