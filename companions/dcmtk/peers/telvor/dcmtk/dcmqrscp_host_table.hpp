// dcmqrscp's HostTable (the peers of DCMTK's query/retrieve server) as a peer list, read by
// DCMTK's own configuration class, so that a file is taken exactly when dcmqrscp takes it.
//
//   auto list = telvor::dcmtk::importDcmqrscpHostTable(readFile("dcmqrscp.cfg"));
//   auto out = telvor::dcmtk::exportDcmqrscpHostTable(nodes);
//   // out.text: "HostTable BEGIN\narchive = (LTA_MAIN, lta.hospital.lan, 11112)\n..."
//
// Mapping: name, aetitle, address, port <-> the entry's symbolic name, AE title, host and
// port; nothing else has a place, so every other field that differs from a new node's
// default is a loss on export.
#pragma once

#include <span>
#include <string_view>

#include "telvor/dcmtk/telvor_dcmtk_peers_export.hpp"
#include "telvor/peers/peer_list.hpp"

namespace telvor::dcmtk {

// Reads the HostTable of a dcmqrscp configuration (a whole file, or one holding only the
// HostTable) through DcmQueryRetrieveConfig. One node per peer, in table order, named by
// its entry. Groups of earlier entries are not nodes: each group is a loss, and a peer
// written inline in a group becomes a node named "GROUP-N". An entry repeating an
// earlier name (dcmqrscp uses the first) or an earlier peer is skipped with a loss.
// Throws peers::PeerFormatError with DCMTK's own complaint when dcmqrscp would refuse the
// file. DCMTK's reader reports to standard error; that is caught for the message, so for
// the moment of reading this process's standard error goes to a buffer (one reading at a
// time).
TELVOR_DCMTK_PEERS_API peers::PeerList importDcmqrscpHostTable(std::string_view text);

// Writes a HostTable block (a comment line, "HostTable BEGIN", one `NAME = (AE, HOST, PORT)`
// line per node, "HostTable END") to put into dcmqrscp's configuration. Names become
// unique tokens (characters the grammar treats as separators become '_'); each change is
// a loss. Throws peers::PeerFormatError naming the node when its AE title or address is
// missing, empty, or holds a character the grammar cannot carry (spaces, ',', '=', quotes,
// parentheses, non-ASCII), or its port is not a number in 1-65535.
TELVOR_DCMTK_PEERS_API peers::PeerExport exportDcmqrscpHostTable(std::span<const DicomNode> nodes);

}  // namespace telvor::dcmtk
