// JSON text in and out: hostile input, output shape. Includes only the format's header,
// which must be enough to catch the errors it throws.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "telvor/json/json.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {
namespace {

// Where the text goes wrong is named as line, column and byte offset (the classes of bad
// text are pinned in json_hostile_input_test.cpp).
TEST(JsonText, RefusalsNameWhereTheTextWentWrong) {
  const std::pair<std::string, const char*> cases[] = {
      {"", "line 1, column 1 (byte offset 0)"},
      {"{\"a\":", "byte offset 5"},
      {"2 3", "byte offset 2"},
      {"{\n  \"a\": tru\n}", "line 2"},
      {std::string(100, '['), "nested deeper than 64 levels"},
  };
  for (const auto& [text, mentions] : cases) {
    try {
      json::decode<TransferSyntax>(text);
      ADD_FAILURE() << "accepted " << text;
    } catch (const DecodingError& e) {
      EXPECT_EQ(e.kind(), DecodingError::Kind::dataCorrupted);
      EXPECT_NE(e.debugDescription().find(mentions), std::string::npos) << e.debugDescription();
    }
  }
}

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

TEST(JsonText, ArraysWrittenElementByElementMatchTheWholeDocument) {
  // encode(vector) writes each element's document in turn; the text must be the one the
  // array's document as a whole serialises to.
  const std::vector<std::vector<TransferSyntax>> cases[] = {
      {}, {{}}, {{TransferSyntax::EXS_JPEG2000}}, {{TransferSyntax::EXS_JPEG2000, TransferSyntax::EXS_Unknown}, {}}};
  for (const auto& values : cases) {
    for (const int indent : {0, 2, 3}) {
      boost::json::monotonic_resource scratch;
      EXPECT_EQ(json::encode(values, {.indent = indent}),
                json::serialize(json::toDocument(values, &scratch), {.indent = indent}))
          << values.size() << " " << indent;
    }
  }
}

TEST(JsonText, DuplicateKeysKeepTheLastValue) {
  const auto document = json::parse(R"({"a":1,"a":2})");
  EXPECT_EQ(document.as_object().size(), 1u);
  EXPECT_EQ(document.as_object().at("a").as_int64(), 2);
}

}  // namespace
}  // namespace telvor
