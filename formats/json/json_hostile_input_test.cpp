// Hostile JSON input, class by class: each test pins the outcome recorded in
// docs/RELIABILITY.md's bad-input table. The promise: the value the rules say, or the
// library's own error; never a crash, a foreign exception or a silently wrong value.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "support/coding_support.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using testing_support::keyPath;
using K = DecodingError::Kind;

const std::string kNode =
    R"({"uniqueId":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","aetitle":"ARCHIVE","name":"Main","address":"10.0.0.5",)"
    R"("port":"104","transferSyntax":2,"retrieveMode":2,"isDicomNode":true,"isQueryable":false,)"
    R"("wadoSettings":{"port":8080,"url":"https://pacs/wado","password":"pw","username":"me","retrieveSyntax":9,)"
    R"("https":true},"icon":"server","tlsSettings":{"isEnabled":true,"securityProfile":5,)"
    R"("verifyPeerCertificate":true,"authenticateWithCertificate":false}})";

// The whole document with `key`'s value (at the top, or inside "wadoSettings" or
// "tlsSettings" when `nested` names it) replaced by `value`.
std::string replaced(std::string_view nested, std::string_view key, std::string_view value) {
  auto document = json::parse(kNode);
  auto& object = nested.empty() ? document.as_object() : document.as_object().at(nested).as_object();
  object[key] = json::parse(value);
  return json::serialize(document);
}

TEST(HostileJson, EveryTruncationIsDataCorruptedAtTheTop) {
  for (std::size_t n = 0; n < kNode.size(); ++n) {
    const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(kNode.substr(0, n)); });
    EXPECT_EQ(e.kind(), K::dataCorrupted) << n;
    EXPECT_TRUE(e.codingPath().empty()) << n;
  }
  EXPECT_NO_THROW(json::decode<DicomNode>(kNode));
}

TEST(HostileJson, TextThatIsNotJsonIsDataCorruptedAtTheTop) {
  const std::string texts[] = {
      "", " \n\t", "nul", "NaN", "Infinity", "-Infinity", "{'aetitle':'A'}", R"({"a":1,})", "[1,]",
      "\xEF\xBB\xBF{}", "{\"a\":\"tab\there\"}", "{\"a\":\"\x01\"}", R"({"a":"\x41"})", R"({"a":01})",
      std::string("{}\0", 3), "/* c */ {}", "{} {}", R"({"a" 1})", "+1", ".5", "1.",
      "0x10", R"("\ud800")", R"("\udc00")", R"("\ud800\u0041")"};
  for (const auto& text : texts) {
    const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(text); });
    EXPECT_EQ(e.kind(), K::dataCorrupted) << text;
    EXPECT_TRUE(e.codingPath().empty()) << text;
  }
}

TEST(HostileJson, InvalidUtf8InKeysAndValuesIsDataCorruptedAtTheTop) {
  const char* sequences[] = {"\xC3\x28", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                             "\x80",     "\xFF",     "\xF0\x9F\x8F", "\xC3"};
  for (const char* bad : sequences) {
    std::string inValue = replaced("", "aetitle", "\"x\"");
    inValue.replace(inValue.find("\"x\"") + 1, 1, bad);
    for (const std::string& text : {inValue, "{\"" + std::string(bad) + "\":1," + kNode.substr(1)}) {
      const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(text); });
      EXPECT_EQ(e.kind(), K::dataCorrupted) << text;
      EXPECT_TRUE(e.codingPath().empty()) << text;
    }
  }
}

TEST(HostileJson, NestingBeyondTheLimitIsRefusedWithoutExhaustingTheStack) {
  const auto nest = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  // Within the limit, deep values under keys the node does not know are ignored.
  EXPECT_NO_THROW(json::decode<DicomNode>(replaced("", "extra", nest(json::kMaxDepth - 1))));
  EXPECT_EQ(capture<DecodingError>([&] { json::decode<DicomNode>(replaced("", "extra", nest(json::kMaxDepth))); })
                .kind(),
            K::dataCorrupted);
  const std::string deep = "{\"wadoSettings\":" + std::string(1'000'000, '[');
  const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(deep); });
  EXPECT_EQ(e.kind(), K::dataCorrupted);
  EXPECT_NE(e.debugDescription().find("nested deeper than 64 levels"), std::string::npos);
}

TEST(HostileJson, NumbersBeyondSixtyFourBits) {
  struct Case {
    const char* number;
    std::optional<std::int64_t> port;  // the WADO port read, or absent when refused
    K kind = K::dataCorrupted;
    bool atTop = false;  // refused by the parser, before any key is read
  };
  const Case cases[] = {
      {"9223372036854775807", INT64_MAX},
      {"-9223372036854775808", INT64_MIN},
      {"-0", 0},
      {"9223372036854775808", {}, K::dataCorrupted},
      {"18446744073709551615", {}, K::dataCorrupted},
      {"18446744073709551616", {}, K::typeMismatch},
      {"-9223372036854775809", {}, K::typeMismatch},
      {"123456789012345678901234567890", {}, K::typeMismatch},
      {"1e400", {}, K::dataCorrupted, true},  // beyond the range of a double: not JSON to the parser
      {"1.0", {}, K::typeMismatch},
      {"8080e0", {}, K::typeMismatch},
  };
  for (const auto& c : cases) {
    const auto text = replaced("wadoSettings", "port", c.number);
    if (c.port) {
      EXPECT_EQ(json::decode<DicomNode>(text).wadoSettings.port, c.port) << c.number;
    } else {
      const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(text); });
      EXPECT_EQ(e.kind(), c.kind) << c.number;
      EXPECT_EQ(e.codingPath(), c.atTop ? CodingPath{} : keyPath({"wadoSettings", "port"})) << c.number;
    }
  }
  // A code beyond 64 bits is refused like any other code no case has.
  const auto e = capture<DecodingError>(
      [] { json::decode<DicomNode>(replaced("", "transferSyntax", "18446744073709551615")); });
  EXPECT_EQ(e.kind(), K::dataCorrupted);
  EXPECT_EQ(e.codingPath(), keyPath({"transferSyntax"}));
}

// Every key of the node's coded form (nested ones included) with a value of every wrong kind.
TEST(HostileJson, EveryWrongKindAtEveryKey) {
  enum Accepts { text, integer, code, boolean, uuid, keyed };
  struct Key {
    const char* nested;
    const char* key;
    Accepts accepts;
    bool required;
  };
  const Key keys[] = {
      {"", "uniqueId", uuid, false},        {"", "aetitle", text, false},
      {"", "name", text, false},            {"", "address", text, false},
      {"", "port", text, false},            {"", "transferSyntax", code, true},
      {"", "retrieveMode", code, true},     {"", "isDicomNode", boolean, true},
      {"", "isQueryable", boolean, false},  {"", "wadoSettings", keyed, true},
      {"", "icon", text, false},            {"", "tlsSettings", keyed, false},
      {"wadoSettings", "port", integer, false}, {"wadoSettings", "url", text, false},
      {"wadoSettings", "password", text, false}, {"wadoSettings", "username", text, false},
      {"wadoSettings", "retrieveSyntax", code, true}, {"wadoSettings", "https", boolean, true},
      {"tlsSettings", "isEnabled", boolean, true}, {"tlsSettings", "securityProfile", code, true},
      {"tlsSettings", "verifyPeerCertificate", boolean, true},
      {"tlsSettings", "authenticateWithCertificate", boolean, true},
  };
  struct Value {
    const char* json;
    std::vector<Accepts> fits;  // the kinds it is read as without error
  };
  const Value values[] = {
      {"true", {boolean}}, {"0", {integer, code}}, {"-7", {integer}},  {"1.5", {}},
      {"\"x\"", {text}},   {"[]", {}},             {"{}", {}},         {"\"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\"", {text, uuid}},
  };
  for (const auto& k : keys) {
    CodingPath path = *k.nested ? keyPath({k.nested, k.key}) : keyPath({k.key});
    // null: absent for an optional key, valueNotFound for a required one.
    const auto nullText = replaced(k.nested, k.key, "null");
    if (k.required) {
      const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(nullText); });
      EXPECT_EQ(e.kind(), K::valueNotFound) << nullText;
      EXPECT_EQ(e.codingPath(), path) << nullText;
    } else {
      EXPECT_NO_THROW(json::decode<DicomNode>(nullText)) << nullText;
    }
    for (const auto& v : values) {
      const auto text = replaced(k.nested, k.key, v.json);
      const bool fits = std::find(v.fits.begin(), v.fits.end(), k.accepts) != v.fits.end();
      if (fits) {
        EXPECT_NO_THROW(json::decode<DicomNode>(text)) << text;
        continue;
      }
      const auto e = capture<DecodingError>([&] { json::decode<DicomNode>(text); });
      if (k.accepts == keyed && std::string_view(v.json) == "{}") {
        // An empty container lacks the record's first required key.
        EXPECT_EQ(e.kind(), K::keyNotFound) << text;
        EXPECT_EQ(e.codingPath(), keyPath({k.key})) << text;
        continue;
      }
      // A right kind but unusable content (a code no case has, a text that is no UUID)
      // is dataCorrupted; every other kind typeMismatch.
      const bool corrupt = (k.accepts == code && std::string_view(v.json) == "-7") ||
                           (k.accepts == uuid && std::string_view(v.json) == "\"x\"");
      EXPECT_EQ(e.kind(), corrupt ? K::dataCorrupted : K::typeMismatch) << text;
      EXPECT_EQ(e.codingPath(), path) << text;
    }
  }
}

TEST(HostileJson, DuplicateKeysKeepTheLastAndUnknownKeysAreIgnored) {
  const std::string text = R"({"aetitle":"FIRST","aetitle":"LAST","isDicomNode":"text","isDicomNode":false,)"
                           R"("AETitle":"X","aetitle ":"Y","extra":{"deep":[1,2,{"x":null}]},)" +
                           kNode.substr(1);
  const auto n = json::decode<DicomNode>(text);
  EXPECT_EQ(n.aetitle, "ARCHIVE");  // kNode's own entry comes last
  const auto m = json::decode<DicomNode>(kNode.substr(0, kNode.size() - 1) +
                                         R"(,"aetitle":"LAST","isDicomNode":false,"Port":1})");
  EXPECT_EQ(m.aetitle, "LAST");
  EXPECT_FALSE(m.isDicomNode);
  EXPECT_EQ(m.port, "104");
}

TEST(HostileJson, HugeTextsAndManyKeysAreReadIntactInLinearTime) {
  const std::string huge(16u << 20, 'A');
  const auto started = std::chrono::steady_clock::now();
  const auto n = json::decode<DicomNode>(replaced("", "aetitle", "\"" + huge + "\""));
  EXPECT_EQ(n.aetitle, huge);
  EXPECT_EQ(json::decode<DicomNode>(json::encode(n)), n);
  std::string many = "{";
  for (int i = 0; i < 200'000; ++i) many += "\"k" + std::to_string(i) + "\":" + std::to_string(i) + ",";
  many += kNode.substr(1);
  EXPECT_EQ(json::decode<DicomNode>(many).aetitle, "ARCHIVE");
  const std::string hugeKey = "{\"" + huge + "\":1," + kNode.substr(1);
  EXPECT_EQ(json::decode<DicomNode>(hugeKey).aetitle, "ARCHIVE");
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(20));
}

}  // namespace
}  // namespace telvor
