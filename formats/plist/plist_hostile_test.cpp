// Input the property-list reader must refuse cleanly: malformed and truncated lists,
// unexpected shapes, values with no counterpart, and lists built to exhaust the stack
// or memory (these run under AddressSanitizer in CI).
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/capture.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using plist::PlistError;
using Kind = PlistError::Kind;

std::string bigEndian(std::uint64_t value, std::size_t width) {
  std::string out;
  for (std::size_t i = width; i-- > 0;) out += static_cast<char>((value >> (8 * i)) & 0xFF);
  return out;
}

// A binary list of the given objects (marker and payload each, references `refSize`
// bytes wide), object 0 at the top.
std::string binaryList(const std::vector<std::string>& objects, std::size_t refSize = 1) {
  std::string out = "bplist00";
  std::vector<std::uint64_t> offsets;
  for (const auto& object : objects) {
    offsets.push_back(out.size());
    out += object;
  }
  const std::uint64_t table = out.size();
  for (auto offset : offsets) out += bigEndian(offset, 8);
  out += std::string(6, '\0') + static_cast<char>(8) + static_cast<char>(refSize);
  return out + bigEndian(objects.size(), 8) + bigEndian(0, 8) + bigEndian(table, 8);
}

std::string marker(unsigned value) { return std::string(1, static_cast<char>(value)); }

// Object i is an array holding object i + 1; the last is an empty array.
std::string nestedBinaryArrays(std::size_t depth) {
  std::vector<std::string> objects;
  for (std::size_t i = 0; i + 1 < depth; ++i) objects.push_back(marker(0xA1) + bigEndian(i + 1, 4));
  objects.push_back(marker(0xA0));
  return binaryList(objects, 4);
}

std::string nestedXmlArrays(std::size_t depth, bool closed = true) {
  std::string out = "<plist>";
  for (std::size_t i = 0; i < depth; ++i) out += "<array>";
  if (!closed) return out;
  for (std::size_t i = 0; i < depth; ++i) out += "</array>";
  return out + "</plist>";
}

std::string inDict(const std::string& value) { return "<plist><dict><key>k</key>" + value + "</dict></plist>"; }

// {"k": object 2}: object 1 is the key.
std::string binaryDictWith(const std::string& object) {
  return binaryList({marker(0xD1) + marker(1) + marker(2), marker(0x51) + "k", object});
}

struct Hostile {
  const char* name;
  std::string bytes;
  Kind kind;
  const char* mentions;  // what the message must say
};

void PrintTo(const Hostile& h, std::ostream* os) { *os << h.name; }

class PlistHostileInput : public testing::TestWithParam<Hostile> {};

TEST_P(PlistHostileInput, IsRefusedWithAClearError) {
  const auto& h = GetParam();
  const auto e = capture<PlistError>([&] { plist::parse(h.bytes); });
  EXPECT_EQ(e.kind(), h.kind) << e.what();
  EXPECT_NE(std::string(e.what()).find(h.mentions), std::string::npos) << e.what();
}

const std::string kValidBinary = binaryDictWith(marker(0x10) + marker(7));

INSTANTIATE_TEST_SUITE_P(
    Xml, PlistHostileInput,
    testing::Values(
        Hostile{"empty", "", Kind::malformed, "no <plist> element"},
        Hostile{"json", "{\"a\": 1}", Kind::malformed, "text before <plist> (neither an XML nor a binary"},
        Hostile{"textInArray", "<plist><array>\n  x</array></plist>", Kind::malformed,
                "text outside a value at line 2, column 3"},
        Hostile{"truncated", "<plist><dict><key>a</key>", Kind::malformed, "unexpected end inside <dict>"},
        Hostile{"mismatched", "<plist><array></dict></plist>", Kind::malformed, "</dict> closes <array>"},
        Hostile{"unknownElement", "<plist><set/></plist>", Kind::malformed, "unknown element <set>"},
        Hostile{"trailing", "<plist><dict/></plist>\n<plist><dict/></plist>", Kind::malformed,
                "a second <plist> at line 2"},
        Hostile{"keyWithoutValue", "<plist><dict><key>a</key></dict></plist>", Kind::malformed,
                "a key without a value"},
        Hostile{"valueWithoutKey", "<plist><dict><true/></dict></plist>", Kind::malformed, "without a key"},
        Hostile{"integerWord", inDict("<integer>abc</integer>"), Kind::malformed, "malformed <integer> \"abc\""},
        Hostile{"integerOctalLooking", inDict("<integer>010</integer>"), Kind::malformed, "malformed <integer>"},
        Hostile{"integerBelowInt64", inDict("<integer>-9223372036854775809</integer>"), Kind::malformed,
                "malformed <integer>"},
        Hostile{"integerAbove64Bits", inDict("<integer>18446744073709551616</integer>"), Kind::malformed,
                "malformed <integer>"},
        Hostile{"integerEmpty", inDict("<integer/>"), Kind::malformed, "malformed <integer>"},
        Hostile{"realWord", inDict("<real>abc</real>"), Kind::malformed, "malformed <real>"},
        Hostile{"datePartial", inDict("<date>2020-01-01</date>"), Kind::malformed, "malformed <date>"},
        Hostile{"dateNoSuchDay", inDict("<date>2023-02-29T00:00:00Z</date>"), Kind::malformed, "malformed <date>"},
        Hostile{"dataNotBase64", inDict("<data>!!!</data>"), Kind::malformed, "malformed <data>"},
        Hostile{"internalSubset", "<!DOCTYPE plist [ <!ENTITY a \"b\"> ]><plist><dict/></plist>", Kind::malformed,
                "internal subset"},
        Hostile{"attribute", "<plist><dict a=\"1\"/></plist>", Kind::malformed, "attributes on <dict>"},
        Hostile{"undeclaredEntity", inDict("<string>&lol;</string>"), Kind::malformed, "line 1"},
        Hostile{"externalEntity",
                "<!DOCTYPE plist SYSTEM \"file:///etc/passwd\"><plist><dict><key>k</key><string>&x;</string>"
                "</dict></plist>",
                Kind::malformed, "an undeclared entity &x;"},
        Hostile{"cdataInInteger", inDict("<integer><![CDATA[1]]></integer>"), Kind::malformed,
                "CDATA section outside <string> and <key>"},
        Hostile{"instructionInString", inDict("<string>a<?pi x?></string>"), Kind::malformed,
                "processing instruction inside <string>"},
        Hostile{"emptyPlist", "<plist/>", Kind::malformed, "empty <plist>"},
        Hostile{"secondValue", "<plist><dict/><dict/></plist>", Kind::malformed, "a second value in <plist>"},
        Hostile{"nulInKey", "<plist><dict><key>a" + std::string(1, '\0') + "b</key><true/></dict></plist>",
                Kind::malformed, "a NUL character at line 1, column 20"},
        Hostile{"invalidUtf8", inDict("<string>\xC3\x28</string>"), Kind::unsupportedValue,
                "text at $.k is not valid UTF-8"},
        Hostile{"rootString", "<plist><string>a</string></plist>", Kind::unexpectedShape,
                "the root is a string, not a dictionary or an array of dictionaries"},
        Hostile{"elementNotDictionary", "<plist><array><dict/><dict/><dict/><string>x</string></array></plist>",
                Kind::unexpectedShape, "the root array's element at index 3 is a string, not a dictionary"},
        Hostile{"deepArrays", nestedXmlArrays(100000), Kind::tooDeep, "nested deeper than 64 levels"},
        Hostile{"deepUnclosed", nestedXmlArrays(1000000, false), Kind::tooDeep, "nested deeper than 64 levels"},
        Hostile{"deepCommentTrick",
                // closing tags inside a comment must not count against the depth
                [] {
                  std::string s = "<plist>";
                  for (int i = 0; i < 200; ++i) s += "<array><!-- </array> -->";
                  return s;
                }(),
                Kind::tooDeep, "nested deeper than 64 levels"}),
    [](const auto& info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Binary, PlistHostileInput,
    testing::Values(
        Hostile{"truncated", kValidBinary.substr(0, kValidBinary.size() - 5), Kind::malformed,
                "truncated or damaged trailer"},
        Hostile{"otherVersion", "bplist15" + kValidBinary.substr(8), Kind::malformed, "\"bplist15\""},
        Hostile{"referenceOutside", binaryList({marker(0xA1) + marker(9)}), Kind::malformed,
                "binary object 0 refers to object 9 of 1"},
        Hostile{"countBeyondEnd", binaryList({marker(0xAF) + marker(0x13) + bigEndian(1ull << 62, 8)}),
                Kind::malformed, "binary object 0 is truncated"},
        Hostile{"cycle", binaryList({marker(0xA1) + marker(1), marker(0xA1) + marker(0)}), Kind::malformed,
                "a cycle of references through binary object 0"},
        Hostile{"integerBeyond64Bits", binaryDictWith(marker(0x14) + bigEndian(1, 8) + bigEndian(0, 8)),
                Kind::malformed, "binary object 2 is an integer beyond 64 bits"},
        Hostile{"uid", binaryDictWith(marker(0x80) + marker(3)), Kind::unsupportedValue, "UID"},
        Hostile{"nulInKey", binaryList({marker(0xD1) + marker(1) + marker(2), marker(0x53) + std::string("a\0b", 3),
                                        marker(0x09)}),
                Kind::unsupportedValue, "binary object 1, a string, contains a NUL character"},
        Hostile{"nulInText", binaryDictWith(marker(0x53) + std::string("a\0b", 3)), Kind::unsupportedValue,
                "binary object 2, a string, contains a NUL character"},
        Hostile{"loneSurrogate", binaryDictWith(marker(0x61) + std::string("\xD8\x00", 2)), Kind::unsupportedValue,
                "the text at $.k is not valid UTF-8"},
        Hostile{"nullObject", binaryDictWith(marker(0x00)), Kind::unsupportedValue, "null object at $.k"},
        Hostile{"unknownType", binaryDictWith(marker(0x70)), Kind::malformed, "binary object 2 has an unknown type"},
        Hostile{"keyNotString", binaryList({marker(0xD1) + marker(1) + marker(1), marker(0x10) + marker(7)}),
                Kind::malformed, "binary object 1, a dictionary key, is not a string"},
        Hostile{"shapeAfterDamage",
                // a wrong root and a damaged object: the damage is reported
                binaryList({marker(0xA2) + marker(1) + marker(2), marker(0x10) + marker(7), marker(0xA1) + marker(9)}),
                Kind::malformed, "refers to object 9"},
        Hostile{"nulInUtf16Key", binaryList({marker(0xD1) + marker(1) + marker(2),
                                             marker(0x62) + std::string("\0a\0\0", 4), marker(0x09)}),
                Kind::unsupportedValue, "binary object 1, a string, contains a NUL character"},
        Hostile{"rootInteger", binaryList({marker(0x10) + marker(1)}), Kind::unexpectedShape,
                "the root is an integer"},
        Hostile{"deepArrays", nestedBinaryArrays(100000), Kind::tooDeep, "nested deeper than 64 levels"},
        Hostile{"sharedExpansion",
                // 40 levels, each an array holding the next level twice: 2^40 values in 478 bytes
                [] {
                  std::vector<std::string> objects;
                  for (unsigned i = 0; i + 1 < 40; ++i) objects.push_back(marker(0xA2) + marker(i + 1) + marker(i + 1));
                  objects.push_back(marker(0xA0));
                  return binaryList(objects);
                }(),
                Kind::tooLarge, "of 478 bytes whose shared objects expand to more than 478 values"},
        Hostile{"sharedText",
                // 2000 references to one 60 000-byte string: 120 MB from 62 kB
                [] {
                  std::string array = marker(0xAF) + marker(0x11) + bigEndian(2000, 2);
                  for (int i = 0; i < 2000; ++i) array += marker(1);
                  return binaryList({array, marker(0x5F) + marker(0x11) + bigEndian(60000, 2) + std::string(60000, 'x')});
                }(),
                Kind::tooLarge, "expand to more than 67108864 bytes"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(PlistHostile, TheBinaryHelperMakesReadableLists) {
  // The fixtures above are only meaningful if an undamaged list built the same way reads.
  EXPECT_EQ(plist::parseDictionary(kValidBinary).readInt("k"), 7);
}

TEST(PlistHostile, NestingExactlyAtTheLimitIsRead) {
  // The root array is level 1, so kMaxDepth levels of arrays hold no dictionary: the
  // shape is refused, but only after the depth was accepted.
  for (const std::string& bytes : {nestedXmlArrays(plist::kMaxDepth), nestedBinaryArrays(plist::kMaxDepth)}) {
    const auto e = capture<PlistError>([&] { plist::parse(bytes); });
    EXPECT_EQ(e.kind(), Kind::unexpectedShape) << e.what();
  }
  for (const std::string& bytes : {nestedXmlArrays(plist::kMaxDepth + 1), nestedBinaryArrays(plist::kMaxDepth + 1)}) {
    EXPECT_THROW(plist::parse(bytes), PlistError);
  }
}

TEST(PlistHostile, SharedScalarsAsWritersProduceThemAreRead) {
  // Writers store equal strings once and refer to them from every dictionary.
  std::vector<std::string> objects{marker(0xA3) + marker(1) + marker(1) + marker(1),
                                   marker(0xD1) + marker(2) + marker(3), marker(0x51) + "k", marker(0x51) + "v"};
  const auto document = plist::parse(binaryList(objects));
  ASSERT_EQ(document.dictionaries.size(), 3u);
  EXPECT_EQ(document.dictionaries[2].readString("k"), "v");
}

// A root array of `dictionaries` dictionaries holding the same `keys` keys, each starting
// at another one; key i (ASCII, longer than a small string, or UTF-16 by turns) is object
// `firstKey + i * spacing` and holds the integer i. Every other object is unused.
std::string sharedKeys(std::size_t dictionaries, std::size_t keys, std::size_t firstKey, std::size_t spacing) {
  const auto count = [](unsigned type, std::size_t n) { return marker(type | 0xF) + marker(0x11) + bigEndian(n, 2); };
  const std::size_t firstValue = firstKey + keys * spacing;
  std::vector<std::string> objects(firstValue + keys, marker(0x08));
  objects[0] = count(0xA0, dictionaries);
  for (std::size_t d = 0; d < dictionaries; ++d) {
    objects[0] += bigEndian(1 + d, 2);
    std::string keyRefs, valueRefs;
    for (std::size_t j = 0; j < keys; ++j) {
      const std::size_t i = (d + j) % keys;
      keyRefs += bigEndian(firstKey + i * spacing, 2);
      valueRefs += bigEndian(firstValue + i, 2);
    }
    objects[1 + d] = count(0xD0, keys) + keyRefs + valueRefs;
  }
  for (std::size_t i = 0; i < keys; ++i) {
    const std::string digits = std::to_string(i);
    std::string& key = objects[firstKey + i * spacing];
    if (i % 3 == 0) key = count(0x50, digits.size() + 1) + "k" + digits;
    if (i % 3 == 1) key = count(0x50, digits.size() + 30) + "TLSAuthenticateWithCertificate" + digits;
    if (i % 3 == 2) {
      key = count(0x60, digits.size() + 1) + std::string("\0\xE9", 2);  // é
      for (char c : digits) key += std::string(1, '\0') + c;
    }
    objects[firstValue + i] = marker(0x11) + bigEndian(i, 2);
  }
  return binaryList(objects, 2);
}

std::string keyText(std::size_t i) {
  const std::string digits = std::to_string(i);
  return (i % 3 == 0 ? "k" : i % 3 == 1 ? "TLSAuthenticateWithCertificate" : "\xC3\xA9") + digits;
}

// Each key object is decoded once and found again by its number, in a table of bounded
// size: whatever took a key's place, every dictionary has the right keys.
TEST(PlistBinaryKeys, SharedKeysReadTheSameInEveryDictionary) {
  const struct {
    const char* name;
    std::size_t dictionaries, keys, firstKey, spacing;
  } cases[] = {
      {"few keys", 5, 6, 6, 1},
      {"more keys than are kept", 3, 1500, 4, 1},
      {"keys a table's size apart", 4, 6, 5, 1024},
  };
  for (const auto& c : cases) {
    const auto document = plist::parse(sharedKeys(c.dictionaries, c.keys, c.firstKey, c.spacing));
    ASSERT_EQ(document.dictionaries.size(), c.dictionaries) << c.name;
    for (const auto& d : document.dictionaries) {
      ASSERT_EQ(d.size(), c.keys) << c.name;
      for (std::size_t i = 0; i < c.keys; ++i)
        ASSERT_EQ(d.readInt(keyText(i)), static_cast<std::int64_t>(i)) << c.name << ", key " << i;
    }
  }
}

// An ASCII string is checked in eight-byte steps: a NUL or a non-ASCII byte anywhere is
// seen, and valid UTF-8 is read as before.
TEST(PlistBinaryText, EveryByteOfAnAsciiStringIsChecked) {
  for (const std::size_t length : {2u, 7u, 8u, 9u, 16u, 17u}) {
    const auto read = [length](const std::string& text) {
      return plist::parseDictionary(binaryDictWith(marker(0x5F) + marker(0x10) + marker(length) + text));
    };
    const auto refusal = [&read](const std::string& text) {
      return std::string(capture<PlistError>([&] { read(text); }).what());
    };
    for (std::size_t at = 0; at < length; ++at) {
      std::string text(length, 'x');
      text[at] = '\xFF';
      EXPECT_NE(refusal(text).find("is not valid UTF-8"), std::string::npos) << length << " bytes, at " << at;
      text[at] = '\0';
      EXPECT_NE(refusal(text).find("contains a NUL character"), std::string::npos) << length << " bytes, at " << at;
      if (at + 1 == length) continue;
      text[at] = '\xC3';
      text[at + 1] = '\xA9';
      const auto d = read(text);
      EXPECT_EQ(d.readString("k"), text) << length << " bytes, at " << at;
    }
  }
}

TEST(PlistHostile, MoreThanFourGibibytesAreRefusedUnread) {
  static const char byte = '<';
  // Nothing past the first byte is touched: the length alone is refused.
  const std::string_view huge(&byte, std::size_t{1} << 32);
  const auto e = capture<PlistError>([&] { plist::parse(huge); });
  EXPECT_EQ(e.kind(), Kind::tooLarge);
}

}  // namespace
}  // namespace telvor
