#include "telvor/coding/property_dictionary.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace telvor {
namespace {

PropertyDictionary everyKind() {
  PropertyDictionary d;
  d.setValue("text", PropertyValue::text("104"));
  d.setValue("textTrue", PropertyValue::text("true"));
  d.setValue("integer", PropertyValue::integer(104));
  d.setValue("boolean", PropertyValue::boolean(true));
  d.setValue("number", PropertyValue::numberObject(2));
  d.setValue("other", PropertyValue::other(PropertyOther(1.5)));
  return d;
}

// What each typed read gives for a value of each kind.
struct ReadCase {
  const char* key;
  std::optional<std::string_view> string;
  std::optional<std::int64_t> integer;
  std::optional<bool> boolean;
};

TEST(PropertyDictionary, TypedReadsAcceptOnlyTheirKinds) {
  const auto d = everyKind();
  const ReadCase cases[] = {
      {"text", "104", std::nullopt, std::nullopt},
      {"textTrue", "true", std::nullopt, std::nullopt},  // text that spells another kind stays text
      {"integer", std::nullopt, 104, std::nullopt},
      {"boolean", std::nullopt, std::nullopt, true},
      {"number", std::nullopt, 2, std::nullopt},
      {"other", std::nullopt, std::nullopt, std::nullopt},
      {"missing", std::nullopt, std::nullopt, std::nullopt},
      {"Text", std::nullopt, std::nullopt, std::nullopt},  // letter case counts
  };
  for (const auto& c : cases) {
    EXPECT_EQ(d.readString(c.key), c.string) << c.key;
    EXPECT_EQ(d.readInt(c.key), c.integer) << c.key;
    EXPECT_EQ(d.readBool(c.key), c.boolean) << c.key;
    EXPECT_EQ(d.contains(c.key), std::string_view(c.key) != "missing" && std::string_view(c.key) != "Text") << c.key;
  }
}

TEST(PropertyDictionary, EntriesStaySortedByBytesWhateverTheOrderOfSetting) {
  // Keys set out of order, replaced, removed and given twice: the table stays one sorted
  // run with unique keys, byte order ('A' < 'a' < 0xC3), the first of duplicates kept.
  PropertyDictionary d{{"\xC3\xA9", PropertyValue::integer(1)}, {"a", PropertyValue::integer(2)},
                       {"a", PropertyValue::integer(9)}};
  d.reserve(8);
  for (const char* key : {"b", "A", "ab", "", "a"}) d.setValue(key, PropertyValue::text(key));
  EXPECT_TRUE(d.removeValue("ab"));
  EXPECT_FALSE(d.removeValue("ab"));
  std::vector<std::string> keys;
  for (const auto& [key, value] : d) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"", "A", "a", "b", "\xC3\xA9"}));
  EXPECT_EQ(d.readString("a"), "a");
  EXPECT_EQ(d.readInt("\xC3\xA9"), 1);
  EXPECT_FALSE(d.contains("ab"));
  EXPECT_EQ((PropertyDictionary{{"a", PropertyValue::integer(2)}, {"a", PropertyValue::integer(9)}}).readInt("a"), 2);
}

TEST(PropertyDictionary, FindsEveryKeyAndNoOtherInSmallAndLargeDictionaries) {
  // Keys of one length differing in one byte, prefixes of each other, and the empty key,
  // in a record-sized dictionary and one far larger.
  for (const std::size_t extra : {0, 100}) {
    PropertyDictionary d;
    const std::vector<std::string> keys{"", "Port", "Pora", "Portx", "WADOPort", "WADOport", "\xC3\xA9"};
    for (const auto& key : keys) d.setValue(key, PropertyValue::text(key));
    for (std::size_t i = 0; i < extra; ++i) d.setValue("k" + std::to_string(i), PropertyValue::integer(1));
    SCOPED_TRACE(d.size());
    for (const auto& key : keys) {
      ASSERT_NE(d.find(key), nullptr) << key;
      EXPECT_EQ(*d.find(key)->textValue(), key);
    }
    for (const char* absent : {"Por", "port", "PortX", "WADOPORT", "\xC3", "k", "k100"})
      EXPECT_EQ(d.find(absent), nullptr) << absent;
  }
}

TEST(PropertyDictionary, OtherValuesAreKeptIntactAndCopiedDeeply) {
  PropertyDictionary inner{{"x", PropertyValue::integer(-1)}};
  PropertyOther::Array list{PropertyValue::text("a"), PropertyValue::other(PropertyOther(PropertyDate{12.5}))};
  PropertyDictionary d;
  d.setValue("nested", PropertyValue::other(PropertyOther(inner)));
  d.setValue("list", PropertyValue::other(PropertyOther(list)));
  d.setValue("bytes", PropertyValue::other(PropertyOther(PropertyOther::Data{0, 255})));
  d.setValue("huge", PropertyValue::other(PropertyOther(std::uint64_t{18446744073709551615u})));

  PropertyDictionary copy = d;
  EXPECT_EQ(copy, d);
  ASSERT_NE(copy.find("nested")->otherValue()->dictionary(), nullptr);
  EXPECT_NE(copy.find("nested")->otherValue()->dictionary(), d.find("nested")->otherValue()->dictionary());
  EXPECT_EQ(*copy.find("nested")->otherValue()->dictionary(), inner);
  EXPECT_EQ(*copy.find("list")->otherValue()->array(), list);
  EXPECT_EQ(*copy.find("huge")->otherValue()->unsignedInteger(), 18446744073709551615u);

  copy.setValue("nested", PropertyValue::other(PropertyOther(PropertyDictionary{})));
  EXPECT_NE(copy, d);
  EXPECT_EQ(*d.find("nested")->otherValue()->dictionary(), inner);
}

TEST(PropertyDictionary, IntegerAndNumberObjectAreDifferentKindsWithTheSameRead) {
  EXPECT_NE(PropertyValue::integer(2), PropertyValue::numberObject(2));
}

}  // namespace
}  // namespace telvor
