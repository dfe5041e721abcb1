// Weasis's node lists: XML files of <node> elements under <nodes>, one file per kind
// ("dicomNodes.xml" holds the DICOM peers).
//
//   auto list = telvor::peers::importWeasis(readFile("dicomNodes.xml"));
//   auto out = telvor::peers::exportWeasis(nodes);   // a dicomNodes.xml
//
// Mapping: name, aetitle, address, port <-> "description", "aeTitle", "hostname", "port";
// transferSyntax <-> "tsuid" (Weasis's names, from one table; "NONE" is the record's
// default syntax); isQueryable <-> "usageType" (RETRIEVE and BOTH: true, STORAGE:
// false). Weasis keeps one retrieve mode for all nodes and saves no TLS settings; WADO
// services are WEB nodes of another file, so a node's WADO settings are losses here.
#pragma once

#include <span>
#include <string_view>

#include "telvor/peers/peer_list.hpp"

namespace telvor::peers {

// Reads the DICOM nodes of a Weasis node file. Nodes of other types (DICOM_CALLING,
// PRINTER, WEB, or none) are skipped with a loss each; unknown attributes and "tsuid"
// names are losses. Text is carried as written; a missing attribute leaves its field
// absent. Throws PeerFormatError for XML that does not parse ("line L, column C") and for
// a root element other than <nodes>.
TELVOR_PEERS_API PeerList importWeasis(std::string_view text);

// Writes a dicomNodes.xml: one DICOM node per node, with usageType BOTH unless the node
// is not queryable (STORAGE). Throws PeerFormatError naming the node when its AE title is
// not 1-16 characters (Weasis would skip the node), its address is missing, its port is
// not a number in 1-65535, or a text is not UTF-8 or holds characters XML cannot carry.
TELVOR_PEERS_API PeerExport exportWeasis(std::span<const DicomNode> nodes);

}  // namespace telvor::peers
