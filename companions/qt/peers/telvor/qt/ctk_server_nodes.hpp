// CTK's DICOM server nodes (3D Slicer, MITK): the peers a CTK application keeps in its
// QSettings INI file (for Slicer on Linux, ~/.config/NA-MIC/Slicer.ini), read and written
// through QSettings itself.
//
//   auto list = telvor::qt::importCtkServerNodes(readFile("Slicer.ini"));
//   auto out = telvor::qt::exportCtkServerNodes(nodes);                         // a new file
//   auto merged = telvor::qt::exportCtkServerNodes(nodes, readFile("Slicer.ini"));  // the
//   writeFile("Slicer.ini", merged.text);      // same settings with these server nodes
//
// Two layouts exist. The classic one: "ServerNodeCount" and "ServerNodes/N" at the top
// level, each node a map of "Name", "AETitle", "Address", "Port" (text), "CheckState" (2:
// query it) and "CGET" (2: C-GET, 0: C-MOVE). The newer one: "DICOM/ServerNodeCount" and
// "DICOM/ServerNodes/N", each node JSON text in a byte array (earlier, a map) keyed by
// the node table's column titles: "Name", "Called AETitle", "Address", "Port",
// "Retrieve Protocol" ("CGET" or "CMOVE"; "Protocol" in the map form),
// "QueryRetrieveCheckState" (2: query it), and fields the node record has no place for
// ("Calling AETitle", "Timeout", "Retrieve Proxy", "StorageCheckState",
// "TrustedCheckState"), which are losses unless at the values an export writes.
#pragma once

#include <span>
#include <string_view>

#include "telvor/peers/peer_list.hpp"
#include "telvor/qt/telvor_qt_peers_export.hpp"

namespace telvor::qt {

// Reads the server nodes of a CTK settings file: the newer layout when
// "DICOM/ServerNodeCount" is present (a classic list beside it is skipped with a loss per
// node), else the classic one; no count, no nodes. A node repeating an earlier "Name" is
// skipped with a loss, as CTK skips it. Throws peers::PeerFormatError naming the key for
// text QSettings cannot read as INI, a count that is not a number, a missing node, a node
// that is neither a map nor a JSON object, and a node without an AE title.
TELVOR_QT_PEERS_API peers::PeerList importCtkServerNodes(std::string_view text);

// Writes a settings file holding the nodes in the newer layout (JSON in byte arrays) with
// "Timeout" 10. Names come from the AE title where absent and are made unique ("-2"); a
// WADO node is written as C-GET; a node without isQueryable is queryable. Every change is
// a loss. Throws peers::PeerFormatError naming the node when its AE title or address is
// missing or empty, its port is not a number in 1-65535, or a text is not UTF-8.
TELVOR_QT_PEERS_API peers::PeerExport exportCtkServerNodes(std::span<const DicomNode> nodes);

// The same nodes written into `existing`, a settings file: its "DICOM/ServerNodeCount"
// and "DICOM/ServerNodes" are replaced, every other setting is kept (QSettings writes the
// file again: its comments and layout are not kept). Throws as above, and
// peers::PeerFormatError when QSettings cannot read `existing`.
TELVOR_QT_PEERS_API peers::PeerExport exportCtkServerNodes(std::span<const DicomNode> nodes, std::string_view existing);

}  // namespace telvor::qt
