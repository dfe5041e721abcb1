// Property tests over many random records and statuses (tests/support/random_records.hpp): the coded
// form keeps every value exactly, bytes of every text included; the dictionary forms
// give back what they document (tests/support/record_forms.hpp) and settle after one pass.
// TLS settings are few enough to be tested exhaustively beside their unit.
#include <gtest/gtest.h>

#include "support/random_records.hpp"
#include "support/record_forms.hpp"
#include "support/memory_format.hpp"

namespace telvor {
namespace {

using testing_support::afterDictionaryRoundTrip;
using testing_support::RecordGenerator;
using testing_support::sameBytes;
using testing_support::roundTrip;
using testing_support::show;
using testing_support::toValue;

// The coded form as text, for messages.
template <class T>
std::string coded(const T& value) {
  return show(toValue(value));
}

constexpr int kRounds = 2000;

TEST(RecordProperties, WadoSettingsSurviveTheCodedFormExactly) {
  RecordGenerator gen(1);
  for (int i = 0; i < kRounds; ++i) {
    const auto s = gen.wado();
    const auto text = coded(s);
    EXPECT_TRUE(sameBytes(roundTrip(s), s)) << text;
  }
}

TEST(RecordProperties, StatusesSurviveTheCodedFormWithTheirReasonsByteForByte) {
  RecordGenerator gen(5);
  for (int i = 0; i < kRounds; ++i) {
    const auto s = gen.status();
    const auto text = coded(s);
    const auto back = roundTrip(s);
    EXPECT_EQ(back.kind(), s.kind()) << text;
    EXPECT_EQ(back.reason(), s.reason()) << text;
  }
}

TEST(RecordProperties, WadoSettingsComeBackFromTheDictionaryFormAsDocumented) {
  RecordGenerator gen(2);
  for (int i = 0; i < kRounds; ++i) {
    const auto s = gen.wado();
    const WadoSettings back(*s.toDictionary());
    EXPECT_TRUE(sameBytes(back, afterDictionaryRoundTrip(s))) << coded(s);
    EXPECT_TRUE(sameBytes(WadoSettings(*back.toDictionary()), back)) << coded(s);
  }
}

TEST(RecordProperties, NodesComeBackFromTheDictionaryFormAsDocumented) {
  RecordGenerator gen(3);
  int written = 0;
  for (int i = 0; i < kRounds; ++i) {
    const auto n = gen.node();
    const auto d = n.toDictionary();
    ASSERT_EQ(d.has_value(), n.aetitle && n.name && n.address && n.port) << coded(n);
    if (!d) continue;
    ++written;
    const DicomNode back(*d);
    ASSERT_TRUE(back.uniqueId);
    EXPECT_NE(back.uniqueId, n.uniqueId);
    EXPECT_TRUE(sameBytes(back, afterDictionaryRoundTrip(n, back.uniqueId))) << coded(n);
    // One pass settles the form: the node read back writes the dictionary it reads again.
    const auto settled = back.toDictionary();
    ASSERT_TRUE(settled);
    EXPECT_EQ(DicomNode(*settled).toDictionary(), settled) << coded(n);
  }
  EXPECT_GT(written, kRounds / 20);  // the generator does make complete nodes
}

}  // namespace
}  // namespace telvor
