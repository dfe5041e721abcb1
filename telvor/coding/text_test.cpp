#include "telvor/coding/text.hpp"

#include <gtest/gtest.h>

#include <string>

namespace telvor {
namespace {

struct Pair {
  std::string a, b;
  bool equal;
};

TEST(TextEquals, CanonicalEquivalence) {
  const Pair pairs[] = {
      {"ARCHIVE", "ARCHIVE", true},
      {"ARCHIVE", "archive", false},
      {"", "", true},
      {"", "a", false},
      {"caf\u00e9", "cafe\u0301", true},            // é precomposed and decomposed
      {"cafe", "cafe\u0301", false},                // a combining mark is not nothing
      {"\u00c5ngstr\u00f6m", "A\u030angstro\u0308m", true},
      {"\u212b", "\u00c5", true},                   // ANGSTROM SIGN is canonically Å
      {"q\u0323\u0307", "q\u0307\u0323", true},     // combining marks reorder canonically
      {"\ufb01", "fi", false},                      // a compatibility ligature is not canonical
      {"e\u0301x", "\u00e9y", false},
      // Differences past the first eight bytes, found a word at a time.
      {"ARCHIVE_0001_MAIN", "ARCHIVE_0001_MAIM", false},
      {"0123456789abcdef", "0123456789abcdef!", false},
      {"0123456789abcdef\u0301", "0123456789abcdef", false},
      {"0123456789abcde\u00e9", "0123456789abcdee\u0301", true},
      {"Kinderklinik Z\u00fcrich", "Kinderklinik Zu\u0308rich", true},
  };
  for (const auto& p : pairs) {
    EXPECT_EQ(textEquals(p.a, p.b), p.equal) << p.a << " vs " << p.b;
    EXPECT_EQ(textEquals(p.b, p.a), p.equal) << p.b << " vs " << p.a;
  }
}

// The first difference is searched in blocks and overlapping words; every length and
// offset around their edges must still be found.
TEST(TextEquals, FindsTheDifferenceAtEveryOffset) {
  for (std::size_t length = 0; length <= 40; ++length) {
    const std::string text(length, 'x');
    EXPECT_TRUE(textEquals(text, std::string(text)));
    EXPECT_FALSE(textEquals(text, text + "x")) << length;
    for (std::size_t at = 0; at < length; ++at) {
      std::string other = text;
      other[at] = 'y';
      EXPECT_FALSE(textEquals(text, other)) << length << " at " << at;
      // Precomposed against decomposed at the same offset: equal only canonically.
      const std::string precomposed = text.substr(0, at) + "\u00e9" + text.substr(at);
      const std::string decomposed = text.substr(0, at) + "e\u0301" + text.substr(at);
      EXPECT_TRUE(textEquals(precomposed, decomposed)) << length << " at " << at;
    }
  }
}

TEST(TextEquals, InvalidUtf8ComparesByItsBytes) {
  const std::string bad = "caf\xC3";
  EXPECT_TRUE(textEquals(bad, bad));
  EXPECT_FALSE(textEquals(bad, "caf\u00e9"));
  EXPECT_FALSE(textEquals("\xFF\xFE", "\xFF\xFF"));
  EXPECT_FALSE(textEquals(std::string("e\xCC", 2), "e\xCC\x81"));
}

TEST(IsValidUtf8, RefusesMalformedSequences) {
  EXPECT_TRUE(isValidUtf8(""));
  EXPECT_TRUE(isValidUtf8("plain"));
  EXPECT_TRUE(isValidUtf8("\u00e9\u4e2d\U0001F600"));
  for (const char* bad : {"\xC3\x28", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF", "abc\xE2\x82"})
    EXPECT_FALSE(isValidUtf8(bad)) << bad;
}

}  // namespace
}  // namespace telvor
