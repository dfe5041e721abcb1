// Orthanc's peers ("modalities"): its configuration file's "DicomModalities", and the
// answer of its REST call GET /modalities?expand.
//
//   auto list = telvor::peers::importOrthanc(readFile("orthanc.json"));  // either shape
//   auto out = telvor::peers::exportOrthanc(nodes);   // {"DicomModalities": {...}}
//   writeFile("modalities.json", out.text);           // drop into Orthanc's config folder
//
// Mapping: name, aetitle, address, port <-> the modality's name, "AET", "Host", "Port";
// tlsSettings.isEnabled <-> "UseDicomTls". Orthanc retrieves by C-MOVE, so an imported
// node's retrieveMode is cmove ("RetrieveMethod", from later Orthanc releases, is read
// when present). Orthanc's permissions ("Allow*"), "Manufacturer", "LocalAet" and
// "Timeout" have no field: when they differ from Orthanc's defaults they are losses, never
// mapped to isQueryable.
#pragma once

#include <span>
#include <string_view>

#include "telvor/peers/peer_list.hpp"

namespace telvor::peers {

// Reads a configuration file (JSON with `//` and `/* */` comments, as Orthanc reads it;
// the modalities are under "DicomModalities") or the output of GET /modalities?expand (an
// object of name -> object with "AET"), told apart by their shape. Modalities in either of
// Orthanc's forms ([AET, Host, Port(, Manufacturer)] or an object) in source order. Throws
// PeerFormatError for text that is not JSON ("line L, column C"), for another shape, and
// for a modality Orthanc would refuse (a missing or mistyped key, a port outside 1-65534),
// naming the modality.
TELVOR_PEERS_API PeerList importOrthanc(std::string_view text);

// Writes `{"DicomModalities": {...}}` with one object-form entry per node: "AET", "Host",
// "Port" (a number) and "UseDicomTls" when TLS is on. Names keep to Orthanc's
// characters (others become '_', a missing name comes from the AE title) and are made
// unique with "-2", "-3"; each change is a loss. Throws PeerFormatError naming the node
// when its AE title or address is missing or empty, its port is not a number in
// 1-65534, or a text is not UTF-8.
TELVOR_PEERS_API PeerExport exportOrthanc(std::span<const DicomNode> nodes);

}  // namespace telvor::peers
