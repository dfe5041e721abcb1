#include "telvor/node/detail/key_set.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "telvor/node/detail/dictionary_reads.hpp"

namespace telvor {
namespace {

// Lengths on both sides of the word sizes the comparison steps by, keys of one length,
// and keys that differ from another only in their first, a middle or their last byte.
constexpr std::array<std::string_view, 12> kKeys = {
    "a",       "ab",       "abc",      "abcd",     "abce",     "AETitle", "Address",
    "WADOUrl", "abcdefgh", "abcdefgi", "abcdefghijklmnopq", "abcdefghijklmnopr"};
constexpr detail::KeySet kSet(kKeys);

PropertyDictionary withKeys(const std::vector<std::string>& keys) {
  PropertyDictionary d;
  for (const auto& key : keys) d.setValue(key, PropertyValue::text(key));
  return d;
}

TEST(KeySet, FindsWhatALookUpPerKeyFinds) {
  const std::vector<PropertyDictionary> dictionaries = {
      {},
      withKeys({kKeys.begin(), kKeys.end()}),
      withKeys({"a", "abc", "abce", "Address", "abcdefgi", "abcdefghijklmnopq", "other"}),
      // Near misses only, and keys no set can hold.
      withKeys({"", "b", "ac", "abd", "bbcd", "abcf", "AETitlf", "BETitle", "ADDress", "abcdefgz", "xbcdefgh",
                "abcdefghijklmnopz", "abcdefghijklmnop", std::string(100, 'a')}),
  };
  for (std::size_t n = 0; n < dictionaries.size(); ++n) {
    const auto found = kSet.find(dictionaries[n]);
    for (std::size_t i = 0; i < kKeys.size(); ++i)
      EXPECT_EQ(found[i], dictionaries[n].find(kKeys[i])) << "dictionary " << n << ", key " << kKeys[i];
  }
}

// The reads of a found value accept what the dictionary's reads of its key accept.
TEST(DictionaryReads, AFoundValueReadsAsItsKeyReads) {
  const PropertyDictionary d{{"text", PropertyValue::text("1")},
                             {"zero", PropertyValue::text("0")},
                             {"integer", PropertyValue::integer(1)},
                             {"boolean", PropertyValue::boolean(true)},
                             {"number", PropertyValue::numberObject(1)},
                             {"real", PropertyValue::other(PropertyOther(1.0))}};
  for (const std::string_view key : {"text", "zero", "integer", "boolean", "number", "real", "absent"}) {
    const PropertyValue* value = d.find(key);
    EXPECT_EQ(detail::readString(value), d.readString(key)) << key;
    EXPECT_EQ(detail::readInt(value), d.readInt(key)) << key;
    EXPECT_EQ(detail::readBool(value), d.readBool(key)) << key;
  }
}

}  // namespace
}  // namespace telvor
