// The benchmarks' data: a deterministic catalogue of realistic nodes and its JSON text.
//
//   const bench::Catalogue& c = bench::catalogue(1000);
//   c.nodes[7].aetitle;   // "ARCHIVE_0007"-like
//   c.json;               // the nodes' coded forms as one compact JSON array
//
// Every node has an identifier, AE title, name, address and port; a third fetch over
// WADO and carry a WADO URL, port, user name and password; half have TLS switched on;
// some names are not ASCII. The same count always gives the same catalogue.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace bench {

struct Catalogue {
  std::vector<telvor::DicomNode> nodes;
  std::string json;  // a JSON array of the nodes' coded forms, compact, in order
};

// The catalogue of `count` nodes, built on first use and kept for the whole run.
const Catalogue& catalogue(std::size_t count);

// A node with every field at its default and no identifier: what the hand-written
// decoders below copy to start from, so that they draw no random identifiers the
// library's decoder does not draw either.
const telvor::DicomNode& blankNode();

}  // namespace bench
