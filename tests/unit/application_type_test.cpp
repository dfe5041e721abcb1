// The README's example: an application's own type, holding nodes and a status per node,
// made codable through telvor::Coding without touching the type.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "support/capture.hpp"
#include "support/memory_format.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace app {

struct Workspace {  // the application's type; it knows nothing of coding
  std::vector<telvor::DicomNode> nodes;
  std::map<std::string, telvor::DicomNodeStatus> statusByAeTitle;
};

enum class WorkspaceKeys { nodes, statuses };
constexpr std::array<std::string_view, 2> codingKeyNames(WorkspaceKeys) { return {"nodes", "statuses"}; }
enum class StatusKeys { aetitle, status };
constexpr std::array<std::string_view, 2> codingKeyNames(StatusKeys) { return {"aetitle", "status"}; }

}  // namespace app

template <>
struct telvor::Coding<app::Workspace> {
  using Keys = app::WorkspaceKeys;
  using StatusKeys = app::StatusKeys;

  static void encode(const app::Workspace& w, Encoder& encoder) {
    auto c = encoder.container<Keys>();
    c.encode(w.nodes, Keys::nodes);  // a std::vector of codable values is codable
    auto statuses = c.nestedUnkeyedContainer(Keys::statuses);
    for (const auto& [aetitle, status] : w.statusByAeTitle) {
      auto entry = statuses.nestedContainer<StatusKeys>();
      entry.encode(aetitle, StatusKeys::aetitle);
      entry.encode(status, StatusKeys::status);
    }
  }

  static app::Workspace decode(const Decoder& decoder) {
    auto c = decoder.container<Keys>();
    app::Workspace w;
    w.nodes = c.decode<std::vector<DicomNode>>(Keys::nodes);
    auto statuses = c.nestedUnkeyedContainer(Keys::statuses);
    while (!statuses.isAtEnd()) {
      auto entry = statuses.nestedContainer<StatusKeys>();
      w.statusByAeTitle.insert_or_assign(entry.decode<std::string>(StatusKeys::aetitle),
                                         entry.decode<DicomNodeStatus>(StatusKeys::status));
    }
    return w;
  }
};

namespace telvor {
namespace {

using namespace testing_support;

TEST(ApplicationType, CodesNodesAndStatusesThroughTheHook) {
  app::Workspace w;
  w.nodes.emplace_back(104).aetitle = "ARCHIVE";
  w.nodes.emplace_back(11112);
  w.statusByAeTitle.insert_or_assign("ARCHIVE", DicomNodeStatus::inaccessible("connection refused"));
  const auto back = roundTrip(w);
  EXPECT_EQ(back.nodes, w.nodes);
  EXPECT_EQ(back.statusByAeTitle, w.statusByAeTitle);

  const Value broken = with(toValue(w), {"statuses"}, array({keyed({{"aetitle", "A"}, {"status", keyed({})}})}));
  const auto e = capture<DecodingError>([&] { fromValue<app::Workspace>(broken); });
  EXPECT_EQ(describe(e.codingPath()), "$.statuses[0].status");
}

}  // namespace
}  // namespace telvor
