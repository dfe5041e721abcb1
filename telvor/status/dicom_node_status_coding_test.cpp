// DicomNodeStatus's coded form, through JSON: layout, refusals with their exact errors and
// paths (at the top and nested in another record), and lossless round trips.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/coding_support.hpp"
#include "telvor/json/json.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using testing_support::keyPath;

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
  EXPECT_EQ(json::encode(DicomNodeStatus::unknown("")), R"({"unknown":{"reason":""}})");
  EXPECT_EQ(json::encode(DicomNodeStatus::inaccessible("refused")), R"({"inaccessible":{"reason":"refused"}})");
  EXPECT_EQ(json::encode(DicomNodeStatus::accessable()), R"({"accessable":{}})");
  EXPECT_EQ(json::encode(Holder{DicomNodeStatus::accessable()}), R"({"status":{"accessable":{}}})");
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
    const auto text = json::encode(s);
    const auto back = json::decode<DicomNodeStatus>(text);
    EXPECT_EQ(back, s) << text;
    EXPECT_EQ(back.kind(), s.kind()) << text;
    EXPECT_EQ(back.reason(), s.reason()) << text;  // no normalisation on the way
    EXPECT_EQ(json::decode<Holder>(json::encode(Holder{s})).status.reason(), s.reason());
  }
}

TEST(DicomNodeStatusCoding, AReasonTheFormatCannotHoldIsTheEncodersError) {
  const auto e = capture<EncodingError>([] { json::encode(Holder{DicomNodeStatus::unknown("\xff")}); });
  EXPECT_EQ(e.codingPath(), keyPath({"status", "unknown", "reason"}));
}

TEST(DicomNodeStatusCoding, IgnoresEntriesUnderOtherNames) {
  struct Accepted {
    const char* json;
    DicomNodeStatus status;
  };
  const std::vector<Accepted> rows = {
      {R"({"unknown":{"reason":"r","since":3},"note":true,"Accessable":{}})", DicomNodeStatus::unknown("r")},
      {R"({"accessible":{},"inaccessible":{"reason":""}})", DicomNodeStatus::inaccessible("")},
      {R"({"accessable":{"reason":"stale"}})", DicomNodeStatus::accessable()},
      {R"({"accessable":{"reason":7},"x":null})", DicomNodeStatus::accessable()},
  };
  for (const auto& r : rows) EXPECT_EQ(json::decode<DicomNodeStatus>(r.json), r.status) << r.json;
}

constexpr const char* kInvalidNumberOfKeys = "Invalid number of keys found, expected one.";

struct Refusal {
  const char* name;
  const char* json;        // the status's own coded form
  DecodingError::Kind kind;
  CodingPath path;         // relative to the status
  const char* expectedType = "";
  const char* missingKey = "";
};
void PrintTo(const Refusal& r, std::ostream* os) { *os << r.name; }

class DicomNodeStatusRefusal : public testing::TestWithParam<Refusal> {
 protected:
  // The error and where the status stood, for the status at the top and nested in a Holder.
  void check(const DecodingError& e, const CodingPath& at) const {
    const auto& r = GetParam();
    CodingPath path = at;
    path.insert(path.end(), r.path.begin(), r.path.end());
    EXPECT_EQ(e.kind(), r.kind) << e.what();
    EXPECT_EQ(e.codingPath(), path) << e.what();
    EXPECT_EQ(e.expectedType(), r.expectedType) << e.what();
    EXPECT_EQ(e.key().stringValue, r.missingKey) << e.what();
    EXPECT_EQ(e.context().underlyingError, nullptr);
    const bool ours = std::string_view(r.expectedType) == "DicomNodeStatus";
    EXPECT_EQ(e.debugDescription() == kInvalidNumberOfKeys, ours) << e.what();
  }
};

TEST_P(DicomNodeStatusRefusal, AtTheTop) {
  check(capture<DecodingError>([] { json::decode<DicomNodeStatus>(GetParam().json); }), {});
}

TEST_P(DicomNodeStatusRefusal, NestedInARecord) {
  const std::string text = std::string(R"({"status":)") + GetParam().json + "}";
  check(capture<DecodingError>([&] { json::decode<Holder>(text); }), keyPath({"status"}));
}

using K = DecodingError::Kind;
INSTANTIATE_TEST_SUITE_P(
    Documents, DicomNodeStatusRefusal,
    testing::Values(
        Refusal{"empty", "{}", K::typeMismatch, {}, "DicomNodeStatus"},
        Refusal{"onlyOtherNames", R"({"online":{},"reason":"x"})", K::typeMismatch, {}, "DicomNodeStatus"},
        Refusal{"misspeltAccessible", R"({"accessible":{}})", K::typeMismatch, {}, "DicomNodeStatus"},
        Refusal{"twoCases", R"({"unknown":{"reason":"a"},"inaccessible":{"reason":"b"}})", K::typeMismatch, {},
                "DicomNodeStatus"},
        Refusal{"threeCases", R"({"accessable":{},"unknown":{"reason":""},"inaccessible":{"reason":""}})",
                K::typeMismatch, {}, "DicomNodeStatus"},
        Refusal{"notKeyed", R"("online")", K::typeMismatch, {}, "keyed container"},
        Refusal{"null", "null", K::valueNotFound, {}, "keyed container"},
        Refusal{"accessableHoldsNumber", R"({"accessable":1})", K::typeMismatch, keyPath({"accessable"}),
                "keyed container"},
        Refusal{"accessableHoldsText", R"({"accessable":"yes"})", K::typeMismatch, keyPath({"accessable"}),
                "keyed container"},
        Refusal{"accessableNull", R"({"accessable":null})", K::valueNotFound, keyPath({"accessable"}),
                "keyed container"},
        Refusal{"unknownWithoutReason", R"({"unknown":{}})", K::keyNotFound, keyPath({"unknown"}), "", "reason"},
        Refusal{"inaccessibleWithoutReason", R"({"inaccessible":{"Reason":"x"}})", K::keyNotFound,
                keyPath({"inaccessible"}), "", "reason"},
        Refusal{"reasonNull", R"({"inaccessible":{"reason":null}})", K::valueNotFound,
                keyPath({"inaccessible", "reason"}), "String"},
        Refusal{"reasonNumber", R"({"unknown":{"reason":404}})", K::typeMismatch, keyPath({"unknown", "reason"}),
                "String"},
        Refusal{"reasonKeyed", R"({"inaccessible":{"reason":{}}})", K::typeMismatch,
                keyPath({"inaccessible", "reason"}), "String"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace telvor
