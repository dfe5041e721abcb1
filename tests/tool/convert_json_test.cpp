// End-to-end: JSON conversions read through the simdjson reader (and, for what it refuses,
// the Boost.JSON one), write arrays one record at a time, and count what they drop.
#include "tool/tool_fixture.hpp"

#include <string>

namespace {

using namespace telvor::tool_test;

using ConvertJson = ToolTest;

const std::string kNode =
    R"({"aetitle":"A","name":"N","address":"h","port":"104","transferSyntax":2,"retrieveMode":1,"isDicomNode":true,)"
    R"("wadoSettings":{"retrieveSyntax":0,"https":false}})";

// kNode with `members` added before its own.
std::string with(const std::string& members) { return "{" + members + "," + kNode.substr(1); }

TEST_F(ConvertJson, CountsTheMembersItDropsWhicheverReaderReadsThem) {
  struct Case {
    std::string json;
    const char* note;  // the count the note gives, or empty for no note
  };
  const Case cases[] = {
      {"[" + kNode + "," + kNode + "]", ""},
      // A name given twice is one member; an unknown nested object is one member.
      {"[" + with(R"("x":1,"x":2,"y":{"z":[1]})") + "," + with(R"("x":null)") + "]", "leaves out 3 entries"},
      // An integer beyond 64 bits, which only the Boost.JSON reader reads.
      {with(R"("big":123456789012345678901234567890)"), "leaves out 1 entry "},
  };
  for (const auto& c : cases) {
    spit(scratch("in.json"), c.json);
    const auto r = run("convert '" + scratch("in.json") + "' -o '" + scratch("out.plist") + "'");
    ASSERT_EQ(r.status, 0) << c.json << r.err;
    if (*c.note == '\0') EXPECT_EQ(r.err, "") << c.json;
    else EXPECT_NE(r.err.find(c.note), std::string::npos) << c.json << r.err;
    // Back to JSON: the records, one per element, in the shape they came in.
    const auto back = run("convert --to json '" + scratch("out.plist") + "'");
    ASSERT_EQ(back.status, 0) << back.err;
    EXPECT_EQ(back.out.front(), c.json.front()) << back.out;
    EXPECT_EQ(back.out.back(), '\n');
  }
}

TEST_F(ConvertJson, RefusalsKeepThePositionInTheText) {
  spit(scratch("in.json"), "[" + kNode + ",\n" + kNode + " x]");
  const auto r = run("convert '" + scratch("in.json") + "' -o '" + scratch("out.plist") + "'");
  EXPECT_EQ(r.status, 3);
  EXPECT_NE(r.err.find("dataCorrupted at $: The given data was not valid JSON"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("line 2"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(scratch("out.plist")));
}

}  // namespace
