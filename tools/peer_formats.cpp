#include "peer_formats.hpp"

#include <array>
#include <utility>

#include "telvor/peers/orthanc.hpp"
#include "telvor/peers/weasis.hpp"
#include "tool_error.hpp"
#ifdef TELVOR_TOOL_DCMTK_PEERS
#include "telvor/dcmtk/dcmpstat_communication.hpp"
#include "telvor/dcmtk/dcmqrscp_host_table.hpp"
#endif
#ifdef TELVOR_TOOL_CTK_PEERS
#include "telvor/qt/ctk_server_nodes.hpp"
#endif

#if defined(TELVOR_TOOL_DCMTK_PEERS) && defined(__has_feature)
#if __has_feature(address_sanitizer)
// DCMTK 3.6.7 does not free the peer list of a HostTable line it refuses: not ours to report
// when the tool is built with LeakSanitizer.
extern "C" __attribute__((visibility("default"), used)) const char* __lsan_default_suppressions() {
  return "leak:DcmQueryRetrieveConfig::readPeerList\nleak:DcmQueryRetrieveConfig::parsevalues\n";
}
#endif
#endif

namespace telvor::tool {
namespace {

#ifdef TELVOR_TOOL_DCMTK_PEERS
peers::PeerExport writeDcmpstat(std::span<const DicomNode> nodes) { return dcmtk::exportDcmpstatCommunication(nodes); }
peers::PeerExport writeDcmpstatWithFiles(std::span<const DicomNode> nodes, const std::string& certificate,
                                         const std::string& privateKey) {
  return dcmtk::exportDcmpstatCommunication(nodes, {certificate, privateKey});
}
#endif
#ifdef TELVOR_TOOL_CTK_PEERS
peers::PeerExport writeCtk(std::span<const DicomNode> nodes) { return qt::exportCtkServerNodes(nodes); }
peers::PeerExport mergeCtk(std::span<const DicomNode> nodes, std::string_view existing) {
  return qt::exportCtkServerNodes(nodes, existing);
}
#endif

constexpr PeerFields kName = PeerFields::of(&DicomNode::name);
constexpr PeerFields kAddressing = PeerFields::of(&DicomNode::aetitle, &DicomNode::address, &DicomNode::port);
constexpr PeerFields kTransferSyntax = PeerFields::of(&DicomNode::transferSyntax);
constexpr PeerFields kRetrieveMode = PeerFields::of(&DicomNode::retrieveMode);
constexpr PeerFields kQueryable = PeerFields::of(&DicomNode::isQueryable);
constexpr PeerFields kTls = PeerFields::of(&DicomNode::tlsSettings);
constexpr PeerFields kTlsEnabled = PeerFields::nested(&DicomNode::tlsSettings, &TlsSettings::isEnabled);
// Whether TLS is on, and its security profile.
constexpr PeerFields kTlsProfile = kTlsEnabled | PeerFields::nested(&DicomNode::tlsSettings, &TlsSettings::securityProfile);

constexpr PeerFormat kFormats[] = {
    {"orthanc", "Orthanc's configuration (DicomModalities) or GET /modalities?expand", &peers::importOrthanc,
     &peers::exportOrthanc, kName | kAddressing | kRetrieveMode | kTlsEnabled, nullptr},
#ifdef TELVOR_TOOL_DCMTK_PEERS
    {"dcmtk-qr", "dcmqrscp.cfg HostTable", &dcmtk::importDcmqrscpHostTable, &dcmtk::exportDcmqrscpHostTable,
     kName | kAddressing, nullptr},
    {"dcmtk-pstat", "dcmpstat.cfg [[COMMUNICATION]]", &dcmtk::importDcmpstatCommunication, &writeDcmpstat,
     kName | kAddressing | kTransferSyntax | kTls, nullptr, &writeDcmpstatWithFiles},
#endif
#ifdef TELVOR_TOOL_CTK_PEERS
    {"ctk", "CTK's server nodes in QSettings (3D Slicer's Slicer.ini)", &qt::importCtkServerNodes, &writeCtk, kName | kAddressing | kRetrieveMode | kQueryable, &mergeCtk},
#endif
#ifdef TELVOR_TOOL_LDAP_PEERS
    {"ldap", "the site's DICOM configuration directory (LDAP URL ldap://HOST:PORT/BASE-DN)", nullptr, nullptr,
     kName | kAddressing | kTlsProfile, nullptr},
#endif
    {"weasis", "Weasis dicomNodes.xml", &peers::importWeasis, &peers::exportWeasis,
     kName | kAddressing | kTransferSyntax | kQueryable, nullptr},
};

}  // namespace

std::span<const PeerFormat> peerFormats() noexcept { return kFormats; }

const PeerFormat& peerFormat(std::string_view name) {
  std::string offered;
  for (const PeerFormat& format : kFormats) {
    if (format.name == name) return format;
    offered += (offered.empty() ? "" : ", ") + std::string(format.name);
  }
  throw UsageError("unknown peer format \"" + std::string(name) + "\" (this build offers " + offered + ")");
}

DicomNode withCarriedFields(DicomNode target, const DicomNode& source, PeerFields carried) {
  return withFields(std::move(target), source, carried);
}

}  // namespace telvor::tool
