// What reading or writing another system's peer list gives: the nodes, and a report of
// every field one side could not hold.
//
//   telvor::peers::PeerList list = telvor::peers::importOrthanc(text);
//   for (const auto& loss : list.losses)        // node 2 "archive": LocalAet: "READER7"
//     std::cerr << describe(loss) << '\n';      //   -> not kept (no field for it)
//   auto out = telvor::peers::exportOrthanc(list.nodes);   // out.text, out.losses
//
// An importer never leaves out a node without a loss for it (field "node"). A loss is
// reported only where the value carried differs from the value given: a field at the
// value the other side's reader would give back anyway is not a loss. A node's
// `uniqueId` is never carried by any format: imported nodes draw new ones, and that is not
// reported.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "telvor/node/dicom_node.hpp"
#include "telvor/peers/telvor_peers_export.hpp"

namespace telvor::peers {

// One field of one node that the other side cannot hold, and what was done instead.
struct PeerLoss {
  std::size_t position = 0;  // the node's position, from 1: in the source (import) or the list given (export)
  std::string label;         // the node's name in the source, else its AE title, else empty
  std::string field;         // the field as its side names it ("LocalAet", "tlsSettings.securityProfile", "node")
  std::string lost;          // the value that could not be held (secrets are never shown)
  std::string chosen;        // what was done instead
  // The node as carried would reach its peer otherwise than the source says (TLS without
  // encryption read as an encrypting profile): such losses are worth a person's look first.
  bool unfaithful = false;

  friend bool operator==(const PeerLoss&, const PeerLoss&) = default;
};

// The nodes read from a peer list, in source order, and the losses of reading it.
struct PeerList {
  std::vector<DicomNode> nodes;
  std::vector<PeerLoss> losses;
  // The source position each node was read from (a loss's `position`), one per node; a
  // source entry may give several nodes (a group) or none (skipped, with a "node" loss).
  // Empty: node i comes from position i + 1.
  std::vector<std::size_t> sources;
};

// A written peer list: the file's text, and the losses of writing it.
struct PeerExport {
  std::string text;
  std::vector<PeerLoss> losses;
};

// A peer list that cannot be read (damaged input), or a node that cannot be written at all.
// `place()` names where: "line 4, column 7", "modality 3 \"archive\"", "node 2 \"CT\"".
class TELVOR_PEERS_API PeerFormatError : public std::runtime_error {
 public:
  PeerFormatError(std::string place, const std::string& message);
  const std::string& place() const noexcept { return place_; }

 private:
  std::string place_;
};

// One line for a person: `node 2 "archive": LocalAet: "READER7" -> not kept (no field for it)`.
TELVOR_PEERS_API std::string describe(const PeerLoss& loss);

// The place of the node at `position` for errors and losses: `node 3 "CT room"`, or `node 3`.
TELVOR_PEERS_API std::string nodePlace(std::size_t position, const std::string& label);

// The label a loss carries for `node`: its name, else its AE title, else empty.
TELVOR_PEERS_API std::string labelOf(const DicomNode& node);

// Appends to `losses` one entry for every field of `given` (uniqueId aside) whose value
// differs from `carried`, the node that the written entry reads back as. Texts compare
// byte for byte: a changed spelling is a loss even when it means the same. WADO passwords
// are named, never shown.
TELVOR_PEERS_API void reportDifferences(const DicomNode& given, const DicomNode& carried, std::size_t position,
                                        std::vector<PeerLoss>& losses);

}  // namespace telvor::peers
