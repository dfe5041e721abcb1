#include "echo_reasons.hpp"

#include <array>
#include <cstdio>
#include <mutex>

#include "dcmtk/dcmnet/cond.h"
#include "dcmtk/dcmnet/diutil.h"
#include "dcmtk/dcmtls/tlscond.h"
#include "dcmtk/ofstd/ofstd.h"
#include "telvor/dcmtk/tls_profile_conversion.hpp"

namespace telvor::dcmtk {
namespace {

std::string inQuotes(std::string_view text) { return "\"" + std::string(text) + "\""; }

EchoResult result(EchoOutcome outcome, std::string reason) { return {outcome, std::move(reason)}; }

bool isDulCondition(const OFCondition& c, unsigned short code) {
  return c.module() == OFM_dcmnet && c.code() == code;
}

// --- association rejection -------------------------------------------------------------

struct Rejection {
  T_ASC_RejectParametersReason reason;
  const char* text;     // what the peer said
  const char* advice;   // what to do; "{calling}" and "{called}" stand for the AE titles
};

constexpr std::array<Rejection, 8> kRejections{{
    {ASC_REASON_SU_NOREASON, "no reason given",
     "check the node's AE title {called}, and that the peer knows this application (AE title {calling} and this "
     "computer's address)"},
    {ASC_REASON_SU_APPCONTEXTNAMENOTSUPPORTED, "application context not supported",
     "the peer does not accept standard DICOM associations"},
    {ASC_REASON_SU_CALLINGAETITLENOTRECOGNIZED, "calling AE title {calling} not recognised",
     "register this application's AE title and address on the peer"},
    {ASC_REASON_SU_CALLEDAETITLENOTRECOGNIZED, "called AE title {called} not recognised",
     "check the node's AE title"},
    {ASC_REASON_SP_ACSE_NOREASON, "no reason given by its DICOM service", "check the peer's configuration and logs"},
    {ASC_REASON_SP_ACSE_PROTOCOLVERSIONNOTSUPPORTED, "protocol version not supported",
     "the peer does not speak this version of the DICOM upper layer protocol"},
    {ASC_REASON_SP_PRES_TEMPORARYCONGESTION, "temporary congestion", "try again later"},
    {ASC_REASON_SP_PRES_LOCALLIMITEXCEEDED, "local limit exceeded (too many associations)", "try again later"},
}};

std::string substituteTitles(std::string text, const EchoContext& context) {
  const std::array<std::pair<std::string_view, std::string>, 2> fields{{
      {"{calling}", inQuotes(context.callingAeTitle)},
      {"{called}", inQuotes(context.target.calledAeTitle)},
  }};
  for (const auto& [placeholder, value] : fields)
    for (auto at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder, at + value.size()))
      text.replace(at, placeholder.size(), value);
  return text;
}

EchoResult rejected(T_ASC_Parameters* params, const EchoContext& context) {
  T_ASC_RejectParameters rejection{};
  const bool known = params != nullptr && ASC_getRejectParameters(params, &rejection).good();
  std::string reason = context.endpoint + " rejected the association";
  if (known && rejection.result == ASC_RESULT_REJECTEDTRANSIENT) reason += " for now";
  const Rejection* row = nullptr;
  for (const auto& candidate : kRejections)
    if (known && candidate.reason == rejection.reason) row = &candidate;
  if (row == nullptr) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%04x", known ? static_cast<unsigned>(rejection.reason) : 0u);
    reason += ": reason " + std::string(code) + "; check the peer's configuration and logs.";
  } else {
    reason += ": " + substituteTitles(row->text, context) + "; " + substituteTitles(row->advice, context) + ".";
  }
  return result(EchoOutcome::associationRejected, std::move(reason));
}

// --- TLS handshake -----------------------------------------------------------------------

enum class TlsTrouble { untrustedPeer, notTls, certificateRefused, noCommonProfile };

struct TlsCondition {
  const OFConditionConst* condition;
  TlsTrouble trouble;
};

// What OpenSSL's reports mean for the person configuring the node; anything else falls
// back to naming the profile and the certificates.
const std::array<TlsCondition, 14>& tlsConditions() {
  static const std::array<TlsCondition, 14> table{{
      {&DCMTLS_EC_TLSCertificateVerifyFailed, TlsTrouble::untrustedPeer},
      {&DCMTLS_EC_OpenSSLIOError, TlsTrouble::notTls},
      {&DCMTLS_EC_TLSWrongVersionNumber, TlsTrouble::notTls},
      {&DCMTLS_EC_TLSSSLv3AlertBadCertificate, TlsTrouble::certificateRefused},
      {&DCMTLS_EC_TLSSSLv3AlertCertificateUnknown, TlsTrouble::certificateRefused},
      {&DCMTLS_EC_TLSTLSv1AlertUnknownCa, TlsTrouble::certificateRefused},
      {&DCMTLS_EC_TLSTLSv1AlertAccessDenied, TlsTrouble::certificateRefused},
      {&DCMTLS_EC_TLSTLSv13AlertCertificateRequired, TlsTrouble::certificateRefused},
      {&DCMTLS_EC_TLSSSLv3AlertHandshakeFailure, TlsTrouble::noCommonProfile},
      {&DCMTLS_EC_TLSNoSharedCipher, TlsTrouble::noCommonProfile},
      {&DCMTLS_EC_TLSTLSv1AlertProtocolVersion, TlsTrouble::noCommonProfile},
      {&DCMTLS_EC_TLSTLSv1AlertInsufficientSecurity, TlsTrouble::noCommonProfile},
      {&DCMTLS_EC_TLSUnsupportedProtocol, TlsTrouble::noCommonProfile},
      {&DCMTLS_EC_TLSNoProtocolsAvailable, TlsTrouble::noCommonProfile},
  }};
  return table;
}

std::string profileName(TLSSecurityProfile profile) {
  return "TLS security profile " + std::to_string(rawValue(profile)) + " (" +
         DcmTLSCiphersuiteHandler::lookupProfileName(toDcmtk(profile)) + ")";
}

std::string tlsAdvice(const OFCondition& condition, const EchoContext& context) {
  const EchoTls& tls = *context.target.tls;
  std::optional<TlsTrouble> trouble;
  for (const auto& row : tlsConditions())
    if (condition == *row.condition) trouble = row.trouble;
  switch (trouble.value_or(TlsTrouble::noCommonProfile)) {
    case TlsTrouble::untrustedPeer:
      return "the peer's certificate is not trusted; add the authority that signed it to the trusted "
             "certificates, or turn the node's peer verification off";
    case TlsTrouble::notTls:
      return "the peer does not seem to speak TLS on this port; check the node's TLS setting and port";
    case TlsTrouble::certificateRefused:
      return tls.clientCertificate ? "the peer does not accept this application's client certificate; have the "
                                     "peer trust it"
                                   : "the peer requires a client certificate; turn on the node's certificate "
                                     "authentication and install one for it";
    case TlsTrouble::noCommonProfile:
      break;
  }
  return "check that the peer accepts " + profileName(tls.securityProfile) + " and the certificates in use";
}

EchoResult tlsFailure(const OFCondition& condition, const EchoContext& context) {
  return result(EchoOutcome::tlsHandshakeFailed, "TLS handshake with " + context.endpoint + " failed (" +
                                                     condition.text() + "): " + tlsAdvice(condition, context) + ".");
}

// --- connection and association ----------------------------------------------------------

EchoResult closedByPeer(const EchoContext& context) {
  std::string reason = context.endpoint + " closed the connection without answering the association request: ";
  if (!context.target.tls)
    reason += "it may expect TLS, or not accept connections from this computer.";
  else if (context.target.tls->clientCertificate)
    reason += "it may not accept this application's client certificate, or connections from this computer.";
  else
    reason += "it may require a client certificate (none is presented), or not accept connections from this computer.";
  return result(EchoOutcome::connectionClosed, std::move(reason));
}

// DCMTK's text for an echo status. DU_cechoStatusString formats statuses it does not know
// into one static buffer, so echoes answered at the same time would write it together.
std::string echoStatusText(unsigned status) {
  static std::mutex buffer;
  const std::lock_guard lock(buffer);
  return DU_cechoStatusString(static_cast<Uint16>(status));
}

bool isProtocolError(const OFCondition& c) {
  return isDulCondition(c, DULC_UNRECOGNIZEDPDUTYPE) || c == DUL_ILLEGALPDU || c == DUL_ILLEGALPDULENGTH || c == DUL_UNEXPECTEDPDU ||
         c == DUL_UNSUPPORTEDPEERPROTOCOL;
}

}  // namespace

std::string endpointOf(const EchoTarget& target) {
  const std::string& address = target.address;
  const bool bareIpv6 = address.find(':') != std::string::npos && address.front() != '[';
  return (bareIpv6 ? "[" + address + "]" : address) + ":" + std::to_string(target.port);
}

EchoResult associationFailure(const OFCondition& condition, T_ASC_Parameters* params, const EchoContext& context) {
  if (condition == DUL_ASSOCIATIONREJECTED) return rejected(params, context);
  if (condition.module() == OFM_dcmtls || isDulCondition(condition, DULC_TLSERROR))
    return tlsFailure(condition, context);
  if (condition == DUL_READTIMEOUT)
    return result(EchoOutcome::timedOut, context.endpoint +
                                             " accepted the connection but did not answer the association request "
                                             "within " +
                                             context.timeoutText +
                                             ": check that the port belongs to a DICOM service.");
  if (condition == DUL_PEERABORTEDASSOCIATION || condition == DUL_NETWORKCLOSED ||
      isDulCondition(condition, DULC_TCPIOERROR))
    return closedByPeer(context);
  if (isProtocolError(condition))
    return result(EchoOutcome::protocolError, context.endpoint + " answered, but not as a DICOM service does (" +
                                                  condition.text() + "): check the port.");
  return result(EchoOutcome::connectionFailed,
                "The association with " + context.endpoint + " failed (" + condition.text() + ").");
}

EchoResult verificationRefused(const EchoContext& context) {
  return result(EchoOutcome::verificationNotAccepted,
                context.endpoint + " accepted the association but not the Verification service (C-ECHO): the peer "
                                   "does not offer verification to this application; check its configuration.");
}

EchoResult echoExchangeFailure(const OFCondition& condition, const EchoContext& context) {
  if (condition == DIMSE_NODATAAVAILABLE || condition == DUL_READTIMEOUT)
    return result(EchoOutcome::timedOut, context.endpoint + " accepted the association but did not answer the C-ECHO within " +
                                             context.timeoutText + ".");
  if (condition == DUL_PEERABORTEDASSOCIATION || condition == DUL_NETWORKCLOSED)
    return result(EchoOutcome::connectionClosed,
                  context.endpoint + " closed the association instead of answering the C-ECHO.");
  return result(EchoOutcome::protocolError,
                "The C-ECHO to " + context.endpoint + " failed (" + condition.text() + ").");
}

EchoResult echoStatusFailure(unsigned status, const EchoContext& context) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%04X", status);
  return result(EchoOutcome::echoFailed, context.endpoint + " answered the C-ECHO with status " + code + " (" +
                                             echoStatusText(status) +
                                             "): the peer's verification service reports a problem; check its logs.");
}

EchoResult localFailure(std::string_view what, const OFCondition& condition, std::string_view advice) {
  std::string reason = std::string(what) + " (" + condition.text() + ")";
  if (!advice.empty()) reason += ": " + std::string(advice);
  return result(EchoOutcome::localSetupFailed, reason + ".");
}

}  // namespace telvor::dcmtk
