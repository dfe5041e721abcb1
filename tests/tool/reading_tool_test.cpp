// The reading tool and the whole tool it hands echo, import and export to (builds with a
// companion that talks to other systems).
#include <cstdlib>

#include "tool/tool_fixture.hpp"

#ifdef TELVOR_NODES_FULL_TOOL

namespace telvor::tool_test {
namespace {

using ReadingToolTest = ToolTest;

// Reading a catalogue must not pay for loading DCMTK, libcurl, OpenLDAP or Qt.
TEST_F(ReadingToolTest, loadsNoCompanionLibrary) {
  const ToolRun needed = shell("readelf -d '" + std::string(TELVOR_NODES_TOOL) + "'");
  ASSERT_EQ(needed.status, 0) << needed.err;
  ASSERT_NE(needed.out.find("(NEEDED)"), std::string::npos);
  for (const char* library : {"libdcm", "libtelvor_dcmtk", "libcurl", "libtelvor_web", "libldap", "libQt"})
    EXPECT_EQ(needed.out.find(library), std::string::npos) << library;
}

// Each handed-over command gives the whole tool's answer, exit status included; options are
// refused before anything is handed over.
TEST_F(ReadingToolTest, handsOverWithTheSameAnswers) {
  for (const char* args : {"echo --host 127.0.0.1 --port 1 --aec PEER --timeout 2",
                           "import --from no-such-format x",
                           "export --to orthanc '" TELVOR_SOURCE_DIR "/examples/nodes.plist'",
                           "echo --no-such-option", "help import", "--help"}) {
    const ToolRun reading = run(args);
    const ToolRun full = shell("'" + std::string(TELVOR_NODES_FULL_TOOL) + "' " + args);
    EXPECT_EQ(reading.status, full.status) << args;
    EXPECT_EQ(reading.out, full.out) << args;
    EXPECT_EQ(reading.err, full.err) << args;
  }
}

// A reading tool copied away from the whole tool says where it looked, and exits 2.
TEST_F(ReadingToolTest, missingWholeToolIsNamed) {
  const ToolRun copy = shell("cp '" + std::string(TELVOR_NODES_TOOL) + "' '" + scratch("telvor-nodes") + "'");
  ASSERT_EQ(copy.status, 0) << copy.err;
  const ToolRun echo = shell("'" + scratch("telvor-nodes") + "' echo --host 127.0.0.1 --port 1 --aec PEER");
  EXPECT_EQ(echo.status, 2);
  EXPECT_NE(echo.err.find("which could not be started"), std::string::npos) << echo.err;
  EXPECT_NE(echo.err.find("reinstall telvor-nodes"), std::string::npos) << echo.err;
  EXPECT_EQ(shell("'" + scratch("telvor-nodes") + "' list").status, 0);
}

}  // namespace
}  // namespace telvor::tool_test

#endif
