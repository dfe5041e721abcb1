// The configuration files Debian's Orthanc and DCMTK packages install, as installed and with
// their own commented peer examples switched on: imported into property-list and JSON
// catalogues and exported again under --strict, with no loss the files do not really hold.
#include <gtest/gtest.h>

#include <string>

#include "tool_fixture.hpp"

namespace telvor::tool_test {
namespace {

struct Shipped {
  const char* name;
  const char* format;
  const char* path;
  const char* exportOptions;  // what the export needs to carry everything back
};

constexpr Shipped kShipped[] = {
    {"Orthanc", "orthanc", "/etc/orthanc/orthanc.json", ""},
    {"Dcmqrscp", "dcmtk-qr", "/etc/dcmtk/dcmqrscp.cfg", ""},
    {"Dcmpstat", "dcmtk-pstat", "/etc/dcmtk/dcmpstat.cfg", " --certificate-file sitecert.pem --private-key-file sitekey.pem"},
};

class ShippedFiles : public ToolTest, public testing::WithParamInterface<Shipped> {
 protected:
  void SetUp() override {
    if (!fs::exists(GetParam().path)) GTEST_SKIP() << GetParam().path << " is not installed";
    const auto probe = run(std::string("import --from ") + GetParam().format + " - </dev/null");
    if (probe.status == 2 && probe.err.find("unknown peer format") != std::string::npos)
      GTEST_SKIP() << "this build has no " << GetParam().format << " format";
  }

  // Imports `source` into a new catalogue, exports it under --strict, imports that export
  // and exports again: the two exports must be the same text, and reading the export back
  // loses nothing but TLS file names (given to the export again).
  void roundTrip(const std::string& source, const std::string& extension) {
    const std::string format = GetParam().format;
    fs::remove(scratch("first" + extension));
    fs::remove(scratch("second" + extension));
    const std::string first = scratch("first" + extension), second = scratch("second" + extension);
    const auto imported = run("import --from " + format + " '" + source + "' -o '" + first + "'");
    ASSERT_EQ(imported.status, 0) << imported.err;
    EXPECT_EQ(imported.err.find("isQueryable"), std::string::npos) << imported.err;

    const std::string exportArgs = " --strict" + std::string(GetParam().exportOptions) + " -o ";
    const auto exported = run("export --to " + format + " '" + first + "'" + exportArgs + "'" + scratch("out1") + "'");
    ASSERT_EQ(exported.status, 0) << extension << ": " << exported.err;
    const auto again = run("import --from " + format + " '" + scratch("out1") + "' -o '" + second + "'");
    ASSERT_EQ(again.status, 0) << extension << ": " << again.err;
    for (std::size_t at = 0; (at = again.err.find(" -> ", at)) != std::string::npos; ++at)
      EXPECT_EQ(again.err.compare(at, 22, " -> file name not kept"), 0) << again.err;
    const auto twice = run("export --to " + format + " '" + second + "'" + exportArgs + "'" + scratch("out2") + "'");
    ASSERT_EQ(twice.status, 0) << twice.err;
    EXPECT_EQ(slurp(scratch("out1")), slurp(scratch("out2")));
    EXPECT_EQ(run("list --json '" + first + "'").out.size(), run("list --json '" + second + "'").out.size());
  }
};

TEST_P(ShippedFiles, AsInstalledAndWithTheirExamplesSwitchedOnRoundTripUnderStrict) {
  const auto made = python("switch_on_examples.py", std::string(GetParam().format) + " '" + GetParam().path + "' '" +
                                                        scratch("examples") + "'");
  ASSERT_EQ(made.status, 0) << made.err;
  ASSERT_NE(slurp(scratch("examples")), slurp(GetParam().path)) << "no example was switched on";
  for (const std::string& source : {std::string(GetParam().path), scratch("examples")})
    for (const char* extension : {".plist", ".json"}) roundTrip(source, extension);
}

INSTANTIATE_TEST_SUITE_P(Debian, ShippedFiles, testing::ValuesIn(kShipped),
                         [](const auto& info) { return std::string(info.param.name); });

// What a person reading the dcmpstat report needs: the peer that would be reached otherwise
// first, each key as the file writes it, nodes by the numbers `list` shows, and the
// section names kept for the export.
TEST_F(ToolTest, DcmpstatReportLeadsWithTheUnfaithfulPeerAndNamesNodesAsListDoes) {
  if (!fs::exists("/etc/dcmtk/dcmpstat.cfg")) GTEST_SKIP() << "/etc/dcmtk/dcmpstat.cfg is not installed";
  spit(scratch("nodes.plist"), slurp(std::string(TELVOR_SOURCE_DIR) + "/examples/nodes.plist"));  // seven nodes
  const auto r = run("import --from dcmtk-pstat /etc/dcmtk/dcmpstat.cfg -o '" + scratch("nodes.plist") + "'");
  if (r.status == 2) GTEST_SKIP() << "this build has no dcmtk-pstat format";
  ASSERT_EQ(r.status, 0) << r.err;
  const auto unfaithful = r.err.find("node 9 \"Hostname, TLS transmission, no encryption [STORE_2]\": TLSProfile: \"NULL\"");
  ASSERT_NE(unfaithful, std::string::npos) << r.err;
  EXPECT_LT(unfaithful, r.err.find("MaxPDU")) << r.err;
  EXPECT_NE(r.err.find("node 8 \"Hostname, unsecure transmission [STORE_1]\": MaxPDU"), std::string::npos) << r.err;
  EXPECT_EQ(r.err.find("MAXPDU"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("entry 4 \"Standard receiver at port 10004 [RECEIVE_1]\" (not imported)"), std::string::npos) << r.err;
  EXPECT_EQ(run("import --strict --from dcmtk-pstat /etc/dcmtk/dcmpstat.cfg").status, 1);

  const auto out = run("export --to dcmtk-pstat --select 8 --select 10 '" + scratch("nodes.plist") + "'");
  EXPECT_NE(out.out.find("[STORE_1]\nType = STORAGE\nDescription = Hostname, unsecure transmission\n"), std::string::npos)
      << out.out;
  EXPECT_NE(out.out.find("[STORE_3]"), std::string::npos) << out.out;
}

}  // namespace
}  // namespace telvor::tool_test
