// JSON text in and out: hostile input, output shape. Includes only the format's header,
// which must be enough to catch the errors it throws.
#include <gtest/gtest.h>

#include <string>

#include "telvor/json/json.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {
namespace {

struct Hostile {
  const char* name;
  std::string text;
  const char* mentions;  // what the description must say
};

void PrintTo(const Hostile& h, std::ostream* os) { *os << h.name; }

class JsonHostileInput : public testing::TestWithParam<Hostile> {};

TEST_P(JsonHostileInput, IsDataCorruptedAtTheTopWithALocation) {
  const auto& h = GetParam();
  try {
    json::decode<TransferSyntax>(h.text);
    FAIL() << "accepted";
  } catch (const DecodingError& e) {
    EXPECT_EQ(e.kind(), DecodingError::Kind::dataCorrupted);
    EXPECT_TRUE(e.codingPath().empty());
    EXPECT_NE(e.debugDescription().find("line "), std::string::npos) << e.debugDescription();
    EXPECT_NE(e.debugDescription().find(h.mentions), std::string::npos) << e.debugDescription();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, JsonHostileInput,
    testing::Values(Hostile{"empty", "", "byte offset 0"},
                    Hostile{"truncated", "{\"a\":", "byte offset 5"},
                    Hostile{"trailing", "2 3", "byte offset 2"},
                    Hostile{"secondLine", "{\n  \"a\": tru\n}", "line 2"},
                    Hostile{"invalidUtf8", "\"\xC3\x28\"", "line 1"},
                    Hostile{"invalidUtf8InKey", "{\"\xFF\":1}", "line 1"},
                    Hostile{"comment", "// hi\n2", "line 1"},
                    Hostile{"deepArrays", std::string(100000, '['), "nested deeper than 64"},
                    Hostile{"deepObjects",
                            [] {
                              std::string s;
                              for (int i = 0; i < 70; ++i) s += "{\"a\":";
                              return s;
                            }(),
                            "nested deeper than 64"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(JsonText, AcceptsNestingUpToTheLimit) {
  std::string text(json::kMaxDepth, '[');
  text += std::string(json::kMaxDepth, ']');
  EXPECT_NO_THROW(json::parse(text));
}

TEST(JsonText, TheDocumentLivesInTheGivenStorage) {
  boost::json::monotonic_resource scratch;
  const auto document = json::parse(R"({"a":{"b":["a text longer than any small-string buffer"]}})", &scratch);
  EXPECT_EQ(document.storage().get(), &scratch);
  EXPECT_EQ(document.at("a").at("b").as_array()[0].as_string().storage().get(), &scratch);
}

TEST(JsonText, IndentedOutputPutsOneEntryOnALine) {
  const auto document = json::parse(R"({"a":1,"b":{},"c":{"d":[true,null]},"e":[]})");
  EXPECT_EQ(json::serialize(document, {.indent = 2}),
            "{\n  \"a\": 1,\n  \"b\": {},\n  \"c\": {\n    \"d\": [\n      true,\n      null\n    ]\n  },\n"
            "  \"e\": []\n}");
}

TEST(JsonText, DuplicateKeysKeepTheLastValue) {
  const auto document = json::parse(R"({"a":1,"a":2})");
  EXPECT_EQ(document.as_object().size(), 1u);
  EXPECT_EQ(document.as_object().at("a").as_int64(), 2);
}

}  // namespace
}  // namespace telvor
