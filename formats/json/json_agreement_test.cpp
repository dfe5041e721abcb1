// The simdjson reader against the Boost.JSON reader over the test data, the fuzz corpus
// and the hostile texts the other JSON tests use: same values, same errors, same paths.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/json_agreement.hpp"

namespace telvor {
namespace {

const std::string kNode =
    R"({"uniqueId":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","aetitle":"ARCHIVE","name":"Archive",)"
    R"("address":"10.0.0.1","port":"104","transferSyntax":27,"retrieveMode":1,"isDicomNode":true,)"
    R"("isQueryable":false,"wadoSettings":{"port":8080,"url":"/wado","retrieveSyntax":2,"https":true},)"
    R"("tlsSettings":{"isEnabled":true,"securityProfile":1,"verifyPeerCertificate":true,)"
    R"("authenticateWithCertificate":false}})";

// kNode with `key` (at the top, or inside `nested`) given `value`: added as the last
// entry, which is the one read.
std::string with(const std::string& nested, const std::string& key, const std::string& value) {
  std::string text = kNode;
  const auto close = nested.empty() ? text.size() - 1 : text.find('}', text.find("\"" + nested + "\":{"));
  return text.insert(close, ",\"" + key + "\":" + value);
}

std::vector<std::string> hostileTexts() {
  std::vector<std::string> texts = {
      kNode, "[" + kNode + "," + kNode + "]", "[" + kNode + ",1]", "[]", "{}", "null", "true", "27", "[27,5,null]",
      "\"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\"", "[\"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\",\"x\"]",
      R"({"accessable":{}})", R"({"unknown":{"reason":"r"},"unknown":{"reason":"s"}})",
      R"({"unknown":{"reason":"r"},"inaccessible":{"reason":"r"}})", R"([{"inaccessible":{"reason":1}}])",
      R"({"isEnabled":true,"securityProfile":1,"verifyPeerCertificate":true,"authenticateWithCertificate":false,)"
      R"("isEnabled":false})",
      R"({"authenticateWithCertificate":false,"verifyPeerCertificate":true,"securityProfile":1,"isEnabled":true})",
      "", " ", "{", "[" + kNode, kNode + " x", "{} {}", std::string("{}\0", 3), "/* c */ {}", "[1,]", "01", "1.",
      R"("\ud800")", "\"\xC3\x28\"", "{\"\xFF\":1}", std::string(65, '[') + std::string(65, ']'),
      std::string(64, '[') + std::string(64, ']'), std::string(1000, '['),
  };
  // Every key of the node, at the top and in its nested records, with values of every kind.
  const char* values[] = {"null", "true", "false", "0", "-7", "-0", "1.5", "-0.0", "1e400", "1e-400", "8080e0",
                          "9223372036854775807", "-9223372036854775808", "9223372036854775808", "0e318446744073709551616",
                          "18446744073709551615", "18446744073709551616", "123456789012345678901234567890",
                          "\"x\"", "\"\\u0000\"", "[]", "[1,[2]]", "{}", "{\"a\":{\"b\":null}}"};
  const std::pair<const char*, std::vector<const char*>> keys[] = {
      {"", {"uniqueId", "aetitle", "port", "transferSyntax", "retrieveMode", "isDicomNode", "isQueryable",
            "wadoSettings", "tlsSettings", "extra"}},
      {"wadoSettings", {"port", "url", "retrieveSyntax", "https"}},
      {"tlsSettings", {"isEnabled", "securityProfile"}},
  };
  for (const auto& [nested, names] : keys)
    for (const char* key : names)
      for (const char* value : values) texts.push_back(with(nested, key, value));
  return texts;
}

std::vector<std::string> corpus() {
  std::vector<std::string> texts;
  const std::filesystem::path root(TELVOR_SOURCE_DIR);
  for (const auto& dir : {root / "tests" / "data", root / "fuzz" / "corpus" / "json_records"}) {
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
      if (dir.filename() == "data" && entry.path().extension() != ".json") continue;
      std::ifstream in(entry.path(), std::ios::binary);
      std::ostringstream bytes;
      bytes << in.rdbuf();
      texts.push_back(bytes.str());
    }
  }
  return texts;
}

TEST(JsonAgreement, BothReadersAgreeOnHostileTexts) {
  for (const auto& text : hostileTexts()) EXPECT_EQ(testing_support::disagreement(text), "") << text;
}

TEST(JsonAgreement, BothReadersAgreeOnTheCorpus) {
  const auto texts = corpus();
  ASSERT_GT(texts.size(), 100u);
  for (const auto& text : texts) EXPECT_EQ(testing_support::disagreement(text), "") << text;
}

TEST(JsonAgreement, AnArrayOfManyElementsIsReadInOrder) {
  // Elements are read through a cursor; reading them out of order must still find each.
  std::string text = "[";
  for (int i = 0; i < 3000; ++i) text += (i ? "," : "") + std::string(i % 3 ? "27" : "[-1,null]");
  text += "]";
  json::SimdjsonDocument document;
  ASSERT_TRUE(document.parse(text));
  const auto& backend = document.backend();
  const auto root = document.root();
  ASSERT_EQ(backend.elementCount(root), 3000u);
  for (const std::size_t i : {2999u, 4u, 5u, 3u, 0u, 2998u}) {
    const auto element = backend.element(root, i);
    EXPECT_EQ(backend.kind(element), i % 3 ? DecoderBackend::ValueKind::integer : DecoderBackend::ValueKind::unkeyed)
        << i;
  }
}

TEST(JsonAgreement, WalkingAnArrayAndItsElementsEntriesStaysLinear) {
  // Each element's entries take cursors of their own; the array's must survive them, or
  // every element would be found again from the start (a minute or more for this array).
  constexpr std::size_t kCount = 300'000;
  std::string text = "[";
  for (std::size_t i = 0; i < kCount; ++i) text += i ? R"(,{"a":1,"b":[2]})" : R"({"a":1,"b":[2]})";
  text += "]";
  json::SimdjsonDocument document;
  ASSERT_TRUE(document.parse(text));
  const auto& backend = document.backend();
  const auto started = std::chrono::steady_clock::now();
  std::size_t names = 0;
  for (std::size_t i = 0; i < backend.elementCount(document.root()); ++i) {
    const auto element = backend.element(document.root(), i);
    for (std::size_t k = 0; k < backend.entryCount(element); ++k) names += backend.entryName(element, k).size();
  }
  EXPECT_EQ(names, 2 * kCount);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
}

}  // namespace
}  // namespace telvor
