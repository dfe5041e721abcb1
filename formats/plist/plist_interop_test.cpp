// Property lists written by another program, Python's plistlib, are read as the values
// it wrote, and what this library writes reads back in Python as the same values. The
// tests skip when python3 is not installed.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include "support/scratch_files.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor {
namespace {

using testing_support::slurp;
using testing_support::spit;

// Writes the document to DIR/python.{xml,bin}.plist ("write DIR"), or checks that
// DIR/telvor.{xml,bin}.plist hold it ("check DIR").
constexpr const char* kScript = R"(import datetime, pathlib, plistlib, sys
node = {
    "AETitle": "ARCHIVE", "Port": 104, "accent": "caf\u00e9",
    "minusOne": -1, "int64Min": -2**63, "int64Max": 2**63 - 1, "uint64Max": 2**64 - 1,
    "isDicomNode": True, "ratio": 0.25, "when": datetime.datetime(2020, 6, 1, 12, 0, 0),
    "blob": b"\x00\x01\xfe\xff", "list": [1, "two", [False]], "nested": {"inner": -42},
}
document = [node, {"AETitle": "SECOND"}]
mode, folder = sys.argv[1], pathlib.Path(sys.argv[2])
forms = {"xml": plistlib.FMT_XML, "bin": plistlib.FMT_BINARY}
for name, form in forms.items():
    if mode == "write":
        (folder / f"python.{name}.plist").write_bytes(plistlib.dumps(document, fmt=form))
    else:
        read = plistlib.loads((folder / f"telvor.{name}.plist").read_bytes())
        if read != document:
            print(name, read, file=sys.stderr)
            sys.exit(1)
)";

PropertyValue other(PropertyOther value) { return PropertyValue::other(std::move(value)); }

plist::PropertyListDocument expected() {
  const PropertyDictionary node{
      {"AETitle", PropertyValue::text("ARCHIVE")},
      {"Port", PropertyValue::integer(104)},
      {"accent", PropertyValue::text("caf\u00e9")},
      {"minusOne", PropertyValue::integer(-1)},
      {"int64Min", PropertyValue::integer(std::numeric_limits<std::int64_t>::min())},
      {"int64Max", PropertyValue::integer(std::numeric_limits<std::int64_t>::max())},
      {"uint64Max", other(PropertyOther(std::numeric_limits<std::uint64_t>::max()))},
      {"isDicomNode", PropertyValue::boolean(true)},
      {"ratio", other(PropertyOther(0.25))},
      {"when", other(PropertyOther(PropertyDate{612705600}))},  // 2020-06-01T12:00:00Z
      {"blob", other(PropertyOther(PropertyOther::Data{0x00, 0x01, 0xFE, 0xFF}))},
      {"list", other(PropertyOther(PropertyOther::Array{
                   PropertyValue::integer(1), PropertyValue::text("two"),
                   other(PropertyOther(PropertyOther::Array{PropertyValue::boolean(false)}))}))},
      {"nested", other(PropertyOther(PropertyDictionary{{"inner", PropertyValue::integer(-42)}}))},
  };
  return {{node, PropertyDictionary{{"AETitle", PropertyValue::text("SECOND")}}}, true};
}

class PlistInterop : public testing::Test {
 protected:
  void SetUp() override {
    if (std::system("python3 -c 'import plistlib' >/dev/null 2>&1") != 0) GTEST_SKIP() << "python3 is not installed";
    ASSERT_FALSE(folder_.path().empty());
    spit(folder_ / "plists.py", kScript);
  }

  bool python(const char* mode) const {
    const std::string command =
        "python3 '" + (folder_ / "plists.py").string() + "' " + mode + " '" + folder_.path().string() + "'";
    return std::system(command.c_str()) == 0;
  }

  testing_support::ScratchDir folder_;
};

TEST_F(PlistInterop, ReadsWhatPythonWrote) {
  ASSERT_TRUE(python("write"));
  for (const char* name : {"python.xml.plist", "python.bin.plist"}) {
    EXPECT_EQ(plist::parse(slurp(folder_ / name)), expected()) << name;
  }
}

TEST_F(PlistInterop, PythonReadsWhatThisLibraryWrote) {
  spit(folder_ / "telvor.xml.plist", plist::serialize(expected(), plist::Format::xml));
  spit(folder_ / "telvor.bin.plist", plist::serialize(expected(), plist::Format::binary));
  EXPECT_TRUE(python("check"));
}

}  // namespace
}  // namespace telvor
