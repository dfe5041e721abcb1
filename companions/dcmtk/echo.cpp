#include "telvor/dcmtk/echo.hpp"

#include <algorithm>
#include <array>
#include <memory>

#include "connection.hpp"
#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcuid.h"
#include "dcmtk/dcmnet/assoc.h"
#include "dcmtk/dcmnet/dimse.h"
#include "dcmtk/dcmtls/tlslayer.h"
#include "echo_environment.hpp"
#include "echo_reasons.hpp"
#include "query_check.hpp"
#include "retrieve_check.hpp"
#include "socket_handover.hpp"
#include "telvor/dcmtk/tls_profile_conversion.hpp"
#include "telvor/node/node_validation.hpp"
#include "telvor/status/detail/timeout_text.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor::dcmtk {
namespace {

using Clock = std::chrono::steady_clock;
using telvor::detail::timeoutText;

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

constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24);

// DCMTK counts whole seconds, at least one.
int wholeSeconds(std::chrono::milliseconds timeout) {
  return static_cast<int>(std::max<std::int64_t>(std::chrono::ceil<std::chrono::seconds>(timeout).count(), 1));
}

int secondsUntil(Deadline deadline) {
  return wholeSeconds(std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()));
}

// Owns DCMTK's network, its transport layer and one association; releases them in the
// order DCMTK needs (association, network, then the layer the network borrowed).
struct Session {
  std::unique_ptr<DcmTransportLayer> layer;
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

// Sets `layer` up for `settings`, or gives the reason it cannot be.
std::optional<EchoResult> configureTls(const EchoTls& settings, DcmTLSTransportLayer& layer) {
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

// The transport layer for `target`, or the reason it cannot be made.
std::optional<EchoResult> makeLayer(const EchoTarget& target, SocketHandover& handover, Session& session) {
  if (!target.tls) {
    session.layer = std::make_unique<HandoverLayer<DcmTransportLayer>>(handover);
    return std::nullopt;
  }
  initialiseTls();
  auto layer = std::make_unique<HandoverLayer<DcmTLSTransportLayer>>(handover, NET_REQUESTOR, nullptr, OFFalse);
  auto failure = configureTls(*target.tls, *layer);
  session.layer = std::move(layer);
  return failure;
}

// The two transfer syntaxes every DICOM service accepts.
OFCondition propose(T_ASC_Parameters* params, T_ASC_PresentationContextID id, const char* sopClass) {
  static const std::array<std::string, 2> syntaxes{std::string(uid(TransferSyntax::EXS_LittleEndianExplicit)),
                                                   std::string(uid(TransferSyntax::EXS_LittleEndianImplicit))};
  std::array<const char*, 2> list{syntaxes[0].c_str(), syntaxes[1].c_str()};
  return ASC_addPresentationContext(params, id, sopClass, list.data(), static_cast<int>(list.size()));
}

// Ends the association: released when it is still sound, aborted otherwise.
void endAssociation(T_ASC_Association* association, bool sound) {
  if (!sound || ASC_releaseAssociation(association).bad()) ASC_abortAssociation(association);
}

EchoResult run(const EchoTarget& target, std::string_view callingAeTitle, const EchoOptions& options,
               Deadline deadline) {
  const EchoContext context{target, callingAeTitle, timeoutText(options.timeout), endpointOf(target)};
  // This side is made ready first, so that unusable local files are reported without
  // contacting the peer.
  SocketHandover handover;
  if (!handover.ready())
    return {EchoOutcome::localSetupFailed, "Cannot hand the connection to DCMTK: no listener on 127.0.0.1 can be "
                                           "opened; check this computer's loopback interface."};
  Session session;
  if (const OFCondition c = ASC_initializeNetwork(NET_REQUESTOR, 0, secondsUntil(deadline), &session.network); c.bad())
    return localFailure("Cannot start DICOM networking", c);
  if (auto failure = makeLayer(target, handover, session)) return std::move(*failure);
  if (const OFCondition c = ASC_setTransportLayer(session.network, session.layer.get(), 0); c.bad())
    return localFailure("Cannot set up the connection", c);

  if (const OFCondition c = ASC_createAssociationParameters(&session.params, ASC_DEFAULTMAXPDU); c.bad())
    return localFailure("Cannot prepare the association", c);
  const std::string calling(*significantAeTitle(callingAeTitle));
  const std::string called(*significantAeTitle(target.calledAeTitle));
  OFCondition c = ASC_setAPTitles(session.params, calling.c_str(), called.c_str(), nullptr);
  if (c.good()) c = ASC_setTransportLayerType(session.params, target.tls ? OFTrue : OFFalse);
  if (c.good()) c = ASC_setPresentationAddresses(session.params, "localhost", handover.address().c_str());
  if (c.good()) c = propose(session.params, 1, UID_VerificationSOPClass);
  if (c.good() && (options.checkFind || options.retrieve)) c = propose(session.params, 3, kStudyRootFind);
  if (c.good() && options.retrieve) c = proposeRetrieve(session.params, *options.retrieve, 5);
  if (c.bad()) return localFailure("Cannot prepare the association", c);

  auto connection = connectBefore(target, deadline, context.timeoutText);
  if (auto* failure = std::get_if<EchoResult>(&connection)) return std::move(*failure);
  const Socket& peer = std::get<Socket>(connection);
  handover.setPeer(peer.fd());
  const Watchdog watchdog(peer.fd(), deadline);
  c = ASC_requestAssociation(session.network, session.params, &session.association, nullptr, nullptr, DUL_NOBLOCK,
                             secondsUntil(deadline));
  if (c.bad()) return associationFailure(watchdog.fired() ? DUL_READTIMEOUT : c, session.params, context);

  const T_ASC_PresentationContextID verification =
      ASC_findAcceptedPresentationContextID(session.association, UID_VerificationSOPClass);
  if (verification == 0) {
    ASC_abortAssociation(session.association);
    return verificationRefused(context);
  }

  DIC_US status = 0;
  DcmDataset* statusDetail = nullptr;
  const DIC_US messageId = session.association->nextMsgID++;
  c = DIMSE_echoUser(session.association, messageId, DIMSE_NONBLOCKING, secondsUntil(deadline), &status,
                     &statusDetail);
  delete statusDetail;
  if (c.bad()) {
    ASC_abortAssociation(session.association);
    return echoExchangeFailure(watchdog.fired() ? DUL_READTIMEOUT : c, context);
  }
  if (status != STATUS_Success) {
    endAssociation(session.association, true);
    return echoStatusFailure(status, context);
  }
  EchoResult answered{EchoOutcome::answered, {}};
  bool sound = true;
  if (options.checkFind)
    answered.query = checkQuery(*session.association, context, [&] { return secondsUntil(deadline); },
                                [&] { return watchdog.fired(); }, sound);
  if (options.retrieve)
    answered.retrieve = sound ? checkRetrieve(*session.association, *options.retrieve, context, peer.fd(), deadline,
                                              [&] { return watchdog.fired(); }, sound)
                              : RetrieveAnswer{RetrieveOutcome::unknown,
                                               "The association ended with the query check, before retrieving."};
  // The answer is in; a release that goes wrong changes nothing about it.
  endAssociation(session.association, sound);
  return answered;
}

}  // namespace

std::string_view title(QueryOutcome outcome) noexcept {
  switch (outcome) {
    case QueryOutcome::answered:
      return "yes";
    case QueryOutcome::refused:
      return "refused";
    case QueryOutcome::failed:
      break;
  }
  return "failed";
}

std::string_view title(RetrieveOutcome outcome) noexcept {
  switch (outcome) {
    case RetrieveOutcome::yes:
      return "yes";
    case RetrieveOutcome::no:
      return "no";
    case RetrieveOutcome::unknown:
      break;
  }
  return "unknown";
}

EchoResult echo(const EchoTarget& target, std::string_view callingAeTitle, const EchoOptions& options) {
  const auto start = Clock::now();
  if (auto invalid = checkTarget(target, callingAeTitle)) return std::move(*invalid);
  EchoOptions bounded = options;
  bounded.timeout = std::clamp(options.timeout, std::chrono::milliseconds(1), kLongest);
  const EchoEnvironment environment(wholeSeconds(bounded.timeout));
  EchoResult result = run(target, callingAeTitle, bounded, start + bounded.timeout);
  result.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  return result;
}

EchoResult echo(const EchoTarget& target, std::string_view callingAeTitle, std::chrono::milliseconds timeout) {
  return echo(target, callingAeTitle, EchoOptions{timeout, false, std::nullopt});
}

}  // namespace telvor::dcmtk
