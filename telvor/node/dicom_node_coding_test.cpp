// The node's coded form, through the in-memory format.
#include <gtest/gtest.h>

#include "support/coding_support.hpp"
#include "support/memory_format.hpp"
#include "support/random_records.hpp"
#include "support/record_forms.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

using namespace testing_support;

constexpr const char* kMinimalText =
    R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":0,"https":false}})";
const Value kMinimal = keyed({{"transferSyntax", 2},
                              {"retrieveMode", 1},
                              {"isDicomNode", true},
                              {"wadoSettings", keyed({{"retrieveSyntax", 0}, {"https", false}})}});

DicomNode minimalNode() { return fromValue<DicomNode>(kMinimal); }

TEST(DicomNodeCoding, AllOptionalsAbsentIsFourEntries) {
  const auto n = minimalNode();
  EXPECT_FALSE(n.uniqueId || n.aetitle || n.name || n.address || n.port || n.isQueryable || n.icon ||
               n.tlsSettings);
  EXPECT_EQ(show(toValue(n)), kMinimalText);
}

TEST(DicomNodeCoding, EveryFieldPresentIsTwelveEntriesInFieldOrder) {
  DicomNode n(104);
  n.uniqueId = *UUID::fromString("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  n.aetitle = "";
  n.name = "Archive";
  n.address = "10.0.0.5";
  n.isQueryable = false;
  n.icon = "server";
  EXPECT_EQ(show(toValue(n)),
            R"({"uniqueId":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","aetitle":"","name":"Archive",)"
            R"("address":"10.0.0.5","port":"104","transferSyntax":2,"retrieveMode":1,"isDicomNode":true,)"
            R"("isQueryable":false,"wadoSettings":{"retrieveSyntax":0,"https":false},"icon":"server",)"
            R"("tlsSettings":{"isEnabled":false,"securityProfile":1,"verifyPeerCertificate":false,)"
            R"("authenticateWithCertificate":false}})");
  const auto back = roundTrip(n);
  EXPECT_EQ(back, n);
  EXPECT_EQ(back.aetitle, "");
}

TEST(DicomNodeCoding, RandomNodesSurviveExactly) {
  testing_support::RecordGenerator gen(20261122);
  for (int i = 0; i < 500; ++i) {
    const auto n = gen.node();
    EXPECT_TRUE(sameBytes(roundTrip(n), n)) << show(toValue(n));
  }
}

struct Failure {
  const char* name;
  Value document;
  DecodingError::Kind kind;
  const char* path;
  const char* missingKey = "";
};
void PrintTo(const Failure& f, std::ostream* os) { *os << f.name; }

class DicomNodeCodingFailure : public testing::TestWithParam<Failure> {};

TEST_P(DicomNodeCodingFailure, RaisesTheFirstErrorWithItsPath) {
  const auto& f = GetParam();
  const auto e = capture<DecodingError>([&] { fromValue<DicomNode>(f.document); });
  EXPECT_EQ(e.kind(), f.kind) << e.what();
  EXPECT_EQ(describe(e.codingPath()), f.path) << e.what();
  EXPECT_EQ(e.key().stringValue, f.missingKey) << e.what();
}

using K = DecodingError::Kind;
INSTANTIATE_TEST_SUITE_P(
    Documents, DicomNodeCodingFailure,
    testing::Values(
        Failure{"dictionaryKeysOnly", keyed({{"AETitle", "A"}, {"Port", "104"}}), K::keyNotFound, "$", "transferSyntax"},
        Failure{"missingWado", without(kMinimal, {"wadoSettings"}), K::keyNotFound, "$", "wadoSettings"},
        Failure{"portAsNumber", with(kMinimal, {"port"}, 104), K::typeMismatch, "$.port"},
        Failure{"badUuid", with(kMinimal, {"uniqueId"}, "nope"), K::dataCorrupted, "$.uniqueId"},
        Failure{"unknownSyntax", with(kMinimal, {"transferSyntax"}, 42), K::dataCorrupted, "$.transferSyntax"},
        Failure{"unknownMode", with(kMinimal, {"retrieveMode"}, 3), K::dataCorrupted, "$.retrieveMode"},
        Failure{"isDicomNodeAsText", with(kMinimal, {"isDicomNode"}, "true"), K::typeMismatch, "$.isDicomNode"},
        Failure{"wadoMissingHttps", without(kMinimal, {"wadoSettings", "https"}), K::keyNotFound, "$.wadoSettings",
                "https"},
        Failure{"tlsNotKeyed", with(kMinimal, {"tlsSettings"}, true), K::typeMismatch, "$.tlsSettings"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(DicomNodeCoding, NullOptionalsReadAsAbsent) {
  Value v = with(kMinimal, {"isDicomNode"}, false);
  for (const char* key : {"uniqueId", "aetitle", "isQueryable", "tlsSettings", "icon"}) v = with(v, {key}, null());
  const auto n = fromValue<DicomNode>(v);
  EXPECT_FALSE(n.uniqueId || n.aetitle || n.isQueryable || n.tlsSettings || n.icon);
  EXPECT_FALSE(n.isDicomNode);
}

TEST(DicomNodeCoding, ACatalogueIsAnArrayWithPositionsInItsErrors) {
  const std::vector<DicomNode> nodes{minimalNode(), minimalNode()};
  EXPECT_EQ(roundTrip(nodes), nodes);
  const auto e = capture<DecodingError>(
      [&] { fromValue<std::vector<DicomNode>>(array({kMinimal, with(kMinimal, {"port"}, 104)})); });
  EXPECT_STREQ(e.what(), "typeMismatch at $[1].port: Expected to decode String but found an integer instead.");
}

}  // namespace
}  // namespace telvor
