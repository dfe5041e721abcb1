// Hostile input to the dictionary forms, class by class (JSON input has its own, in
// formats/json/json_hostile_input_test.cpp): each test pins the outcome recorded in
// docs/RELIABILITY.md's bad-input table. The promise: the value the rules say, or the
// library's own error; never a crash, a foreign exception or a silently wrong value.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "support/coding_support.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {


// Every key the records read, with a value of every kind: reading never throws, and a key
// whose value is of a kind its read does not accept gives the same record as no entry.
TEST(HostileDictionary, EveryKindAtEveryKeyFallsBackAsIfMissing) {
  using V = PropertyValue;
  enum Accepts { text, integer, boolean, anything };
  const std::pair<const char*, Accepts> keys[] = {
      {"AETitle", text},       {"Port", text},          {"Description", text},     {"Address", text},
      {"isDicomNode", anything}, {"transferSyntax", integer}, {"retrieveMode", integer}, {"QR", anything},
      {"Send", anything},      {"Activated", anything}, {"WADOPort", integer},    {"WADOTransferSyntax", integer},
      {"WADOUrl", text},       {"WADOPassword", text},  {"WADOUsername", text},   {"WADOhttps", integer},
      {"TLSEnabled", boolean}, {"TLSSecurityProfile", integer}, {"TLSVerifyPeerCertificate", boolean},
      {"TLSAuthenticateWithCertificate", boolean}, {"isQueryable", text}, {"icon", text},
      {"url", text}, {"port", integer}, {"password", text}, {"username", text},
  };
  const std::pair<V, Accepts> values[] = {
      {V::text("1"), text},
      {V::integer(1), integer},
      {V::numberObject(1), integer},
      {V::boolean(true), boolean},
      {V::other(PropertyOther(1.0)), anything},
      {V::other(PropertyOther(PropertyDate{0})), anything},
      {V::other(PropertyOther(PropertyOther::Data{1, 2})), anything},
      {V::other(PropertyOther(std::uint64_t{1} << 63)), anything},
      {V::other(PropertyOther(PropertyOther::Array{V::integer(1)})), anything},
      {V::other(PropertyOther(PropertyDictionary{{"AETitle", V::text("x")}})), anything},
  };
  // In wado mode, so that the node reads its WADO keys too.
  const PropertyDictionary base{{"retrieveMode", V::numberObject(2)}};
  const auto withoutIds = [](DicomNode n) {
    n.uniqueId.reset();
    return n;
  };
  for (const auto& [key, accepts] : keys) {
    if (std::string_view(key) == "retrieveMode") continue;
    for (const auto& [value, kind] : values) {
      if (kind == accepts || accepts == anything) continue;
      PropertyDictionary d = base;
      d.setValue(key, value);
      EXPECT_EQ(withoutIds(DicomNode(d)), withoutIds(DicomNode(base))) << key;
      EXPECT_EQ(TlsSettings(d), TlsSettings(base)) << key;
      EXPECT_EQ(WadoSettings(d), WadoSettings(base)) << key;
    }
  }
}

TEST(HostileDictionary, HugeTextsAndNestedOthersAreKeptIntact) {
  const std::string huge(16u << 20, 'x');
  PropertyValue nested = PropertyValue::integer(0);
  // Copying, comparing and destroying a value recurse through its nesting. The formats'
  // readers refuse nesting beyond 64 levels, so only an application's own values can be
  // deeper; a thousand levels stay well within the stack, even under AddressSanitizer.
  for (int i = 0; i < 1'000; ++i) {
    PropertyOther::Array list;
    list.push_back(std::move(nested));
    nested = PropertyValue::other(PropertyOther(std::move(list)));
  }
  PropertyDictionary d{{"AETitle", PropertyValue::text(huge)}, {"deep", nested}};
  const DicomNode n(d);
  EXPECT_EQ(n.aetitle, huge);
  const PropertyDictionary copy = d;
  EXPECT_EQ(copy, d);
}

}  // namespace
}  // namespace telvor
