// The node's coded form, through JSON.
#include <gtest/gtest.h>

#include "support/coding_support.hpp"
#include "support/random_records.hpp"
#include "support/record_forms.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using testing_support::keyPath;

constexpr const char* kMinimal =
    R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":0,"https":false}})";

DicomNode minimalNode() { return json::decode<DicomNode>(kMinimal); }

TEST(DicomNodeCoding, AllOptionalsAbsentIsFourEntries) {
  const auto n = minimalNode();
  EXPECT_FALSE(n.uniqueId || n.aetitle || n.name || n.address || n.port || n.isQueryable || n.icon ||
               n.tlsSettings);
  EXPECT_EQ(json::encode(n), kMinimal);
}

TEST(DicomNodeCoding, EveryFieldPresentIsTwelveEntriesInFieldOrder) {
  DicomNode n(104);
  n.uniqueId = *UUID::fromString("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  n.aetitle = "";
  n.name = "Archive";
  n.address = "10.0.0.5";
  n.isQueryable = false;
  n.icon = "server";
  EXPECT_EQ(json::encode(n),
            R"({"uniqueId":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","aetitle":"","name":"Archive",)"
            R"("address":"10.0.0.5","port":"104","transferSyntax":2,"retrieveMode":1,"isDicomNode":true,)"
            R"("isQueryable":false,"wadoSettings":{"retrieveSyntax":0,"https":false},"icon":"server",)"
            R"("tlsSettings":{"isEnabled":false,"securityProfile":1,"verifyPeerCertificate":false,)"
            R"("authenticateWithCertificate":false}})");
  const auto back = json::decode<DicomNode>(json::encode(n));
  EXPECT_EQ(back, n);
  EXPECT_EQ(back.aetitle, "");
}

TEST(DicomNodeCoding, RandomNodesSurviveExactly) {
  testing_support::RecordGenerator gen(20261122);
  for (int i = 0; i < 500; ++i) {
    const auto n = gen.node();
    const auto text = json::encode(n);
    EXPECT_TRUE(testing_support::sameBytes(json::decode<DicomNode>(text), n)) << text;
  }
}

struct Failure {
  const char* name;
  const char* json;
  DecodingError::Kind kind;
  CodingPath path;
  const char* missingKey = "";
};
void PrintTo(const Failure& f, std::ostream* os) { *os << f.name; }

class DicomNodeCodingFailure : public testing::TestWithParam<Failure> {};

TEST_P(DicomNodeCodingFailure, RaisesTheFirstErrorWithItsPath) {
  const auto& f = GetParam();
  const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(f.json); });
  EXPECT_EQ(e.kind(), f.kind) << e.what();
  EXPECT_EQ(e.codingPath(), f.path) << e.what();
  EXPECT_EQ(e.key().stringValue, f.missingKey) << e.what();
}

using K = DecodingError::Kind;
INSTANTIATE_TEST_SUITE_P(
    Documents, DicomNodeCodingFailure,
    testing::Values(
        Failure{"dictionaryKeysOnly", R"({"AETitle":"A","Port":"104"})", K::keyNotFound, {}, "transferSyntax"},
        Failure{"missingWado", R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":true})", K::keyNotFound, {},
                "wadoSettings"},
        Failure{"nullRetrieveMode", R"({"transferSyntax":2,"retrieveMode":null,"isDicomNode":true})",
                K::valueNotFound, keyPath({"retrieveMode"})},
        Failure{"portAsNumber", R"({"port":104,"transferSyntax":2})", K::typeMismatch, keyPath({"port"})},
        Failure{"badUuid", R"({"uniqueId":"nope","transferSyntax":2})", K::dataCorrupted, keyPath({"uniqueId"})},
        Failure{"unknownSyntax", R"({"transferSyntax":42})", K::dataCorrupted, keyPath({"transferSyntax"})},
        Failure{"unknownMode", R"({"transferSyntax":2,"retrieveMode":3})", K::dataCorrupted,
                keyPath({"retrieveMode"})},
        Failure{"isDicomNodeAsText", R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":"true"})",
                K::typeMismatch, keyPath({"isDicomNode"})},
        Failure{"wadoTwoLevelsDown",
                R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":6,"https":false}})",
                K::dataCorrupted, keyPath({"wadoSettings", "retrieveSyntax"})},
        Failure{"wadoMissingHttps",
                R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":0}})",
                K::keyNotFound, keyPath({"wadoSettings"}), "https"},
        Failure{"tlsTwoLevelsDown",
                R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":0,"https":false},"tlsSettings":{"isEnabled":true,"securityProfile":"1"}})",
                K::typeMismatch, keyPath({"tlsSettings", "securityProfile"})},
        Failure{"tlsNotKeyed",
                R"({"transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":0,"https":false},"tlsSettings":true})",
                K::typeMismatch, keyPath({"tlsSettings"})}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(DicomNodeCoding, NullOptionalsReadAsAbsent) {
  const auto n = json::decode<DicomNode>(
      R"({"uniqueId":null,"aetitle":null,"transferSyntax":2,"retrieveMode":1,"isDicomNode":false,)"
      R"("isQueryable":null,"wadoSettings":{"retrieveSyntax":0,"https":false},"tlsSettings":null,"icon":null})");
  EXPECT_FALSE(n.uniqueId || n.aetitle || n.isQueryable || n.tlsSettings || n.icon);
  EXPECT_FALSE(n.isDicomNode);
}

}  // namespace
}  // namespace telvor
