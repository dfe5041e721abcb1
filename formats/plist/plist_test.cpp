// Property lists in and out: the kind mapping, round trips in both forms, output shape,
// and values the writer refuses.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/capture.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using plist::Format;
using plist::PlistError;
using plist::PropertyListDocument;

constexpr auto kInt64Min = std::numeric_limits<std::int64_t>::min();
constexpr auto kInt64Max = std::numeric_limits<std::int64_t>::max();
constexpr auto kUint64Max = std::numeric_limits<std::uint64_t>::max();

PropertyValue other(PropertyOther value) { return PropertyValue::other(std::move(value)); }

// A dictionary with every kind, the integer edges and every kind of other.
PropertyDictionary everyKind() {
  PropertyDictionary nested{{"inner", PropertyValue::integer(-42)}, {"flag", PropertyValue::boolean(false)}};
  return PropertyDictionary{
      {"AETitle", PropertyValue::text("ARCHIVE")},
      {"accent", PropertyValue::text("caf\u00e9 \u2603")},
      {"empty", PropertyValue::text("")},
      {"minusOne", PropertyValue::integer(-1)},
      {"int64Min", PropertyValue::integer(kInt64Min)},
      {"int64Max", PropertyValue::integer(kInt64Max)},
      {"zero", PropertyValue::integer(0)},
      {"isDicomNode", PropertyValue::boolean(true)},
      {"isQueryable", PropertyValue::boolean(false)},
      {"real", other(PropertyOther(0.1))},
      {"date", other(PropertyOther(PropertyDate{612705600}))},
      {"data", other(PropertyOther(PropertyOther::Data{0x00, 0x01, 0xFE, 0xFF}))},
      {"noData", other(PropertyOther(PropertyOther::Data{}))},
      {"uint64Max", other(PropertyOther(kUint64Max))},
      {"twoTo63", other(PropertyOther(std::uint64_t{1} << 63))},
      {"list",
       other(PropertyOther(PropertyOther::Array{PropertyValue::integer(-7), PropertyValue::text("two"),
                                                other(PropertyOther(PropertyOther::Array{})),
                                                other(PropertyOther(nested))}))},
      {"nested", other(PropertyOther(nested))},
      {"emptyNested", other(PropertyOther(PropertyDictionary{}))},
  };
}

class PlistRoundTrip : public testing::TestWithParam<Format> {};

TEST_P(PlistRoundTrip, EveryKindComesBackUnchanged) {
  const PropertyDictionary original = everyKind();
  const std::string bytes = plist::serialize(original, GetParam());
  EXPECT_EQ(plist::parseDictionary(bytes), original);
  // A second cycle gives the same bytes: nothing drifts.
  EXPECT_EQ(plist::serialize(plist::parseDictionary(bytes), GetParam()), bytes);
}

TEST_P(PlistRoundTrip, ANumberObjectComesBackAsAnInteger) {
  const PropertyDictionary original{{"transferSyntax", PropertyValue::numberObject(-1)}};
  const auto back = plist::parseDictionary(plist::serialize(original, GetParam()));
  EXPECT_EQ(back.find("transferSyntax")->kind(), PropertyValue::Kind::integer);
  EXPECT_EQ(back.readInt("transferSyntax"), -1);
}

TEST_P(PlistRoundTrip, AnUnsignedIntegerWithinInt64IsAnInteger) {
  const PropertyDictionary original{{"n", other(PropertyOther(std::uint64_t{5}))}};
  EXPECT_EQ(plist::parseDictionary(plist::serialize(original, GetParam())).readInt("n"), 5);
}

TEST_P(PlistRoundTrip, ArraysOfDictionariesKeepTheirOrderAndShape) {
  const PropertyListDocument many{{PropertyDictionary{{"AETitle", PropertyValue::text("B")}},
                                   PropertyDictionary{},
                                   PropertyDictionary{{"AETitle", PropertyValue::text("A")}}},
                                  true};
  EXPECT_EQ(plist::parse(plist::serialize(many, GetParam())), many);
  for (const PropertyListDocument& edge : {PropertyListDocument{{}, true}, PropertyListDocument{{{}}, true},
                                           PropertyListDocument{{everyKind()}, false}}) {
    EXPECT_EQ(plist::parse(plist::serialize(edge, GetParam())), edge);
  }
}

TEST_P(PlistRoundTrip, NestingUpToTheLimitIsWrittenAndRead) {
  PropertyDictionary deepest{{"leaf", PropertyValue::integer(1)}};
  for (std::size_t level = 1; level < plist::kMaxDepth; ++level) {
    deepest = PropertyDictionary{{"d", other(PropertyOther(std::move(deepest)))}};
  }
  EXPECT_EQ(plist::parseDictionary(plist::serialize(deepest, GetParam())), deepest);

  const PropertyDictionary tooDeep{{"d", other(PropertyOther(deepest))}};
  const auto e = capture<PlistError>([&] { plist::serialize(tooDeep, GetParam()); });
  EXPECT_EQ(e.kind(), PlistError::Kind::tooDeep);
}

INSTANTIATE_TEST_SUITE_P(Forms, PlistRoundTrip, testing::Values(Format::xml, Format::binary),
                         [](const auto& info) { return info.param == Format::xml ? "xml" : "binary"; });

TEST_P(PlistRoundTrip, OneDictionaryAtATimeGivesTheSameBytesAndOrder) {
  const PropertyListDocument many{{everyKind(), PropertyDictionary{}, PropertyDictionary{{"n", PropertyValue::integer(3)}}},
                                  true};
  const std::string bytes = plist::serializeEach(
      many.dictionaries.size(), true, [&](std::size_t i) { return many.dictionaries[i]; }, GetParam());
  EXPECT_EQ(bytes, plist::serialize(many, GetParam()));
  std::vector<PropertyDictionary> taken;
  EXPECT_TRUE(plist::parseEach(bytes, [&](PropertyDictionary&& d) { taken.push_back(std::move(d)); }));
  EXPECT_EQ(taken, many.dictionaries);
  // What `make` throws comes out unchanged.
  EXPECT_THROW(plist::serializeEach(
                   2, true, [](std::size_t) -> PropertyDictionary { throw std::out_of_range("none"); }, GetParam()),
               std::out_of_range);
}

TEST_P(PlistRoundTrip, OnlyTheBinaryFormTellsTheRootArraysCountBeforeItsElements) {
  const PropertyListDocument three{{everyKind(), PropertyDictionary{}, everyKind()}, true};
  const bool binary = GetParam() == Format::binary;
  std::vector<std::size_t> told;  // counts, and the number of dictionaries taken when told
  std::size_t taken = 0;
  const auto expect = [&](std::size_t count) { told.insert(told.end(), {count, taken}); };
  const auto take = [&](PropertyDictionary&&) { ++taken; };
  EXPECT_TRUE(plist::parseEach(plist::serialize(three, GetParam()), expect, take));
  EXPECT_EQ(told, (binary ? std::vector<std::size_t>{3, 0} : std::vector<std::size_t>{}));
  EXPECT_EQ(taken, 3u);
  // A single dictionary, and an empty array, tell nothing.
  told.clear();
  EXPECT_FALSE(plist::parseEach(plist::serialize(everyKind(), GetParam()), expect, take));
  EXPECT_TRUE(plist::parseEach(plist::serialize(PropertyListDocument{{}, true}, GetParam()), expect, take));
  EXPECT_TRUE(told.empty());
}

TEST_P(PlistRoundTrip, ManyObjectsAndLongCountsComeBack) {
  // 70,000 distinct integers need references of four bytes; texts and lists of 15 and
  // more need their count after the marker; astral characters travel as UTF-16 pairs.
  PropertyOther::Array numbers;
  for (std::int64_t i = 0; i < 70000; ++i) numbers.push_back(PropertyValue::integer(i * 977 - 35000000));
  const PropertyDictionary d{{"numbers", other(PropertyOther(std::move(numbers)))},
                             {"fifteen", PropertyValue::text("fifteen letters")},
                             {"astral", PropertyValue::text("\xF0\x9F\x98\x80 and \xE2\x98\x83")},
                             {"repeated", other(PropertyOther(PropertyOther::Array(20, PropertyValue::text("same"))))}};
  EXPECT_EQ(plist::parseDictionary(plist::serialize(d, GetParam())), d);
}

TEST(PlistWrite, TheBinaryFormStoresEqualScalarsOnce) {
  PropertyListDocument same{{}, true};
  for (int i = 0; i < 100; ++i) same.dictionaries.push_back(everyKind());
  const std::string one = plist::serialize(PropertyListDocument{{everyKind()}, true}, Format::binary);
  const std::string hundred = plist::serialize(same, Format::binary);
  // Each further copy costs its containers' references, not its texts and numbers again:
  // less than a third of a hundred whole copies.
  EXPECT_LT(hundred.size(), one.size() * 100 / 3);
  EXPECT_EQ(plist::parse(hundred), same);
}

TEST(PlistRead, XmlTextFormsAreDecodedAsXmlDefinesThem) {
  const auto d = plist::parseDictionary(
      "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
      "<plist version=\"1.0\"><dict>"
      "<key>t</key><string>&#x41;&amp;<![CDATA[<b>]]><!-- a comment -->x\r\ny</string>"
      "<key>huge</key><real>1e400</real>"
      "<key>tiny</key><real>-1e-400</real>"
      "<key>d</key><date>2020-06-01T12:00:00Z</date>"
      "<key>b</key><data>AAH+\n /w==</data>"
      "</dict></plist>");
  EXPECT_EQ(d.readString("t"), "A&<b>x\ny");  // a raw CR LF is a line feed in XML
  EXPECT_EQ(*d.find("huge")->otherValue()->real(), std::numeric_limits<double>::infinity());
  EXPECT_EQ(*d.find("tiny")->otherValue()->real(), 0.0);
  EXPECT_EQ(d.find("d")->otherValue()->date()->secondsSinceReferenceDate, 612705600);
  EXPECT_EQ(*d.find("b")->otherValue()->data(), (PropertyOther::Data{0x00, 0x01, 0xFE, 0xFF}));
}

TEST(PlistRead, SignedIntegersKeepTheirSignAndLargeOnesBecomeOther) {
  const auto d = plist::parseDictionary(
      "<plist version=\"1.0\"><dict>"
      "<key>a</key><integer>-1</integer>"
      "<key>b</key><integer>-9223372036854775808</integer>"
      "<key>c</key><integer>9223372036854775807</integer>"
      "<key>d</key><integer>9223372036854775808</integer>"
      "<key>e</key><integer>18446744073709551615</integer>"
      "<key>f</key><integer>0x10</integer>"
      "</dict></plist>");
  EXPECT_EQ(d.readInt("a"), -1);
  EXPECT_EQ(d.readInt("b"), kInt64Min);
  EXPECT_EQ(d.readInt("c"), kInt64Max);
  EXPECT_EQ(*d.find("d")->otherValue()->unsignedInteger(), std::uint64_t{1} << 63);
  EXPECT_EQ(*d.find("e")->otherValue()->unsignedInteger(), kUint64Max);
  EXPECT_EQ(d.readInt("f"), 16);
}

TEST(PlistRead, TheXmlFormKeepsDatesToTheSecondTheBinaryFormExactly) {
  const PropertyDictionary original{{"when", other(PropertyOther(PropertyDate{612705600.25}))},
                                    {"before2001", other(PropertyOther(PropertyDate{-3.5e9}))}};
  EXPECT_EQ(plist::parseDictionary(plist::serialize(original, Format::binary)), original);
  const auto xml = plist::parseDictionary(plist::serialize(original, Format::xml));
  EXPECT_EQ(xml.find("when")->otherValue()->date()->secondsSinceReferenceDate, 612705600);
  EXPECT_EQ(xml.find("before2001")->otherValue()->date()->secondsSinceReferenceDate, -3.5e9);
}

TEST(PlistWrite, TheBinaryFormHoldsAnyDate) {
  const PropertyDictionary original{{"d", other(PropertyOther(PropertyDate{1e300}))},
                                    {"e", other(PropertyOther(PropertyDate{-31588531200.0}))}};
  EXPECT_EQ(plist::parseDictionary(plist::serialize(original, Format::binary)), original);
  EXPECT_THROW(plist::serialize(original, Format::xml), PlistError);
  // The first second of year 1000 is the XML form's earliest.
  const PropertyDictionary earliest{{"e", other(PropertyOther(PropertyDate{-31588531200.0}))}};
  EXPECT_EQ(plist::parseDictionary(plist::serialize(earliest, Format::xml)), earliest);
}

TEST(PlistRead, ADuplicateKeyKeepsItsLastValue) {
  const auto d = plist::parseDictionary(
      "<plist><dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict></plist>");
  EXPECT_EQ(d.size(), 1u);
  EXPECT_EQ(d.readInt("a"), 2);
}

TEST(PlistWrite, OutputIsDeterministicAndInKeyOrder) {
  const std::string xml = plist::serialize(everyKind());
  EXPECT_EQ(plist::serialize(everyKind()), xml);
  EXPECT_TRUE(xml.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
  EXPECT_LT(xml.find("<key>AETitle</key>"), xml.find("<key>accent</key>"));  // byte order: 'A' < 'a'
  EXPECT_LT(xml.find("<key>minusOne</key>"), xml.find("<key>zero</key>"));
  EXPECT_NE(xml.find("<integer>-1</integer>"), std::string::npos);
  EXPECT_NE(xml.find("<integer>18446744073709551615</integer>"), std::string::npos);
  EXPECT_TRUE(plist::serialize(everyKind(), Format::binary).starts_with("bplist00"));
}

struct Unwritable {
  const char* name;
  PropertyDictionary dictionary;
  const char* mentions;
};

void PrintTo(const Unwritable& u, std::ostream* os) { *os << u.name; }

class PlistUnwritable : public testing::TestWithParam<Unwritable> {};

TEST_P(PlistUnwritable, IsRefusedWithThePath) {
  const auto e = capture<PlistError>([&] { plist::serialize(GetParam().dictionary); });
  EXPECT_EQ(e.kind(), PlistError::Kind::unwritable);
  EXPECT_NE(std::string(e.what()).find(GetParam().mentions), std::string::npos) << e.what();
}

INSTANTIATE_TEST_SUITE_P(
    Values, PlistUnwritable,
    testing::Values(
        Unwritable{"invalidUtf8Text", {{"a", PropertyValue::text("\xC3\x28")}}, "text at $.a is not valid UTF-8"},
        Unwritable{"nulInText", {{"a", PropertyValue::text(std::string("x\0y", 3))}}, "at $.a contains a NUL"},
        Unwritable{"nulInKey", {{std::string("k\0", 2), PropertyValue::integer(1)}}, "a key in $ contains a NUL character"},
        Unwritable{"invalidUtf8Key", {{"\xFF", PropertyValue::integer(1)}}, "a key in $ is not valid UTF-8"},
        Unwritable{"dateBeyondYear9999", {{"d", other(PropertyOther(PropertyDate{252423993600.0}))}},
                   "the date at $.d lies outside the years 1000 to 9999"},
        Unwritable{"dateNotANumber",
                   {{"d", other(PropertyOther(PropertyDate{std::numeric_limits<double>::quiet_NaN()}))}},
                   "the date at $.d"},
        Unwritable{"controlInText", {{"a", PropertyValue::text("bell\x07")}},
                   "the text at $.a holds U+0007, which the XML form cannot hold"},
        Unwritable{"nonCharacterInKey", {{"k\xEF\xBF\xBF", PropertyValue::integer(1)}}, "a key in $ holds U+FFFF"},
        Unwritable{"insideAList",
                   {{"l", other(PropertyOther(PropertyOther::Array{PropertyValue::integer(1),
                                                                   PropertyValue::text("\xFF")}))}},
                   "text at $.l[1]"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(PlistWrite, TextXmlCannotHoldIsRefusedThereWithItsPathAndKeptInBinary) {
  const PropertyDictionary d{
      {"Description", PropertyValue::text("ESC \x1b[31m, U+FFFE \xEF\xBF\xBE, unit separator \x1f")}};
  const auto e = capture<PlistError>([&] { plist::serialize(PropertyListDocument{{PropertyDictionary{}, d}, true}, Format::xml); });
  EXPECT_EQ(e.kind(), PlistError::Kind::unwritable);
  EXPECT_EQ(e.path(), "$[1].Description");
  EXPECT_EQ(plist::parseDictionary(plist::serialize(d, Format::binary)), d);
}

TEST(PlistWrite, XmlKeepsWhitespaceAndMarkupCharactersExactly) {
  // expat turns a raw carriage return into a line feed, so the writer escapes it.
  const PropertyDictionary d{{"t", PropertyValue::text("a\tb\nc\r\nd\re <&> ]]> \"'")}};
  EXPECT_EQ(plist::parseDictionary(plist::serialize(d, Format::xml)), d);
}

TEST(PlistWrite, SeveralDictionariesNeedTheArrayMark) {
  EXPECT_THROW(plist::serialize(PropertyListDocument{{{}, {}}, false}), PlistError);
  EXPECT_THROW(plist::serialize(PropertyListDocument{{}, false}), PlistError);
}

}  // namespace
}  // namespace telvor
