// Loss reports derived from field tables; a field added to a table alone is coded,
// compared and reported like every other.
#include "telvor/peers/field_losses.hpp"

#include <gtest/gtest.h>

#include "support/described_records.hpp"
#include "support/memory_format.hpp"

namespace telvor::peers {
namespace {

using namespace testing_support;

std::vector<std::string> lossesOf(const auto& given, const auto& carried) {
  std::vector<PeerLoss> losses;
  reportFieldLosses(given, carried, 2, "lab", losses);
  std::vector<std::string> lines;
  for (const auto& loss : losses) lines.push_back(describe(loss));
  return lines;
}

TEST(FieldLosses, AFieldAddedToTheTableIsCodedComparedAndReported) {
  GrownPanel given;
  given.name = "A";
  given.owner = "ops";
  GrownPanel carried = given;
  carried.owner.reset();

  EXPECT_EQ(show(toValue(given)), R"({"name":"A","note":"","owner":"ops"})");
  EXPECT_EQ(roundTrip(given), given);
  EXPECT_FALSE(given == carried);
  EXPECT_EQ(lossesOf(given, carried),
            std::vector<std::string>{"node 2 \"lab\": owner: \"ops\" -> reads back as absent"});
  // The record without the row never sees the member.
  Panel smaller;
  smaller.name = "A";
  EXPECT_EQ(show(toValue(smaller)), R"({"name":"A","note":""})");
}

TEST(FieldLosses, SecretsNestedRecordsAndOrder) {
  Panel given;
  given.name = "\u00e9";
  given.token = "hunter2";
  given.dial = Dial{{}, true, 3};
  Panel carried;
  carried.name = "e\u0301";  // equal as records, yet a changed spelling is a loss
  carried.dial = Dial{{}, false, 3};
  EXPECT_EQ(lossesOf(given, carried), (std::vector<std::string>{
                                          "node 2 \"lab\": name: \"\u00e9\" -> reads back as \"e\u0301\"",
                                          "node 2 \"lab\": token: (set, not shown) -> not written",
                                          "node 2 \"lab\": dial.lit: true -> reads back as false",
                                      }));
  carried = given;
  carried.dial.reset();
  EXPECT_EQ(lossesOf(given, carried),
            std::vector<std::string>{"node 2 \"lab\": dial: present -> reads back as absent"});
  EXPECT_EQ(lossesOf(carried, given),
            std::vector<std::string>{"node 2 \"lab\": dial: absent -> reads back as the default dial"});
  EXPECT_TRUE(lossesOf(given, given).empty());
}

}  // namespace
}  // namespace telvor::peers
