#include "telvor/node/dicom_node.hpp"

#include <string>


namespace telvor {

DicomNode::DicomNode(Blank) noexcept {}

DicomNode::DicomNode() : uniqueId(UUID::random()) {}

DicomNode::DicomNode(std::int64_t port) : DicomNode() { this->port = std::to_string(port); }

std::string DicomNode::id() const { return uniqueId ? uniqueId->uuidString() : std::string(); }

std::string DicomNode::tlsCertificateID(std::string_view applicationIdentifier) const {
  std::string id(applicationIdentifier);
  id += ".dicomtlsclient.";
  id += address.value_or("");
  id += '.';
  id += port.value_or("");
  id += '.';
  id += aetitle.value_or("");
  return id;
}

bool operator==(const DicomNode& a, const DicomNode& b) noexcept { return fieldsEqual(a, b); }

}  // namespace telvor
