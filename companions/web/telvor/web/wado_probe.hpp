// Whether a node's web (WADO) service answers as configured: one cheap, read-only
// DICOMweb query over HTTP(S), with libcurl, and a verdict a person can act on.
//
//   telvor::web::WadoProbeOptions options{.timeout = std::chrono::seconds(3)};
//   options.trustedCertificateFiles = {"/etc/viewer/web-ca.pem"};
//   auto result = telvor::web::probeWado(node, options);
//   if (!result.answered()) show(result.reason);
//   // "https://pacs.example:8443/dicom-web refused the credentials (HTTP 401): check the node's WADO user name and password."
//
// The service's root is composed from the node's WADO settings (composeWadoAddress) and
// asked `GET {root}/studies?limit=1` with `Accept: application/dicom+json` and HTTP basic
// authentication from the settings' user name and password. HTTPS follows the node's TLS
// settings: the peer's certificate (and the host name it was issued for) is verified when
// the node verifies its peer; a client certificate is presented when one is given.
// Redirects are not followed: a DICOMweb service answers where it is configured.
//
// The password travels only in the request's Authorization header; it never appears in a
// composed address, a reason, or anything else this unit produces. Nothing is logged.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "telvor/node/dicom_node.hpp"
#include "telvor/web/telvor_web_export.hpp"

namespace telvor::web {

// How a probe ended. `answered` means the service answers; `notAttempted` and
// `localSetupFailed` say nothing about the peer; every other value means the node's
// web service cannot be used as configured.
enum class WadoOutcome {
  answered,                 // HTTP 200 with a JSON answer, or 204 (no studies)
  notAttempted,             // the WADO settings do not make an address (reason says why)
  localSetupFailed,         // this side's files (trusted authorities, client certificate) are unusable
  credentialsRefused,       // HTTP 401: the user name or password is refused
  forbidden,                // HTTP 403: the user may not query
  noService,                // HTTP 404: nothing at that path
  notDicomWeb,              // a redirect, an HTML page or another answer no DICOMweb service gives
  serviceError,             // another HTTP error status (5xx, 4xx other than the above)
  certificateNotTrusted,    // the peer's certificate does not lead to a trusted authority
  certificateNameMismatch,  // the certificate is trusted but issued for another host name
  tlsFailed,                // TLS did not come up for another reason (not TLS, no common protocol)
  connectionRefused,        // nothing listens on the port
  unreachable,              // no connection for another reason (host down, no route)
  addressNotFound,          // the host name does not resolve
  timedOut,                 // the time ran out (name lookup, connection or answer)
  connectionClosed,         // the peer closed the connection without an HTTP answer
};

// A stable name for the outcome, such as "credentials-refused".
TELVOR_WEB_API std::string_view codeName(WadoOutcome outcome) noexcept;

// Where a node's DICOMweb service is, ready to be asked.
struct WadoAddress {
  // scheme://host[:port]/path, without user name or password: safe to show.
  std::string root;
  // Credentials for basic authentication, from the settings (or, when those have none, from
  // the URL's own user information). Never part of `root`.
  std::string username;
  std::string password;
};

// The address the node's WADO settings make: a `url` with a scheme (http or https) as it
// stands, its user information moved out of it; otherwise `http[s]://ADDRESS[:PORT]/URL`
// from the node's address, the WADO port (absent or 0: the scheme's default) and `https`.
// Gives a reason instead when they make none (no URL, no address, a port outside 1 to
// 65535, another scheme, a malformed URL). Never throws for any settings, and the reason
// never contains the password.
TELVOR_WEB_API std::variant<WadoAddress, std::string> composeWadoAddress(const DicomNode& node);

struct ClientCertificate {
  std::string certificateFile;  // PEM
  std::string privateKeyFile;   // unencrypted PEM
};

inline constexpr std::chrono::milliseconds kDefaultWadoTimeout = std::chrono::seconds(5);

struct WadoProbeOptions {
  // How long the whole probe may take: name lookup, connection, TLS and the answer
  // (1 ms to a day; values outside are brought inside).
  std::chrono::milliseconds timeout = kDefaultWadoTimeout;
  // Trusted authorities (PEM files) and at most one folder of them (hashed names, as
  // OpenSSL's c_rehash makes them); none given: the system's own.
  std::vector<std::string> trustedCertificateFiles;
  std::vector<std::string> trustedCertificateDirectories;
  // Presented to HTTPS services when present.
  std::optional<ClientCertificate> clientCertificate;
};

struct WadoResult {
  WadoOutcome outcome = WadoOutcome::notAttempted;
  // What happened and what to do about it; empty when answered. Never holds the password.
  std::string reason;
  // The root asked (WadoAddress::root); empty when none was composed.
  std::string root;
  // The HTTP status of the answer; 0 when there was none.
  long httpStatus = 0;
  std::chrono::milliseconds elapsed{0};

  bool answered() const noexcept { return outcome == WadoOutcome::answered; }
  bool attempted() const noexcept {
    return outcome != WadoOutcome::notAttempted && outcome != WadoOutcome::localSetupFailed;
  }
};

// Probes the node's web service and returns within the timeout (plus the moment it takes
// to close the connection). Does not look at the retrieve mode: any node with WADO
// settings can be asked. Safe to call from several threads at once. Throws only
// std::bad_alloc.
TELVOR_WEB_API WadoResult probeWado(const DicomNode& node, const WadoProbeOptions& options);

}  // namespace telvor::web
