#include "wado_answer.hpp"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

namespace telvor::web {
namespace {

WadoResult result(WadoOutcome outcome, std::string reason, long status = 0) {
  WadoResult r;
  r.outcome = outcome;
  r.reason = std::move(reason);
  r.httpStatus = status;
  return r;
}

std::string lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

std::string firstNonSpace(std::string_view body) {
  const auto at = body.find_first_not_of(" \t\r\n");
  return at == std::string_view::npos ? std::string() : lower(body.substr(at, 16));
}

bool looksLikeHtml(const HttpAnswer& answer) {
  const std::string start = firstNonSpace(answer.bodyStart);
  return lower(answer.contentType).find("html") != std::string::npos || start.rfind("<!doctype html", 0) == 0 ||
         start.rfind("<html", 0) == 0;
}

bool looksLikeJsonArray(const HttpAnswer& answer) {
  const std::string type = lower(answer.contentType);
  const std::string start = firstNonSpace(answer.bodyStart);
  return (type.find("json") != std::string::npos || type.empty()) && !start.empty() && start.front() == '[';
}

std::string code(long status) { return "HTTP " + std::to_string(status); }

}  // namespace

WadoResult judgeAnswer(const HttpAnswer& answer, std::string_view root) {
  const std::string at(root);
  const long s = answer.status;
  if (s == 204 || (s == 200 && looksLikeJsonArray(answer))) return result(WadoOutcome::answered, {}, s);
  if (s == 401)
    return result(WadoOutcome::credentialsRefused,
                  at + " refused the credentials (" + code(s) +
                      "): check the node's WADO user name and password.",
                  s);
  if (s == 403)
    return result(WadoOutcome::forbidden,
                  at + " forbids this user to query (" + code(s) +
                      "): have the user given query rights on the service, or use another account.",
                  s);
  if (s == 404)
    return result(WadoOutcome::noService,
                  "No DICOMweb service at " + at + " (" + code(s) +
                      "): check the WADO URL's path (often /dicom-web) and port.",
                  s);
  if (s >= 300 && s < 400)
    return result(WadoOutcome::notDicomWeb,
                  at + " redirects (" + code(s) + (answer.location.empty() ? "" : " to " + answer.location) +
                      ") instead of answering as a DICOMweb service: it is not one, or wants a login first; check "
                      "the WADO URL.",
                  s);
  if (s >= 200 && s < 300)
    return result(WadoOutcome::notDicomWeb,
                  at + (looksLikeHtml(answer) ? " answers with a web page (often a login page)"
                                              : " answers, but not with a DICOMweb (JSON) answer") +
                      ", not as a DICOMweb service: check the WADO URL.",
                  s);
  if (s == 400 && looksLikeHtml(answer))
    return result(WadoOutcome::serviceError,
                  at + " refused the request (" + code(s) +
                      "): the port may expect HTTPS; check the node's WADO HTTPS setting and port.",
                  s);
  return result(WadoOutcome::serviceError,
                at + " answered " + code(s) +
                    (s >= 500 ? ": the service has a problem of its own; check its logs."
                              : ": the service does not accept the query; check the WADO URL."),
                s);
}

WadoResult judgeFailure(const TransferFailure& failure, std::string_view root, std::string_view host,
                        std::string_view timeoutText) {
  const std::string at(root);
  switch (failure.code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return result(WadoOutcome::addressNotFound,
                    "The address \"" + std::string(host) +
                        "\" cannot be resolved: check the host name and this computer's name service (DNS).");
    case CURLE_COULDNT_CONNECT:
      if (failure.osError == ECONNREFUSED)
        return result(WadoOutcome::connectionRefused,
                      "Connection to " + at +
                          " refused: nothing listens on that port; check the WADO port, and that the web service "
                          "runs.");
      return result(WadoOutcome::unreachable,
                    "No connection to " + at + ": the host is down or unreachable; check the address and this "
                                               "computer's network.");
    case CURLE_OPERATION_TIMEDOUT:
      return result(WadoOutcome::timedOut,
                    failure.connected
                        ? at + " accepted the connection but did not answer within " + std::string(timeoutText) +
                              ": check that the port belongs to a web service."
                        : "No answer from " + at + " within " + std::string(timeoutText) +
                              ": the host is down or unreachable, a firewall drops the connection, or the name "
                              "service does not answer.");
    case CURLE_PEER_FAILED_VERIFICATION:
      if (failure.certificateChainFailed)
        return result(WadoOutcome::certificateNotTrusted,
                      "The certificate of " + at + " is not trusted (" + failure.detail +
                          "): add the authority that signed it to the trusted certificates (--ca-file), or turn "
                          "the node's peer verification off.");
      return result(WadoOutcome::certificateNameMismatch,
                    "The certificate of " + at + " was issued for another host name (" + failure.detail +
                        "): use the name the certificate was issued for in the node's address or WADO URL.");
    case CURLE_SSL_CONNECT_ERROR:
      return result(WadoOutcome::tlsFailed,
                    "TLS with " + at + " failed (" + failure.detail +
                        "): the port may not speak HTTPS, or accept no protocol this computer offers; check the "
                        "node's WADO HTTPS setting and port.");
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CIPHER:
      return result(WadoOutcome::localSetupFailed,
                    "Cannot set up TLS for " + at + " (" + failure.detail +
                        "): check the trusted and client certificate files.");
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return result(WadoOutcome::connectionClosed,
                    at + " closed the connection without an HTTP answer: the port may expect HTTPS, or belong to "
                         "another service; check the node's WADO HTTPS setting and port.");
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL:
      return result(WadoOutcome::connectionClosed,
                    at + " does not answer as a web service does: check the WADO port.");
    default:
      break;
  }
  return result(WadoOutcome::unreachable,
                "The request to " + at + " failed (" + curl_easy_strerror(static_cast<CURLcode>(failure.code)) +
                    "): check the address and this computer's network.");
}

}  // namespace telvor::web
