// The node record and its dictionary form.
#include "telvor/node/dicom_node.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <type_traits>

namespace telvor {
namespace {

static_assert(std::is_copy_constructible_v<DicomNode> && std::is_copy_assignable_v<DicomNode>);

DicomNode complete() {
  DicomNode n(104);
  n.aetitle = "ARCHIVE";
  n.name = "Main archive";
  n.address = "10.0.0.5";
  return n;
}

TEST(DicomNode, DefaultsOfANewNode) {
  const DicomNode n;
  ASSERT_TRUE(n.uniqueId);
  EXPECT_EQ(n.id(), n.uniqueId->uuidString());
  EXPECT_FALSE(n.aetitle || n.name || n.address || n.port || n.icon || n.isQueryable);
  EXPECT_EQ(n.transferSyntax, TransferSyntax::EXS_LittleEndianExplicit);
  EXPECT_EQ(n.retrieveMode, RetrieveModeType::cget);
  EXPECT_TRUE(n.isDicomNode);
  EXPECT_EQ(n.wadoSettings, WadoSettings(PropertyDictionary{}));
  EXPECT_EQ(n.tlsSettings, TlsSettings());
  EXPECT_NE(DicomNode(), DicomNode());
  EXPECT_NE(DicomNode().id(), DicomNode().id());
  const DicomNode copy = n;
  EXPECT_EQ(copy, n);
}

TEST(DicomNode, PortConstructorWritesDecimalText) {
  EXPECT_EQ(DicomNode(104).port, "104");
  EXPECT_EQ(DicomNode(-1).port, "-1");
  EXPECT_EQ(DicomNode(0).port, "0");
  EXPECT_EQ(DicomNode(std::numeric_limits<std::int64_t>::min()).port, "-9223372036854775808");
}

TEST(DicomNode, IdentifiersDeriveFromTheFields) {
  auto n = complete();
  EXPECT_EQ(n.tlsCertificateID("org.example.viewer"), "org.example.viewer.dicomtlsclient.10.0.0.5.104.ARCHIVE");
  EXPECT_EQ(DicomNode().tlsCertificateID("org.example.viewer"), "org.example.viewer.dicomtlsclient...");
  n.uniqueId.reset();
  EXPECT_EQ(n.id(), "");
}

// Each change makes an otherwise equal node unequal, or (canonically equal text) not.
TEST(DicomNode, EqualityComparesEveryFieldWithCanonicalText) {
  DicomNode base = complete();
  base.uniqueId.reset();
  const std::pair<const char*, std::function<void(DicomNode&)>> unequal[] = {
      {"uniqueId", [](auto& n) { n.uniqueId = UUID::random(); }},
      {"aetitleCase", [](auto& n) { n.aetitle = "archive"; }},
      {"nameAbsent", [](auto& n) { n.name.reset(); }},
      {"addressEmpty", [](auto& n) { n.address = ""; }},
      {"port", [](auto& n) { n.port = "105"; }},
      {"transferSyntax", [](auto& n) { n.transferSyntax = TransferSyntax::EXS_Unknown; }},
      {"retrieveMode", [](auto& n) { n.retrieveMode = RetrieveModeType::cmove; }},
      {"isDicomNode", [](auto& n) { n.isDicomNode = false; }},
      {"isQueryableFalse", [](auto& n) { n.isQueryable = false; }},
      {"wado", [](auto& n) { n.wadoSettings.https = true; }},
      {"icon", [](auto& n) { n.icon = "server"; }},
      {"tlsAbsent", [](auto& n) { n.tlsSettings.reset(); }},
      {"tlsProfile", [](auto& n) { n.tlsSettings->securityProfile = TLSSecurityProfile::profile0; }},
  };
  for (const auto& [name, change] : unequal) {
    DicomNode other = base;
    change(other);
    EXPECT_NE(base, other) << name;
  }
  DicomNode a = base, b = base;
  a.name = "Caf\u00e9";
  b.name = "Cafe\u0301";
  a.icon = "\u00e9";
  b.icon = "e\u0301";
  EXPECT_EQ(a, b);
}

// --- dictionary form ---------------------------------------------------------------------

TEST(DicomNodeDictionary, AbsentWhileAnIdentityFieldIsMissing) {
  EXPECT_FALSE(DicomNode().toDictionary());
  EXPECT_FALSE(DicomNode(104).toDictionary());
  for (auto field : {&DicomNode::aetitle, &DicomNode::name, &DicomNode::address, &DicomNode::port}) {
    auto n = complete();
    (n.*field).reset();
    EXPECT_FALSE(n.toDictionary());
    n = complete();
    n.*field = "";
    EXPECT_TRUE(n.toDictionary());
  }
}

TEST(DicomNodeDictionary, ExactShapeOfTheTwentyKeys) {
  const auto d = complete().toDictionary();
  ASSERT_TRUE(d);
  const PropertyDictionary expected{
      {"AETitle", PropertyValue::text("ARCHIVE")},
      {"Port", PropertyValue::text("104")},
      {"Description", PropertyValue::text("Main archive")},
      {"Address", PropertyValue::text("10.0.0.5")},
      {"isDicomNode", PropertyValue::boolean(true)},
      {"transferSyntax", PropertyValue::numberObject(2)},
      {"retrieveMode", PropertyValue::numberObject(1)},
      {"QR", PropertyValue::boolean(true)},
      {"Send", PropertyValue::boolean(true)},
      {"Activated", PropertyValue::boolean(true)},
      {"WADOPort", PropertyValue::integer(0)},
      {"WADOTransferSyntax", PropertyValue::numberObject(0)},
      {"WADOUrl", PropertyValue::text("wado")},
      {"WADOPassword", PropertyValue::text("")},
      {"WADOUsername", PropertyValue::text("")},
      {"WADOhttps", PropertyValue::integer(0)},
      {"TLSEnabled", PropertyValue::boolean(false)},
      {"TLSSecurityProfile", PropertyValue::integer(1)},
      {"TLSVerifyPeerCertificate", PropertyValue::boolean(false)},
      {"TLSAuthenticateWithCertificate", PropertyValue::boolean(false)},
  };
  EXPECT_EQ(*d, expected);
}

TEST(DicomNodeDictionary, ConditionalKeysAndSubstitutes) {
  auto n = complete();
  n.isQueryable = true;
  EXPECT_EQ(n.toDictionary().value().size(), 20u);
  n.isQueryable = false;
  n.icon = "server";
  n.tlsSettings.reset();
  n.wadoSettings.https = true;
  n.wadoSettings.retrieveSyntax = SupportedWadoTransferSyntaxType::jpeg2000LSLossyLowQuality;
  const auto d = *n.toDictionary();
  EXPECT_EQ(d.size(), 22u);
  EXPECT_EQ(*d.find("isQueryable"), PropertyValue::text("0"));
  EXPECT_EQ(*d.find("icon"), PropertyValue::text("server"));
  EXPECT_EQ(*d.find("TLSSecurityProfile"), PropertyValue::integer(0));
  EXPECT_EQ(*d.find("TLSEnabled"), PropertyValue::boolean(false));
  EXPECT_EQ(*d.find("WADOhttps"), PropertyValue::integer(1));
  EXPECT_EQ(*d.find("WADOTransferSyntax"), PropertyValue::numberObject(16));
}

TEST(DicomNodeDictionary, ReadingAnEmptyDictionary) {
  const DicomNode n{PropertyDictionary{}};
  EXPECT_TRUE(n.uniqueId);
  EXPECT_FALSE(n.aetitle || n.name || n.address || n.port || n.icon);
  EXPECT_EQ(n.transferSyntax, TransferSyntax::EXS_LittleEndianExplicit);
  EXPECT_EQ(n.retrieveMode, RetrieveModeType::cget);
  EXPECT_FALSE(n.isDicomNode);
  EXPECT_EQ(n.isQueryable, true);
  EXPECT_EQ(n.tlsSettings, TlsSettings());
  EXPECT_EQ(n.wadoSettings, WadoSettings(PropertyDictionary{}));
}

// One dictionary entry (over an otherwise empty dictionary) and what it reads as. A value of
// a kind its key does not read is tested for every key in tests/unit/hostile_input_test.cpp.
struct Fallback {
  const char* name;
  PropertyDictionary entries;
  std::function<bool(const DicomNode&)> holds;
};

const PropertyDictionary kWadoKeys{{"WADOPort", PropertyValue::integer(8080)},
                                   {"WADOTransferSyntax", PropertyValue::numberObject(9)},
                                   {"WADOUrl", PropertyValue::text("https://pacs/wado")},
                                   {"WADOPassword", PropertyValue::text("pw")},
                                   {"WADOUsername", PropertyValue::text("me")},
                                   {"WADOhttps", PropertyValue::integer(1)}};

PropertyDictionary withWado(PropertyDictionary d) {
  for (const auto& [k, v] : kWadoKeys) d.setValue(k, v);
  return d;
}

TEST(DicomNodeDictionary, EveryFallback) {
  using V = PropertyValue;
  using W = SupportedWadoTransferSyntaxType;
  const Fallback cases[] = {
      {"portAsText", {{"Port", V::text("104")}}, [](auto& n) { return n.port == "104"; }},
      {"isDicomNodeFalse", {{"isDicomNode", V::boolean(false)}}, [](auto& n) { return n.isDicomNode; }},
      {"isDicomNodeOther", {{"isDicomNode", V::other(PropertyOther(0.0))}}, [](auto& n) { return n.isDicomNode; }},
      {"isQueryable0", {{"isQueryable", V::text("0")}}, [](auto& n) { return n.isQueryable == false; }},
      {"isQueryableFalse", {{"isQueryable", V::text("false")}}, [](auto& n) { return n.isQueryable == true; }},
      {"isQueryable1", {{"isQueryable", V::text("1")}}, [](auto& n) { return n.isQueryable == true; }},
      {"transferSyntaxUnknownCode", {{"transferSyntax", V::numberObject(42)}},
       [](auto& n) { return n.transferSyntax == TransferSyntax::EXS_LittleEndianExplicit; }},
      {"transferSyntaxMinus1", {{"transferSyntax", V::integer(-1)}},
       [](auto& n) { return n.transferSyntax == TransferSyntax::EXS_Unknown; }},
      {"retrieveMode3", withWado({{"retrieveMode", V::numberObject(3)}}),
       [](auto& n) { return n.retrieveMode == RetrieveModeType::cget && !n.wadoSettings.url; }},
      {"retrieveModeMinus1", {{"retrieveMode", V::numberObject(-1)}},
       [](auto& n) { return n.retrieveMode == RetrieveModeType::cget; }},
      {"retrieveMode0", {{"retrieveMode", V::integer(0)}},
       [](auto& n) { return n.retrieveMode == RetrieveModeType::cmove; }},
      {"cgetIgnoresWadoKeys", withWado({{"retrieveMode", V::numberObject(1)}}),
       [](auto& n) { return n.wadoSettings == WadoSettings(PropertyDictionary{}); }},
      {"wadoReadsWadoKeys", withWado({{"retrieveMode", V::numberObject(2)}}),
       [](auto& n) {
         return n.wadoSettings.port == 8080 && n.wadoSettings.retrieveSyntax == W::implicitLittleEndian &&
                n.wadoSettings.url == "https://pacs/wado" && n.wadoSettings.password == "pw" &&
                n.wadoSettings.username == "me" && n.wadoSettings.https;
       }},
      {"wadoHttps2", {{"retrieveMode", V::numberObject(2)}, {"WADOhttps", V::integer(2)}},
       [](auto& n) { return !n.wadoSettings.https; }},
      {"wadoHttps0", {{"retrieveMode", V::numberObject(2)}, {"WADOhttps", V::integer(0)}},
       [](auto& n) { return !n.wadoSettings.https; }},
      {"wadoUnknownSyntax", {{"retrieveMode", V::numberObject(2)}, {"WADOTransferSyntax", V::numberObject(6)}},
       [](auto& n) { return n.wadoSettings.retrieveSyntax == W::explicitLittleEndian; }},
      {"tlsProfile0", {{"TLSSecurityProfile", V::integer(0)}},
       [](auto& n) { return n.tlsSettings->securityProfile == TLSSecurityProfile::profile0; }},
      {"tlsProfile6", {{"TLSSecurityProfile", V::integer(6)}},
       [](auto& n) { return n.tlsSettings->securityProfile == TLSSecurityProfile::profile1; }},
      {"tlsProfileMinus1", {{"TLSSecurityProfile", V::integer(-1)}},
       [](auto& n) { return n.tlsSettings->securityProfile == TLSSecurityProfile::profile1; }},
      {"lowerCaseKeys", {{"aetitle", V::text("X")}, {"address", V::text("h")}},
       [](auto& n) { return !n.aetitle && !n.address; }},
  };
  for (const auto& c : cases) EXPECT_TRUE(c.holds(DicomNode(c.entries))) << c.name;
}

}  // namespace
}  // namespace telvor
