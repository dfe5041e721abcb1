// DicomNodeStatus's coded form: layout, refusals with their exact errors and paths, and
// lossless round trips.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/coding_support.hpp"
#include "support/memory_format.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor {
namespace {

using namespace testing_support;

// A record holding a status, so that the status stands at the path "status".
enum class HolderKeys { status };
constexpr std::array<std::string_view, 1> codingKeyNames(HolderKeys) { return {"status"}; }

struct Holder {
  DicomNodeStatus status;

  void encode(Encoder& encoder) const {
    encoder.container<HolderKeys>().encode(status, HolderKeys::status);
  }
  static Holder decode(const Decoder& decoder) {
    return Holder{decoder.container<HolderKeys>().decode<DicomNodeStatus>(HolderKeys::status)};
  }
};

TEST(DicomNodeStatusCoding, WritesOneEntryNamedAfterTheCase) {
  EXPECT_EQ(show(toValue(DicomNodeStatus::unknown(""))), R"({"unknown":{"reason":""}})");
  EXPECT_EQ(show(toValue(DicomNodeStatus::inaccessible("refused"))), R"({"inaccessible":{"reason":"refused"}})");
  EXPECT_EQ(show(toValue(DicomNodeStatus::accessable())), R"({"accessable":{}})");
  EXPECT_EQ(show(toValue(Holder{DicomNodeStatus::accessable()})), R"({"status":{"accessable":{}}})");
}

TEST(DicomNodeStatusCoding, EveryStatusRoundTripsWithItsReasonByteForByte) {
  const std::vector<DicomNodeStatus> statuses = {
      DicomNodeStatus::unknown(""),
      DicomNodeStatus::unknown("not checked since 2024-03-01"),
      DicomNodeStatus::inaccessible(""),
      DicomNodeStatus::inaccessible("cafe\u0301 \"refused\"\n\u65e5\u672c \U0001F600"),
      DicomNodeStatus::inaccessible("caf\u00e9"),
      DicomNodeStatus::inaccessible(std::string(5000, 'x')),
      DicomNodeStatus::accessable(),
  };
  for (const auto& s : statuses) {
    const auto text = show(toValue(s));
    const auto back = roundTrip(s);
    EXPECT_EQ(back, s) << text;
    EXPECT_EQ(back.kind(), s.kind()) << text;
    EXPECT_EQ(back.reason(), s.reason()) << text;  // no normalisation on the way
    EXPECT_EQ(roundTrip(Holder{s}).status.reason(), s.reason());
  }
}

TEST(DicomNodeStatusCoding, AReasonTheFormatCannotHoldIsTheEncodersError) {
  const auto e = capture<EncodingError>([] { toValue(Holder{DicomNodeStatus::unknown("\xff")}); });
  EXPECT_EQ(e.codingPath(), keyPath({"status", "unknown", "reason"}));
}

TEST(DicomNodeStatusCoding, IgnoresEntriesUnderOtherNames) {
  struct Accepted {
    Value document;
    DicomNodeStatus status;
  };
  const std::vector<Accepted> rows = {
      {keyed({{"unknown", keyed({{"reason", "r"}, {"since", 3}})}, {"note", true}, {"Accessable", keyed({})}}),
       DicomNodeStatus::unknown("r")},
      {keyed({{"accessible", keyed({})}, {"inaccessible", keyed({{"reason", ""}})}}), DicomNodeStatus::inaccessible("")},
      {keyed({{"accessable", keyed({{"reason", "stale"}})}}), DicomNodeStatus::accessable()},
      {keyed({{"accessable", keyed({{"reason", 7}})}, {"x", null()}}), DicomNodeStatus::accessable()},
  };
  for (const auto& r : rows) EXPECT_EQ(fromValue<DicomNodeStatus>(r.document), r.status) << show(r.document);
}

// The status's own refusals; what null or a wrong kind anywhere gives is the coding
// interface's rule (coding_interface_test.cpp).
constexpr const char* kInvalidNumberOfKeys = "Invalid number of keys found, expected one.";

struct Refusal {
  const char* name;
  Value document;          // the status's own coded form
  DecodingError::Kind kind;
  CodingPath path;         // relative to the status
  const char* expectedType = "";
  const char* missingKey = "";
};
void PrintTo(const Refusal& r, std::ostream* os) { *os << r.name; }

class DicomNodeStatusRefusal : public testing::TestWithParam<Refusal> {
 protected:
  void check(const DecodingError& e) const {
    const auto& r = GetParam();
    EXPECT_EQ(e.kind(), r.kind) << e.what();
    EXPECT_EQ(e.codingPath(), r.path) << e.what();
    EXPECT_EQ(e.expectedType(), r.expectedType) << e.what();
    EXPECT_EQ(e.key().stringValue, r.missingKey) << e.what();
    EXPECT_EQ(e.context().underlyingError, nullptr);
    const bool ours = std::string_view(r.expectedType) == "DicomNodeStatus";
    EXPECT_EQ(e.debugDescription() == kInvalidNumberOfKeys, ours) << e.what();
  }
};

TEST_P(DicomNodeStatusRefusal, AtTheTop) {
  check(capture<DecodingError>([] { fromValue<DicomNodeStatus>(GetParam().document); }));
}

using K = DecodingError::Kind;
INSTANTIATE_TEST_SUITE_P(
    Documents, DicomNodeStatusRefusal,
    testing::Values(
        Refusal{"empty", keyed({}), K::typeMismatch, {}, "DicomNodeStatus"},
        Refusal{"onlyOtherNames", keyed({{"online", keyed({})}, {"reason", "x"}}), K::typeMismatch, {},
                "DicomNodeStatus"},
        Refusal{"misspeltAccessible", keyed({{"accessible", keyed({})}}), K::typeMismatch, {}, "DicomNodeStatus"},
        Refusal{"twoCases",
                keyed({{"unknown", keyed({{"reason", "a"}})}, {"inaccessible", keyed({{"reason", "b"}})}}),
                K::typeMismatch, {}, "DicomNodeStatus"},
        Refusal{"accessableHoldsNumber", keyed({{"accessable", 1}}), K::typeMismatch, keyPath({"accessable"}),
                "keyed container"},
        Refusal{"unknownWithoutReason", keyed({{"unknown", keyed({})}}), K::keyNotFound, keyPath({"unknown"}), "",
                "reason"},
        Refusal{"inaccessibleWithoutReason", keyed({{"inaccessible", keyed({{"Reason", "x"}})}}), K::keyNotFound,
                keyPath({"inaccessible"}), "", "reason"},
        Refusal{"reasonNumber", keyed({{"unknown", keyed({{"reason", 404}})}}), K::typeMismatch,
                keyPath({"unknown", "reason"}), "String"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace telvor
