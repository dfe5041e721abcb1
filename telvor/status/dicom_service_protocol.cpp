#include "telvor/status/dicom_service_protocol.hpp"

namespace telvor {

// Defined here so that the interface's type information lives in the library.
DicomServiceProtocol::~DicomServiceProtocol() = default;

}  // namespace telvor
