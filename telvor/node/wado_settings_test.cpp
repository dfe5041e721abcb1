#include "telvor/node/wado_settings.hpp"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/coding_support.hpp"
#include "support/memory_format.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using W = SupportedWadoTransferSyntaxType;

// A default record comes only from a node or from the dictionary and coded forms.
static_assert(!std::is_default_constructible_v<WadoSettings>);
static_assert(std::is_copy_constructible_v<WadoSettings> && std::is_copy_assignable_v<WadoSettings>);

WadoSettings defaults() { return WadoSettings(PropertyDictionary{}); }

TEST(WadoSettings, EmptyDictionaryGivesTheDefaultRecord) {
  const auto s = defaults();
  EXPECT_FALSE(s.port || s.url || s.password || s.username);
  EXPECT_EQ(s.retrieveSyntax, W::explicitLittleEndian);
  EXPECT_FALSE(s.https);
}

TEST(WadoSettings, DictionaryFormIsLossyExactlyAsDocumented) {
  auto s = defaults();
  s.retrieveSyntax = W::jpegLossless;
  s.https = true;
  const auto d = s.toDictionary();
  ASSERT_TRUE(d);
  EXPECT_EQ(*d, (PropertyDictionary{{"url", PropertyValue::text("")},
                                    {"port", PropertyValue::integer(0)},
                                    {"password", PropertyValue::text("")},
                                    {"username", PropertyValue::text("")}}));
  const WadoSettings back(*d);
  EXPECT_EQ(back.url, "");
  EXPECT_EQ(back.port, 0);
  EXPECT_EQ(back.retrieveSyntax, W::explicitLittleEndian);
  EXPECT_FALSE(back.https);
}

TEST(WadoSettings, DictionaryReadsFallBackPerKey) {
  const PropertyDictionary d{{"port", PropertyValue::text("8080")},
                             {"url", PropertyValue::integer(1)},
                             {"password", PropertyValue::text("")},
                             {"username", PropertyValue::boolean(true)},
                             {"retrieveSyntax", PropertyValue::integer(9)},
                             {"https", PropertyValue::boolean(true)}};
  const WadoSettings s(d);
  EXPECT_EQ(s.port, std::nullopt);
  EXPECT_EQ(s.url, std::nullopt);
  EXPECT_EQ(s.password, "");
  EXPECT_EQ(s.username, std::nullopt);
  EXPECT_EQ(s.retrieveSyntax, W::explicitLittleEndian);
  EXPECT_FALSE(s.https);
  EXPECT_EQ(WadoSettings(PropertyDictionary{{"port", PropertyValue::integer(0)}}).port, 0);
  EXPECT_EQ(WadoSettings(PropertyDictionary{{"port", PropertyValue::numberObject(-5)}}).port, -5);
}

TEST(WadoSettings, AbsentIsNeitherEmptyNorZero) {
  auto a = defaults(), b = defaults();
  b.url = "";
  EXPECT_NE(a, b);
  b = defaults();
  b.port = 0;
  EXPECT_NE(a, b);
  a.username = "J\u00fcrgen";
  b = defaults();
  b.username = "Ju\u0308rgen";
  EXPECT_EQ(a, b);
}

TEST(WadoSettings, CodedFormLeavesAbsencesOut) {
  using namespace testing_support;
  EXPECT_EQ(show(toValue(defaults())), R"({"retrieveSyntax":0,"https":false})");
  EXPECT_EQ(fromValue<WadoSettings>(keyed({{"retrieveSyntax", 0}, {"https", false}})), defaults());
}

struct CodedFailure {
  testing_support::Value document;
  DecodingError::Kind kind;
  const char* at;  // the last path component, or the missing key
};

TEST(WadoSettings, CodedReadingIsStrict) {
  using namespace testing_support;
  const Value form = keyed({{"retrieveSyntax", 0}, {"https", false}});
  const CodedFailure cases[] = {
      {keyed({{"port", 1}, {"url", "u"}, {"password", "p"}, {"username", "n"}}), DecodingError::Kind::keyNotFound,
       "retrieveSyntax"},
      {without(form, {"https"}), DecodingError::Kind::keyNotFound, "https"},
      {with(form, {"retrieveSyntax"}, 6), DecodingError::Kind::dataCorrupted, "retrieveSyntax"},
      {with(form, {"port"}, "8080"), DecodingError::Kind::typeMismatch, "port"},
  };
  for (const auto& c : cases) {
    const auto e = capture<DecodingError>([&] { fromValue<WadoSettings>(c.document); });
    EXPECT_EQ(e.kind(), c.kind) << show(c.document);
    const auto& last = e.kind() == DecodingError::Kind::keyNotFound ? e.key() : e.codingPath().back();
    EXPECT_EQ(last.stringValue, c.at) << show(c.document);
  }
}

}  // namespace
}  // namespace telvor
