#include "telvor/node/dicom_node.hpp"

#include <string>

#include "telvor/node/detail/optional_text.hpp"

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

bool operator==(const DicomNode& a, const DicomNode& b) noexcept {
  using detail::optionalTextEquals;
  return a.uniqueId == b.uniqueId && optionalTextEquals(a.aetitle, b.aetitle) && optionalTextEquals(a.name, b.name) &&
         optionalTextEquals(a.address, b.address) && optionalTextEquals(a.port, b.port) &&
         a.transferSyntax == b.transferSyntax && a.retrieveMode == b.retrieveMode && a.isDicomNode == b.isDicomNode &&
         a.isQueryable == b.isQueryable && a.wadoSettings == b.wadoSettings && optionalTextEquals(a.icon, b.icon) &&
         a.tlsSettings == b.tlsSettings;
}

}  // namespace telvor
