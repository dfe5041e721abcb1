// DicomServiceProtocol is the application's to implement: every operation must be supplied.
#include "telvor/status/dicom_service_protocol.hpp"

#include <gtest/gtest.h>

#include <type_traits>

#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

struct WithoutVerify : DicomServiceProtocol {
  std::vector<DicomAttributes> query(const DicomNode&, const DicomAttributes&) override { return {}; }
  DicomNodeStatus retrieve(const DicomNode&, std::string_view) override { return DicomNodeStatus::accessable(); }
};
struct WithoutQuery : DicomServiceProtocol {
  DicomNodeStatus verify(const DicomNode&) override { return DicomNodeStatus::accessable(); }
  DicomNodeStatus retrieve(const DicomNode&, std::string_view) override { return DicomNodeStatus::accessable(); }
};
struct WithoutRetrieve : DicomServiceProtocol {
  DicomNodeStatus verify(const DicomNode&) override { return DicomNodeStatus::accessable(); }
  std::vector<DicomAttributes> query(const DicomNode&, const DicomAttributes&) override { return {}; }
};
static_assert(std::is_abstract_v<WithoutVerify> && std::is_abstract_v<WithoutQuery> &&
              std::is_abstract_v<WithoutRetrieve>);

}  // namespace
}  // namespace telvor
