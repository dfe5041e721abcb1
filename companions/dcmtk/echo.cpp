#include "telvor/dcmtk/echo.hpp"

#include <algorithm>
#include <array>
#include <memory>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcuid.h"
#include "dcmtk/dcmnet/assoc.h"
#include "dcmtk/dcmnet/dimse.h"
#include "dcmtk/dcmtls/tlslayer.h"
#include "echo_environment.hpp"
#include "echo_reasons.hpp"
#include "telvor/dcmtk/tls_profile_conversion.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor::dcmtk {
namespace {

// What an AE title may hold: 1 to 16 characters once leading and trailing spaces are
// dropped, printable ASCII without the backslash.
std::optional<std::string_view> significantAeTitle(std::string_view title) {
  const auto first = title.find_first_not_of(' ');
  if (first == std::string_view::npos) return std::nullopt;
  title = title.substr(first, title.find_last_not_of(' ') - first + 1);
  if (title.size() > 16) return std::nullopt;
  for (const char c : title)
    if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F || c == '\\')
      return std::nullopt;
  return title;
}

EchoResult notAttempted(std::string reason) { return {EchoOutcome::notAttempted, std::move(reason)}; }

std::optional<EchoResult> checkTarget(const EchoTarget& target, std::string_view callingAeTitle) {
  constexpr std::string_view rule = " is not a valid AE title (1 to 16 printable ASCII characters, no backslash)";
  if (!significantAeTitle(callingAeTitle))
    return notAttempted("This application's AE title \"" + std::string(callingAeTitle) + "\"" + std::string(rule) +
                        ": set a valid calling AE title.");
  if (!significantAeTitle(target.calledAeTitle))
    return notAttempted("The node's AE title \"" + target.calledAeTitle + "\"" + std::string(rule) +
                        ": set the peer's AE title.");
  if (target.address.empty()) return notAttempted("The node has no address: set the peer's host name or IP address.");
  if (target.port == 0) return notAttempted("Port 0 is not a TCP port: set the peer's port (1 to 65535).");
  return std::nullopt;
}

int wholeSeconds(std::chrono::milliseconds timeout) {
  constexpr std::int64_t kLongest = 24 * 60 * 60;  // DCMTK holds seconds in an int
  const auto ms = std::max<std::int64_t>(timeout.count(), 1);
  return static_cast<int>(std::min<std::int64_t>(ms / 1000 + (ms % 1000 != 0), kLongest));
}

// Owns DCMTK's network, its TLS layer and one association; releases them in the order
// DCMTK needs (association, network, then the layer the network borrowed).
struct Session {
  std::unique_ptr<DcmTLSTransportLayer> tls;
  T_ASC_Network* network = nullptr;
  T_ASC_Parameters* params = nullptr;  // owned by `association` once it exists
  T_ASC_Association* association = nullptr;

  Session() = default;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    if (association != nullptr) ASC_destroyAssociation(&association);
    else if (params != nullptr) ASC_destroyAssociationParameters(&params);
    if (network != nullptr) ASC_dropNetwork(&network);
  }
};

constexpr std::string_view kCheckPem = "check that the file exists and holds PEM certificates";

// The TLS layer for `settings`, or the reason it cannot be made.
std::optional<EchoResult> makeTlsLayer(const EchoTls& settings, Session& session) {
  initialiseTls();
  session.tls = std::make_unique<DcmTLSTransportLayer>(NET_REQUESTOR, nullptr, OFFalse);
  DcmTLSTransportLayer& layer = *session.tls;
  if (!layer) return localFailure("Cannot set up TLS", EC_IllegalCall);
  for (const auto& file : settings.trustedCertificateFiles)
    if (const OFCondition c = layer.addTrustedCertificateFile(file.c_str(), DCF_Filetype_PEM); c.bad())
      return localFailure("Cannot read the trusted certificate file \"" + file + "\"", c, kCheckPem);
  for (const auto& dir : settings.trustedCertificateDirectories)
    if (const OFCondition c = layer.addTrustedCertificateDir(dir.c_str(), DCF_Filetype_PEM); c.bad())
      return localFailure("Cannot read the trusted certificate folder \"" + dir + "\"", c,
                          "check that the folder exists and is readable");
  // profile0 is no DICOM profile: the TLS library's own protocol versions and suites apply.
  if (settings.securityProfile != TLSSecurityProfile::profile0) {
    OFCondition c = layer.setTLSProfile(toDcmtk(settings.securityProfile));
    if (c.good()) c = layer.activateCipherSuites();
    if (c.bad())
      return localFailure("TLS security profile " + std::to_string(rawValue(settings.securityProfile)) + " (" +
                              DcmTLSCiphersuiteHandler::lookupProfileName(toDcmtk(settings.securityProfile)) +
                              ") cannot be used on this computer",
                          c,
                          "its TLS library offers none of the profile's cipher suites; choose a BCP 195 profile "
                          "(3, 4 or 5)");
  }
  if (const auto& certificate = settings.clientCertificate) {
    // An encrypted key must fail rather than have OpenSSL prompt on the terminal.
    layer.setPrivateKeyPasswd("");
    if (const OFCondition c = layer.setPrivateKeyFile(certificate->privateKeyFile.c_str(), DCF_Filetype_PEM); c.bad())
      return localFailure("Cannot read the private key file \"" + certificate->privateKeyFile + "\"", c,
                          "check that the file exists and holds an unencrypted PEM key");
    if (const OFCondition c = layer.setCertificateFile(certificate->certificateFile.c_str(), DCF_Filetype_PEM);
        c.bad())
      return localFailure("Cannot read the client certificate file \"" + certificate->certificateFile + "\"", c,
                          kCheckPem);
    if (!layer.checkPrivateKeyMatchesCertificate())
      return EchoResult{EchoOutcome::localSetupFailed, "The private key \"" + certificate->privateKeyFile +
                                                           "\" does not belong to the client certificate \"" +
                                                           certificate->certificateFile + "\"."};
  }
  layer.setCertificateVerification(settings.verifyPeerCertificate ? DCV_requireCertificate : DCV_ignoreCertificate);
  return std::nullopt;
}

// Verification, proposed with the two transfer syntaxes every DICOM service accepts.
OFCondition proposeVerification(T_ASC_Parameters* params) {
  static const std::array<std::string, 2> syntaxes{std::string(uid(TransferSyntax::EXS_LittleEndianExplicit)),
                                                   std::string(uid(TransferSyntax::EXS_LittleEndianImplicit))};
  std::array<const char*, 2> list{syntaxes[0].c_str(), syntaxes[1].c_str()};
  return ASC_addPresentationContext(params, 1, UID_VerificationSOPClass, list.data(), static_cast<int>(list.size()));
}

EchoResult run(const EchoTarget& target, std::string_view callingAeTitle, int timeoutSeconds) {
  const EchoContext context{target, callingAeTitle, timeoutSeconds, endpointOf(target)};
  Session session;
  if (const OFCondition c = ASC_initializeNetwork(NET_REQUESTOR, 0, timeoutSeconds, &session.network); c.bad())
    return localFailure("Cannot start DICOM networking", c);
  if (target.tls) {
    if (auto failure = makeTlsLayer(*target.tls, session)) return std::move(*failure);
    if (const OFCondition c = ASC_setTransportLayer(session.network, session.tls.get(), 0); c.bad())
      return localFailure("Cannot set up TLS", c);
  }

  if (const OFCondition c = ASC_createAssociationParameters(&session.params, ASC_DEFAULTMAXPDU); c.bad())
    return localFailure("Cannot prepare the association", c);
  const std::string calling(*significantAeTitle(callingAeTitle));
  const std::string called(*significantAeTitle(target.calledAeTitle));
  OFCondition c = ASC_setAPTitles(session.params, calling.c_str(), called.c_str(), nullptr);
  if (c.good()) c = ASC_setTransportLayerType(session.params, target.tls ? OFTrue : OFFalse);
  if (c.good()) c = ASC_setPresentationAddresses(session.params, "localhost", context.endpoint.c_str());
  if (c.good()) c = proposeVerification(session.params);
  if (c.bad()) return localFailure("Cannot prepare the association", c);

  const auto start = std::chrono::steady_clock::now();
  c = ASC_requestAssociation(session.network, session.params, &session.association, nullptr, nullptr, DUL_NOBLOCK,
                             timeoutSeconds);
  if (c.bad()) return associationFailure(c, session.params, context, std::chrono::steady_clock::now() - start);

  if (ASC_countAcceptedPresentationContexts(session.params) == 0) {
    ASC_abortAssociation(session.association);
    return verificationRefused(context);
  }

  DIC_US status = 0;
  DcmDataset* statusDetail = nullptr;
  const DIC_US messageId = session.association->nextMsgID++;
  c = DIMSE_echoUser(session.association, messageId, DIMSE_NONBLOCKING, timeoutSeconds, &status, &statusDetail);
  delete statusDetail;
  if (c.bad()) {
    ASC_abortAssociation(session.association);
    return echoExchangeFailure(c, context);
  }
  // The answer is in; a release that goes wrong changes nothing about it.
  if (ASC_releaseAssociation(session.association).bad()) ASC_abortAssociation(session.association);
  if (status != STATUS_Success) return echoStatusFailure(status, context);
  return {EchoOutcome::answered, {}};
}

}  // namespace

EchoResult echo(const EchoTarget& target, std::string_view callingAeTitle, std::chrono::milliseconds timeout) {
  if (auto invalid = checkTarget(target, callingAeTitle)) return std::move(*invalid);
  const int timeoutSeconds = wholeSeconds(timeout);
  const EchoEnvironment environment(timeoutSeconds);
  return run(target, callingAeTitle, timeoutSeconds);
}

}  // namespace telvor::dcmtk
