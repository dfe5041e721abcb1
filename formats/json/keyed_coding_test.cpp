// The keyed coding interface, exercised through the JSON format with small test records.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <optional>
#include <string>

#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"
#include "support/coding_support.hpp"

namespace telvor {
namespace {

enum class LeafKeys { flag, count, label };
constexpr std::array<std::string_view, 3> codingKeyNames(LeafKeys) { return {"flag", "count", "label"}; }

struct Leaf {
  bool flag = false;
  std::int64_t count = 0;
  std::optional<std::string> label;

  void encode(Encoder& encoder) const {
    auto c = encoder.container<LeafKeys>();
    c.encode(flag, LeafKeys::flag);
    c.encode(count, LeafKeys::count);
    c.encodeIfPresent(label, LeafKeys::label);
  }
  static Leaf decode(const Decoder& decoder) {
    auto c = decoder.container<LeafKeys>();
    Leaf leaf;
    leaf.flag = c.decode<bool>(LeafKeys::flag);
    leaf.count = c.decode<std::int64_t>(LeafKeys::count);
    leaf.label = c.decodeIfPresent<std::string>(LeafKeys::label);
    return leaf;
  }
  friend bool operator==(const Leaf&, const Leaf&) = default;
};

enum class TreeKeys { leaf, optionalLeaf, syntax, group };
constexpr std::array<std::string_view, 4> codingKeyNames(TreeKeys) {
  return {"leaf", "optionalLeaf", "syntax", "group"};
}
enum class GroupKeys { note };
constexpr std::array<std::string_view, 1> codingKeyNames(GroupKeys) { return {"note"}; }

struct Tree {
  Leaf leaf;
  std::optional<Leaf> optionalLeaf;
  TransferSyntax syntax = TransferSyntax::EXS_Unknown;
  std::optional<std::string> note;  // inside the nested "group" container

  void encode(Encoder& encoder) const {
    auto c = encoder.container<TreeKeys>();
    c.encode(leaf, TreeKeys::leaf);
    c.encodeIfPresent(optionalLeaf, TreeKeys::optionalLeaf);
    c.encode(syntax, TreeKeys::syntax);
    auto group = c.nestedContainer<GroupKeys>(TreeKeys::group);
    group.encodeIfPresent(note, GroupKeys::note);
  }
  static Tree decode(const Decoder& decoder) {
    auto c = decoder.container<TreeKeys>();
    Tree tree;
    tree.leaf = c.decode<Leaf>(TreeKeys::leaf);
    tree.optionalLeaf = c.decodeIfPresent<Leaf>(TreeKeys::optionalLeaf);
    tree.syntax = c.decode<TransferSyntax>(TreeKeys::syntax);
    tree.note = c.nestedContainer<GroupKeys>(TreeKeys::group).decodeIfPresent<std::string>(GroupKeys::note);
    return tree;
  }
  friend bool operator==(const Tree&, const Tree&) = default;
};

using testing_support::capture;

CodingPath keys(std::initializer_list<std::string_view> names) { return testing_support::keyPath(names); }

TEST(KeyedCoding, WritesKeysInCodedOrderAndLeavesAbsentOptionalsOut) {
  Tree tree;
  tree.leaf = {true, -7, std::nullopt};
  tree.syntax = TransferSyntax::EXS_JPEG2000;
  EXPECT_EQ(json::encode(tree),
            R"({"leaf":{"flag":true,"count":-7},"syntax":27,"group":{}})");
}

TEST(KeyedCoding, RoundTripsPresentAndAbsentValues) {
  Tree full{{true, std::numeric_limits<std::int64_t>::min(), ""},
            Leaf{false, std::numeric_limits<std::int64_t>::max(), "caf\u00e9"},
            TransferSyntax::EXS_PrivateGE_LEI_WithBigEndianPixelData,
            "note"};
  EXPECT_EQ(json::decode<Tree>(json::encode(full)), full);
  Tree sparse;
  EXPECT_EQ(json::decode<Tree>(json::encode(sparse)), sparse);
}

TEST(KeyedCoding, NullIsAbsentForDecodeIfPresentAndValueNotFoundForDecode) {
  const auto tree = json::decode<Tree>(
      R"({"leaf":{"flag":true,"count":1,"label":null},"optionalLeaf":null,"syntax":2,"group":{"note":null}})");
  EXPECT_FALSE(tree.leaf.label.has_value());
  EXPECT_FALSE(tree.optionalLeaf.has_value());
  EXPECT_FALSE(tree.note.has_value());

  const auto e = capture<DecodingError>(
      [] { json::decode<Tree>(R"({"leaf":{"flag":null,"count":1},"syntax":2,"group":{}})"); });
  EXPECT_EQ(e.kind(), DecodingError::Kind::valueNotFound);
  EXPECT_EQ(e.expectedType(), "Bool");
  EXPECT_EQ(e.codingPath(), keys({"leaf", "flag"}));
}

TEST(KeyedCoding, IgnoresUnknownKeysAndKeysDifferingInLetterCase) {
  const auto tree = json::decode<Tree>(
      R"({"Leaf":5,"leaf":{"flag":false,"count":3,"Label":"x","extra":[1,2]},"syntax":0,"group":{},"more":{}})");
  EXPECT_EQ(tree.leaf.count, 3);
  EXPECT_FALSE(tree.leaf.label.has_value());

  const auto e = capture<DecodingError>([] { json::decode<Leaf>(R"({"Flag":true,"count":1})"); });
  EXPECT_EQ(e.kind(), DecodingError::Kind::keyNotFound);
  EXPECT_EQ(e.key().stringValue, "flag");
  EXPECT_TRUE(e.codingPath().empty());
}

TEST(KeyedCoding, FindsKeysInAnyOrder) {
  // Reversed, with unknown keys between and a duplicate: lookups that follow the written
  // order miss here and must still find every entry.
  const auto tree = json::decode<Tree>(
      R"({"group":{"note":"n"},"x":1,"syntax":27,"optionalLeaf":{"label":"o","count":2,"flag":true},)"
      R"("leaf":{"count":3,"label":"l","flag":false,"count":4}})");
  EXPECT_EQ(tree.leaf, (Leaf{false, 4, "l"}));
  EXPECT_EQ(tree.optionalLeaf, (Leaf{true, 2, "o"}));
  EXPECT_EQ(tree.syntax, TransferSyntax::EXS_JPEG2000);
  EXPECT_EQ(tree.note, "n");
}

TEST(KeyedCoding, TextReadsAsAViewOfTheDocument) {
  const auto document = json::parse(R"({"flag":true,"count":1,"label":"caf\u00e9"})");
  json::JsonDecoderBackend backend;
  const auto c = Decoder(backend, &document).container<LeafKeys>();
  const auto label = c.decode<std::string_view>(LeafKeys::label);
  EXPECT_EQ(label, "caf\u00e9");
  EXPECT_EQ(label.data(), document.at("label").as_string().data());
  EXPECT_EQ(c.decodeIfPresent<std::string_view>(LeafKeys::label), label);
  const auto e = capture<DecodingError>([&] { c.decode<std::string_view>(LeafKeys::count); });
  EXPECT_EQ(e.kind(), DecodingError::Kind::typeMismatch);
  EXPECT_EQ(e.expectedType(), "String");
  EXPECT_EQ(e.codingPath(), keys({"count"}));
}

TEST(KeyedCoding, AnEmptyNestedContainerReadsBackPresentAndEmpty) {
  const auto document = json::toDocument(Tree{});
  ASSERT_TRUE(document.as_object().at("group").is_object());
  EXPECT_TRUE(document.as_object().at("group").as_object().empty());
  json::JsonDecoderBackend backend;
  Decoder decoder(backend, &document);
  auto c = decoder.container<TreeKeys>();
  auto group = c.nestedContainer<GroupKeys>(TreeKeys::group);
  EXPECT_TRUE(group.allKeys().empty());
  EXPECT_EQ(group.codingPath(), keys({"group"}));
  EXPECT_EQ(c.allKeys(), (std::vector<TreeKeys>{TreeKeys::leaf, TreeKeys::syntax, TreeKeys::group}));
}

// Each failing document, the error it must raise and where.
struct Failure {
  const char* name;
  const char* json;
  DecodingError::Kind kind;
  CodingPath path;
};

void PrintTo(const Failure& f, std::ostream* os) { *os << f.name; }

class KeyedCodingFailure : public testing::TestWithParam<Failure> {};

TEST_P(KeyedCodingFailure, RaisesTheFirstErrorUnchangedWithItsPath) {
  const auto& f = GetParam();
  const auto e = capture<DecodingError>([&] { json::decode<Tree>(f.json); });
  EXPECT_EQ(e.kind(), f.kind) << e.what();
  EXPECT_EQ(e.codingPath(), f.path) << e.what();
  EXPECT_FALSE(e.context().underlyingError);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, KeyedCodingFailure,
    testing::Values(
        Failure{"missingNested", R"({"syntax":2,"group":{}})", DecodingError::Kind::keyNotFound, {}},
        Failure{"twoLevelsDown", R"({"leaf":{"flag":true},"syntax":2,"group":{}})",
                DecodingError::Kind::keyNotFound, keys({"leaf"})},
        Failure{"optionalTwoLevelsDown",
                R"({"leaf":{"flag":true,"count":1},"optionalLeaf":{"flag":true,"count":"1"},"syntax":2,"group":{}})",
                DecodingError::Kind::typeMismatch, keys({"optionalLeaf", "count"})},
        Failure{"realForInteger", R"({"leaf":{"flag":true,"count":1.0},"syntax":2,"group":{}})",
                DecodingError::Kind::typeMismatch, keys({"leaf", "count"})},
        Failure{"exponentForInteger", R"({"leaf":{"flag":true,"count":1e3},"syntax":2,"group":{}})",
                DecodingError::Kind::typeMismatch, keys({"leaf", "count"})},
        Failure{"boolForInteger", R"({"leaf":{"flag":true,"count":true},"syntax":2,"group":{}})",
                DecodingError::Kind::typeMismatch, keys({"leaf", "count"})},
        Failure{"integerForBool", R"({"leaf":{"flag":1,"count":1},"syntax":2,"group":{}})",
                DecodingError::Kind::typeMismatch, keys({"leaf", "flag"})},
        Failure{"beyondInt64", R"({"leaf":{"flag":true,"count":9223372036854775808},"syntax":2,"group":{}})",
                DecodingError::Kind::dataCorrupted, keys({"leaf", "count"})},
        Failure{"farBeyondInt64",
                R"({"leaf":{"flag":true,"count":123456789012345678901234567890},"syntax":2,"group":{}})",
                DecodingError::Kind::typeMismatch, keys({"leaf", "count"})},
        Failure{"unknownCode", R"({"leaf":{"flag":true,"count":1},"syntax":42,"group":{}})",
                DecodingError::Kind::dataCorrupted, keys({"syntax"})},
        Failure{"codeAsText", R"({"leaf":{"flag":true,"count":1},"syntax":"2","group":{}})",
                DecodingError::Kind::typeMismatch, keys({"syntax"})},
        Failure{"nestedNotKeyed", R"({"leaf":{"flag":true,"count":1},"syntax":2,"group":[]})",
                DecodingError::Kind::typeMismatch, keys({"group"})},
        Failure{"nestedNull", R"({"leaf":{"flag":true,"count":1},"syntax":2,"group":null})",
                DecodingError::Kind::valueNotFound, keys({"group"})},
        Failure{"topNotKeyed", R"([1,2])", DecodingError::Kind::typeMismatch, {}},
        Failure{"topNull", R"(null)", DecodingError::Kind::valueNotFound, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(KeyedCoding, ErrorsCarryAnArrayPositionGivenByTheCaller) {
  const auto document = json::parse(R"([{"leaf":{"flag":true,"count":1},"syntax":2,"group":{}},{"syntax":2}])");
  const auto& array = document.as_array();
  EXPECT_NO_THROW(json::fromDocument<Tree>(array[0], CodingPathLink(nullptr, std::int64_t{0})));
  const auto e = capture<DecodingError>(
      [&] { json::fromDocument<Tree>(array[1], CodingPathLink(nullptr, std::int64_t{1})); });
  EXPECT_EQ(describe(e.codingPath()), "$[1]");
  EXPECT_STREQ(e.what(), R"(keyNotFound at $[1]: No value associated with key "leaf".)");
}

TEST(KeyedCoding, TextThatIsNotUtf8CannotBeWrittenAndNamesThePath) {
  Tree tree;
  tree.optionalLeaf = Leaf{true, 1, std::string("bad \xC3\x28 text")};
  const auto e = capture<EncodingError>([&] { json::encode(tree); });
  EXPECT_EQ(e.codingPath(), keys({"optionalLeaf", "label"}));
  EXPECT_EQ(e.kindName(), "invalidValue");
}

TEST(KeyedCoding, WritingHasNoRollback) {
  Tree tree;
  tree.leaf.label = std::string("\xFF");
  boost::json::value document;
  json::JsonEncoderBackend backend;
  Encoder encoder(backend, &document);
  EXPECT_THROW(telvor::encode(tree, encoder), EncodingError);
  // The leaf's flag and count were written before its label failed; nothing later was.
  EXPECT_EQ(json::serialize(document), R"({"leaf":{"flag":false,"count":0}})");
}

TEST(KeyedCoding, KeysHaveNamesButNoIntegers) {
  EXPECT_EQ(stringValue(TreeKeys::optionalLeaf), "optionalLeaf");
  EXPECT_EQ(fromStringValue<TreeKeys>("group"), TreeKeys::group);
  EXPECT_FALSE(fromStringValue<TreeKeys>("Group").has_value());
  EXPECT_FALSE(fromStringValue<TreeKeys>("group ").has_value());
  EXPECT_FALSE(intValue(TreeKeys::leaf).has_value());
  EXPECT_FALSE(fromIntValue<TreeKeys>(0).has_value());
}

}  // namespace
}  // namespace telvor
