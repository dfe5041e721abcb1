// Nodes as other systems' peer lists hold them, for the import and export tests.
#pragma once

#include <string>

#include "telvor/node/dicom_node.hpp"

namespace telvor::testing_support {

// A node with a name (none for nullptr), an AE title, an address and a port.
inline DicomNode peerNode(const char* name, std::string aetitle, std::string address, std::string port) {
  DicomNode node;
  if (name != nullptr) node.name = name;
  node.aetitle = std::move(aetitle);
  node.address = std::move(address);
  node.port = std::move(port);
  return node;
}

}  // namespace telvor::testing_support
