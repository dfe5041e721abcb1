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

// A test double, as an application's tests would write one.
struct FakeServices final : DicomServiceProtocol {
  DicomNodeStatus verify(const DicomNode& node) override {
    return node.address ? DicomNodeStatus::accessable() : DicomNodeStatus::inaccessible("no address");
  }
  std::vector<DicomAttributes> query(const DicomNode&, const DicomAttributes& keys) override {
    DicomAttributes match = keys;
    match["StudyInstanceUID"] = "1.2.3";
    return {match};
  }
  DicomNodeStatus retrieve(const DicomNode& node, std::string_view) override { return verify(node); }
};

TEST(DicomServiceProtocol, AnApplicationsImplementationIsCalledThroughTheInterface) {
  FakeServices fake;
  DicomServiceProtocol& services = fake;
  DicomNode node(104);
  EXPECT_EQ(services.verify(node), DicomNodeStatus::inaccessible("no address"));
  node.address = "10.0.0.5";
  EXPECT_EQ(services.retrieve(node, "1.2.3"), DicomNodeStatus::accessable());
  const auto matches = services.query(node, {{"PatientName", "DOE^J*"}, {"StudyInstanceUID", ""}});
  ASSERT_EQ(matches.size(), 1u);
  EXPECT_EQ(matches[0].at("StudyInstanceUID"), "1.2.3");
  EXPECT_EQ(matches[0].at("PatientName"), "DOE^J*");
}

}  // namespace
}  // namespace telvor
