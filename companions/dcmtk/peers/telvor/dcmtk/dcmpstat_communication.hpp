// The [[COMMUNICATION]] sections of dcmpstat.cfg (the targets of dcmpssnd, dcmpsrcv and
// dcmprscu) as a peer list, read by DCMTK's own OFConfigFile, so keys and section names
// are upper-cased and joined exactly as the DCMTK tools see them.
//
//   auto list = telvor::dcmtk::importDcmpstatCommunication(readFile("dcmpstat.cfg"));
//   auto out = telvor::dcmtk::exportDcmpstatCommunication(nodes);
//   // out.text: "[[COMMUNICATION]]\n\n[ARCHIVE]\nType = STORAGE\nDescription = Archive\n..."
//
// Mapping: name <-> "Description" and the section's ID: "Description [ID]", or just the
// description when the ID is what it gives anyway (upper case, A-Z 0-9 - _ only), or just
// the ID without a description; aetitle, address, port <->
// "Aetitle", "Hostname", "Port"; transferSyntax EXS_LittleEndianImplicit <-> "ImplicitOnly"
// (other syntaxes come back as the default); TLS: isEnabled <-> "UseTLS", securityProfile
// <-> "TLSProfile" (BASIC 1, AES 2, BCP195 3, BCP195-ND 4, BCP195-EX 5; exact case),
// verifyPeerCertificate <-> "PeerAuthentication" (REQUIRE and VERIFY: true, IGNORE:
// false), authenticateWithCertificate <-> both "Certificate" and "PrivateKey" set.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "telvor/dcmtk/telvor_dcmtk_peers_export.hpp"
#include "telvor/peers/peer_list.hpp"

namespace telvor::dcmtk {

// Reads the STORAGE targets of the [[COMMUNICATION]] group (a missing or unknown "Type" is
// STORAGE, as for DCMTK). PRINTER, RECEIVER and LOCALPRINTER sections are skipped with a
// loss each; keys without a field ("Timeout", "MaxPDU", TLS file names, ...) are losses,
// named as the file spells them (a password is named, never shown). A "TLSProfile" of
// NULL (TLS without encryption) has no profile: read as BCP195, an unfaithful loss. For a TLS target a missing "TLSProfile" is BCP195
// and a missing "PeerAuthentication" REQUIRE, DCMTK's defaults. Throws
// peers::PeerFormatError when there is no [[COMMUNICATION]] group, or a TLS profile name
// is not one DCMTK knows.
TELVOR_DCMTK_PEERS_API peers::PeerList importDcmpstatCommunication(std::string_view text);

// File names written for nodes that authenticate with a client certificate; without them
// the node's certificate authentication is a loss.
struct DcmpstatExportOptions {
  std::string certificateFile;
  std::string privateKeyFile;
};

// Writes a [[COMMUNICATION]] group with one STORAGE section per node. A name ending in
// " [ID]" gives section ID, the rest "Description"; other section IDs come from the names
// (upper-cased, other characters than A-Z 0-9 - _ dropped), all made unique with "_2"; the
// name goes to "Description" unless it is the ID itself. Throws peers::PeerFormatError naming the
// node when a value holds a line break or another control character (the file is lines)
// or its port is not a number in 1-65535. Leading blanks, which DCMTK's reader drops, are
// losses.
TELVOR_DCMTK_PEERS_API peers::PeerExport exportDcmpstatCommunication(std::span<const DicomNode> nodes,
                                                                      const DcmpstatExportOptions& options = {});

}  // namespace telvor::dcmtk
