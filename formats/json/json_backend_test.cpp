// How JSON values meet the coding interface: the JSON format's own decisions (arrays,
// lookups in any order, views into the document, UTF-8; numbers are pinned in
// json_hostile_input_test.cpp). The interface's rules themselves are tested format-free
// in telvor/coding/coding_interface_test.cpp.
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "support/coding_support.hpp"
#include "telvor/json/json.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {
namespace {

using testing_support::capture;
using Kind = DecodingError::Kind;

enum class Keys { flag, count, label, syntax };
constexpr std::array<std::string_view, 4> codingKeyNames(Keys) { return {"flag", "count", "label", "syntax"}; }

struct Leaf {
  bool flag = false;
  std::int64_t count = 0;
  std::optional<std::string> label;
  TransferSyntax syntax = TransferSyntax::EXS_Unknown;

  void encode(Encoder& encoder) const {
    auto c = encoder.container<Keys>();
    c.encode(flag, Keys::flag);
    c.encode(count, Keys::count);
    c.encodeIfPresent(label, Keys::label);
    c.encode(syntax, Keys::syntax);
  }
  static Leaf decode(const Decoder& decoder) {
    auto c = decoder.container<Keys>();
    Leaf leaf;
    leaf.flag = c.decode<bool>(Keys::flag);
    leaf.count = c.decode<std::int64_t>(Keys::count);
    leaf.label = c.decodeIfPresent<std::string>(Keys::label);
    leaf.syntax = c.decode<TransferSyntax>(Keys::syntax);
    return leaf;
  }
  friend bool operator==(const Leaf&, const Leaf&) = default;
};

TEST(JsonBackend, FindsKeysInAnyOrderAndTheLastDuplicateWins) {
  // Reversed, with unknown keys between and a duplicate: lookups that follow the written
  // order miss here and must still find every entry.
  EXPECT_EQ(json::decode<Leaf>(R"({"syntax":27,"x":1,"label":"l","count":3,"flag":false,"count":4})"),
            (Leaf{false, 4, "l", TransferSyntax::EXS_JPEG2000}));
}

TEST(JsonBackend, TextReadsAsAViewOfTheDocument) {
  const auto document = json::parse(R"({"flag":true,"count":1,"label":"caf\u00e9"})");
  json::JsonDecoderBackend backend;
  const auto c = Decoder(backend, &document).container<Keys>();
  const auto label = c.decode<std::string_view>(Keys::label);
  EXPECT_EQ(label, "caf\u00e9");
  EXPECT_EQ(label.data(), document.at("label").as_string().data());
}

TEST(JsonBackend, ArraysAreUnkeyedContainersWithPositionsInErrors) {
  const std::vector<Leaf> leaves{Leaf{true, 1, "a", TransferSyntax::EXS_JPEG2000}, Leaf{}};
  const auto text = json::encode(leaves);
  EXPECT_EQ(text, R"([{"flag":true,"count":1,"label":"a","syntax":27},{"flag":false,"count":0,"syntax":-1}])");
  EXPECT_EQ(json::decode<std::vector<Leaf>>(text), leaves);
  EXPECT_STREQ(capture<DecodingError>([] {
                 json::decode<std::vector<Leaf>>(R"([{"flag":true,"count":1,"syntax":2},{"flag":true,"count":1,"syntax":42}])");
               }).what(),
               "dataCorrupted at $[1].syntax: Cannot initialize TransferSyntax from invalid Int64 value 42");
  EXPECT_EQ(capture<DecodingError>([] { json::decode<std::vector<Leaf>>("{}"); }).kind(), Kind::typeMismatch);
}

TEST(JsonBackend, TextThatIsNotUtf8CannotBeWrittenAndNamesThePath) {
  const std::vector<Leaf> leaves{Leaf{}, Leaf{true, 1, std::string("bad \xC3\x28 text")}};
  const auto e = capture<EncodingError>([&] { json::encode(leaves); });
  EXPECT_EQ(describe(e.codingPath()), "$[1].label");
  EXPECT_EQ(e.kindName(), "invalidValue");
}

}  // namespace
}  // namespace telvor
