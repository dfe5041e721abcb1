#include "telvor/node/tls_settings.hpp"

#include <gtest/gtest.h>

#include "support/coding_support.hpp"
#include "support/memory_format.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using testing_support::keyPath;

TEST(TlsSettings, DefaultsAndEmptyDictionaryAgree) {
  const TlsSettings made;
  EXPECT_FALSE(made.isEnabled);
  EXPECT_EQ(made.securityProfile, TLSSecurityProfile::profile1);
  EXPECT_FALSE(made.verifyPeerCertificate);
  EXPECT_FALSE(made.authenticateWithCertificate);
  EXPECT_EQ(TlsSettings(PropertyDictionary{}), made);
}

TEST(TlsSettings, DictionaryFormHoldsExactlyFourKeys) {
  const auto d = TlsSettings().toDictionary();
  ASSERT_TRUE(d);
  EXPECT_EQ(*d, (PropertyDictionary{{"TLSEnabled", PropertyValue::boolean(false)},
                                    {"TLSSecurityProfile", PropertyValue::integer(1)},
                                    {"TLSVerifyPeerCertificate", PropertyValue::boolean(false)},
                                    {"TLSAuthenticateWithCertificate", PropertyValue::boolean(false)}}));
}

// Each entry alone, and the field it gives; the other fields stay at their defaults.
struct Fallback {
  const char* name;
  const char* key;
  PropertyValue value;
  TlsSettings expected;
};

TlsSettings with(void (*set)(TlsSettings&)) {
  TlsSettings s;
  set(s);
  return s;
}

TEST(TlsSettings, EachDictionaryKeyFallsBackOnItsOwn) {
  const Fallback cases[] = {
      {"enabled", "TLSEnabled", PropertyValue::boolean(true), with([](auto& s) { s.isEnabled = true; })},
      {"enabledAsText", "TLSEnabled", PropertyValue::text("true"), TlsSettings()},
      {"enabledAsInteger", "TLSEnabled", PropertyValue::integer(1), TlsSettings()},
      {"profile0", "TLSSecurityProfile", PropertyValue::integer(0),
       with([](auto& s) { s.securityProfile = TLSSecurityProfile::profile0; })},
      {"profileNumberObject", "TLSSecurityProfile", PropertyValue::numberObject(5),
       with([](auto& s) { s.securityProfile = TLSSecurityProfile::profile5; })},
      {"profile7", "TLSSecurityProfile", PropertyValue::integer(7), TlsSettings()},
      {"profileMinus1", "TLSSecurityProfile", PropertyValue::integer(-1), TlsSettings()},
      {"profileDigits", "TLSSecurityProfile", PropertyValue::text("0"), TlsSettings()},
      {"verify", "TLSVerifyPeerCertificate", PropertyValue::boolean(true),
       with([](auto& s) { s.verifyPeerCertificate = true; })},
      {"authenticate", "TLSAuthenticateWithCertificate", PropertyValue::boolean(true),
       with([](auto& s) { s.authenticateWithCertificate = true; })},
      {"lowerCaseKey", "tlsenabled", PropertyValue::boolean(true), TlsSettings()},
  };
  for (const auto& c : cases) {
    PropertyDictionary d{{"TLSEnabled", PropertyValue::other(PropertyOther(1.0))}};
    d.setValue(c.key, c.value);
    EXPECT_EQ(TlsSettings(d), c.expected) << c.name;
  }
}

TEST(TlsSettings, EveryRecordSurvivesBothForms) {
  for (auto profile : allCases<TLSSecurityProfile>()) {
    for (int bits = 0; bits < 8; ++bits) {
      TlsSettings s;
      s.securityProfile = profile;
      s.isEnabled = bits & 1;
      s.verifyPeerCertificate = bits & 2;
      s.authenticateWithCertificate = bits & 4;
      EXPECT_EQ(TlsSettings(*s.toDictionary()), s);
      EXPECT_EQ(testing_support::roundTrip(s), s);
    }
  }
  TlsSettings a, b;
  b.authenticateWithCertificate = true;
  EXPECT_NE(a, b);
}

TEST(TlsSettings, CodedFormIsStrict) {
  using namespace testing_support;
  const Value form = toValue(TlsSettings());
  EXPECT_EQ(show(form),
            R"({"isEnabled":false,"securityProfile":1,"verifyPeerCertificate":false,"authenticateWithCertificate":false})");
  auto e = capture<DecodingError>([&] { fromValue<TlsSettings>(without(form, {"authenticateWithCertificate"})); });
  EXPECT_EQ(e.kind(), DecodingError::Kind::keyNotFound);
  EXPECT_EQ(e.key().stringValue, "authenticateWithCertificate");
  e = capture<DecodingError>([&] { fromValue<TlsSettings>(with(form, {"securityProfile"}, 6)); });
  EXPECT_EQ(e.kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(e.codingPath(), keyPath({"securityProfile"}));
  e = capture<DecodingError>([&] { fromValue<TlsSettings>(with(form, {"isEnabled"}, "true")); });
  EXPECT_EQ(e.kind(), DecodingError::Kind::typeMismatch);
  EXPECT_EQ(e.codingPath(), keyPath({"isEnabled"}));
}

}  // namespace
}  // namespace telvor
