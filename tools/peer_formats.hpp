// The other systems' peer-list formats telvor-nodes imports and exports, by name.
//
// One row per format. A format from another module (CTK's QSettings files, which need the
// Qt module) joins by adding its row to the table in peer_formats.cpp when that module is
// built; the commands need no change.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "telvor/peers/peer_list.hpp"

namespace telvor::tool {

// Which node fields a format carries: --replace-matching updates only these.
using PeerFields = FieldSet<DicomNode>;

// A format without `read` and `write` is a directory (ldap): the commands reach it over
// the network instead of reading and writing a file.
struct PeerFormat {
  std::string_view name;
  std::string_view description;
  peers::PeerList (*read)(std::string_view text);
  peers::PeerExport (*write)(std::span<const DicomNode> nodes);
  PeerFields carried;
  // For formats whose file holds more than the peers (an application's settings): writes
  // the nodes into the existing file's text, keeping the rest. Null: export replaces the file.
  peers::PeerExport (*merge)(std::span<const DicomNode> nodes, std::string_view existing);
  // For formats that name TLS files per peer: writes them for the nodes that authenticate
  // with a certificate. Null: the format names none.
  peers::PeerExport (*writeWithTlsFiles)(std::span<const DicomNode> nodes, const std::string& certificate,
                                         const std::string& privateKey) = nullptr;
};

// The formats this build offers, in the order help lists them.
std::span<const PeerFormat> peerFormats() noexcept;

// The format called `name`; throws UsageError naming the ones offered.
const PeerFormat& peerFormat(std::string_view name);

// `target` with the fields `carried` names taken from `source`; everything else kept.
DicomNode withCarriedFields(DicomNode target, const DicomNode& source, PeerFields carried);

}  // namespace telvor::tool
