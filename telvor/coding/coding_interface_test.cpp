// The coding interface's rules, whatever the format: exercised through the in-memory
// format with small test records.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/coding_support.hpp"
#include "support/memory_format.hpp"
#include "telvor/vocabulary/association_number_type.hpp"
#include "telvor/vocabulary/key_board_key_code.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {
namespace {

using namespace testing_support;
using Kind = DecodingError::Kind;

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

enum class TreeKeys { leaf, optionalLeaf, syntax, group, leaves, grid };
constexpr std::array<std::string_view, 6> codingKeyNames(TreeKeys) {
  return {"leaf", "optionalLeaf", "syntax", "group", "leaves", "grid"};
}
enum class GroupKeys { note };
constexpr std::array<std::string_view, 1> codingKeyNames(GroupKeys) { return {"note"}; }

struct Tree {
  Leaf leaf;
  std::optional<Leaf> optionalLeaf;
  TransferSyntax syntax = TransferSyntax::EXS_Unknown;
  std::optional<std::string> note;  // inside the nested "group" container
  std::vector<Leaf> leaves;
  std::vector<std::vector<std::int64_t>> grid;

  void encode(Encoder& encoder) const {
    auto c = encoder.container<TreeKeys>();
    c.encode(leaf, TreeKeys::leaf);
    c.encodeIfPresent(optionalLeaf, TreeKeys::optionalLeaf);
    c.encode(syntax, TreeKeys::syntax);
    auto group = c.nestedContainer<GroupKeys>(TreeKeys::group);
    group.encodeIfPresent(note, GroupKeys::note);
    c.encode(leaves, TreeKeys::leaves);
    c.encode(grid, TreeKeys::grid);
  }
  static Tree decode(const Decoder& decoder) {
    auto c = decoder.container<TreeKeys>();
    Tree tree;
    tree.leaf = c.decode<Leaf>(TreeKeys::leaf);
    tree.optionalLeaf = c.decodeIfPresent<Leaf>(TreeKeys::optionalLeaf);
    tree.syntax = c.decode<TransferSyntax>(TreeKeys::syntax);
    tree.note = c.nestedContainer<GroupKeys>(TreeKeys::group).decodeIfPresent<std::string>(GroupKeys::note);
    tree.leaves = c.decode<std::vector<Leaf>>(TreeKeys::leaves);
    tree.grid = c.decode<std::vector<std::vector<std::int64_t>>>(TreeKeys::grid);
    return tree;
  }
  friend bool operator==(const Tree&, const Tree&) = default;
};

// A complete, valid tree document to damage one entry at a time.
const Value kTree = keyed({{"leaf", keyed({{"flag", true}, {"count", 1}})},
                           {"syntax", 2},
                           {"group", keyed({})},
                           {"leaves", array({keyed({{"flag", false}, {"count", 2}}), keyed({{"flag", true}, {"count", 3}})})},
                           {"grid", array({array({1, 2}), array({})})}});

TEST(CodingInterface, WritesKeysInCodedOrderAndLeavesAbsentOptionalsOut) {
  Tree tree;
  tree.leaf = {true, -7, std::nullopt};
  tree.syntax = TransferSyntax::EXS_JPEG2000;
  tree.leaves = {Leaf{false, 1, "a"}};
  tree.grid = {{1}, {}};
  EXPECT_EQ(show(toValue(tree)),
            R"({"leaf":{"flag":true,"count":-7},"syntax":27,"group":{},"leaves":[{"flag":false,"count":1,"label":"a"}],)"
            R"("grid":[[1],[]]})");
}

TEST(CodingInterface, RoundTripsPresentAndAbsentValues) {
  Tree full{{true, std::numeric_limits<std::int64_t>::min(), ""},
            Leaf{false, std::numeric_limits<std::int64_t>::max(), "caf\u00e9"},
            TransferSyntax::EXS_PrivateGE_LEI_WithBigEndianPixelData,
            "note",
            {Leaf{}, Leaf{true, 5, "x"}},
            {{}, {1, 2, 3}}};
  EXPECT_EQ(roundTrip(full), full);
  EXPECT_EQ(roundTrip(Tree{}), Tree{});
  const std::vector<bool> flags{true, false, true};
  EXPECT_EQ(roundTrip(flags), flags);
  const std::vector<std::string> texts{"", "a"};
  EXPECT_EQ(roundTrip(texts), texts);
}

TEST(CodingInterface, NullIsAbsentForDecodeIfPresentAndValueNotFoundForDecode) {
  Value v = with(with(kTree, {"optionalLeaf"}, null()), {"group", "note"}, null());
  v = with(v, {"leaf", "label"}, null());
  const auto tree = fromValue<Tree>(v);
  EXPECT_FALSE(tree.leaf.label || tree.optionalLeaf || tree.note);
}

TEST(CodingInterface, IgnoresUnknownKeysAndKeysDifferingInLetterCase) {
  Value v = with(with(kTree, {"Leaf"}, 5), {"leaf", "Label"}, "x");
  v = with(with(v, {"leaf", "extra"}, array({1})), {"more"}, other("a real number"));
  const auto tree = fromValue<Tree>(v);
  EXPECT_FALSE(tree.leaf.label.has_value());

  MemoryDecoderBackend backend;
  const auto c = Decoder(backend, &v).container<TreeKeys>();
  EXPECT_EQ(c.allKeys(),
            (std::vector<TreeKeys>{TreeKeys::leaf, TreeKeys::syntax, TreeKeys::group, TreeKeys::leaves, TreeKeys::grid}));
}

TEST(CodingInterface, AnEmptyNestedContainerReadsBackPresentAndEmpty) {
  const Value v = toValue(Tree{});
  MemoryDecoderBackend backend;
  auto c = Decoder(backend, &v).container<TreeKeys>();
  auto group = c.nestedContainer<GroupKeys>(TreeKeys::group);
  EXPECT_TRUE(group.allKeys().empty());
  EXPECT_EQ(group.codingPath(), keyPath({"group"}));
}

// Each damaged document, the error it must raise and where.
struct Failure {
  const char* name;
  Value document;
  Kind kind;
  const char* path;
};

void PrintTo(const Failure& f, std::ostream* os) { *os << f.name; }

class CodingInterfaceFailure : public testing::TestWithParam<Failure> {};

TEST_P(CodingInterfaceFailure, RaisesTheFirstErrorUnchangedWithItsPath) {
  const auto& f = GetParam();
  const auto e = capture<DecodingError>([&] { fromValue<Tree>(f.document); });
  EXPECT_EQ(e.kind(), f.kind) << e.what();
  EXPECT_EQ(describe(e.codingPath()), f.path) << e.what();
  EXPECT_FALSE(e.context().underlyingError);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, CodingInterfaceFailure,
    testing::Values(
        Failure{"missingKey", without(kTree, {"leaf"}), Kind::keyNotFound, "$"},
        Failure{"missingTwoLevelsDown", without(kTree, {"leaf", "count"}), Kind::keyNotFound, "$.leaf"},
        Failure{"wrongKindInOptional", with(kTree, {"optionalLeaf"}, keyed({{"flag", true}, {"count", "1"}})),
                Kind::typeMismatch, "$.optionalLeaf.count"},
        Failure{"nullForBool", with(kTree, {"leaf", "flag"}, null()), Kind::valueNotFound, "$.leaf.flag"},
        Failure{"integerForBool", with(kTree, {"leaf", "flag"}, 1), Kind::typeMismatch, "$.leaf.flag"},
        Failure{"otherForInteger", with(kTree, {"leaf", "count"}, other("a real number")), Kind::typeMismatch,
                "$.leaf.count"},
        Failure{"beyondInt64", with(kTree, {"leaf", "count"}, beyondInt64()), Kind::dataCorrupted, "$.leaf.count"},
        Failure{"unknownCode", with(kTree, {"syntax"}, 42), Kind::dataCorrupted, "$.syntax"},
        Failure{"codeAsText", with(kTree, {"syntax"}, "2"), Kind::typeMismatch, "$.syntax"},
        Failure{"nestedNotKeyed", with(kTree, {"group"}, array({})), Kind::typeMismatch, "$.group"},
        Failure{"nestedNull", with(kTree, {"group"}, null()), Kind::valueNotFound, "$.group"},
        Failure{"arrayNotArray", with(kTree, {"leaves"}, keyed({})), Kind::typeMismatch, "$.leaves"},
        Failure{"arrayNull", with(kTree, {"leaves"}, null()), Kind::valueNotFound, "$.leaves"},
        Failure{"elementWrong", with(kTree, {"leaves"}, array({keyed({{"flag", true}, {"count", 1}}), keyed({{"flag", true}})})),
                Kind::keyNotFound, "$.leaves[1]"},
        Failure{"elementNull", with(kTree, {"leaves"}, array({null()})), Kind::valueNotFound, "$.leaves[0]"},
        Failure{"innerElement", with(kTree, {"grid"}, array({array({}), array({1, true})})), Kind::typeMismatch,
                "$.grid[1][1]"},
        Failure{"topNotKeyed", array({}), Kind::typeMismatch, "$"},
        Failure{"topNull", null(), Kind::valueNotFound, "$"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CodingInterface, UnkeyedContainersCountReadAndStopAtTheEnd) {
  const Value v = array({1, null(), keyed({{"note", "n"}}), array({true})});
  MemoryDecoderBackend backend;
  auto c = Decoder(backend, &v, CodingPathLink(nullptr, "list")).unkeyedContainer();
  EXPECT_EQ(c.count(), 4u);
  EXPECT_FALSE(c.decodeNil());
  EXPECT_EQ(c.decode<std::int64_t>(), 1);
  EXPECT_EQ(c.decodeIfPresent<std::int64_t>(), std::nullopt);  // the null, passed
  EXPECT_EQ(c.currentIndex(), 2u);
  EXPECT_EQ(capture<DecodingError>([&] { c.decode<std::int64_t>(); }).kind(), Kind::typeMismatch);
  EXPECT_EQ(c.currentIndex(), 2u);  // a failed read stays
  EXPECT_EQ(c.nestedContainer<GroupKeys>().decode<std::string>(GroupKeys::note), "n");
  auto inner = c.nestedUnkeyedContainer();
  EXPECT_EQ(describe(inner.codingPath()), "$.list[3]");
  EXPECT_TRUE(inner.decode<bool>());
  EXPECT_TRUE(c.isAtEnd() && inner.isAtEnd());
  EXPECT_EQ(c.decodeIfPresent<bool>(), std::nullopt);
  const auto e = capture<DecodingError>([&] { c.decode<bool>(); });
  EXPECT_EQ(e.kind(), Kind::valueNotFound);
  EXPECT_EQ(describe(e.codingPath()), "$.list[4]");
}

TEST(CodingInterface, UnkeyedEncodingGivesPositionsToNestedValuesAndErrors) {
  Value out;
  MemoryEncoderBackend backend;
  Encoder encoder(backend, &out);
  auto c = encoder.unkeyedContainer();
  c.encode(std::int64_t{1});
  c.encodeNil();
  c.nestedContainer<GroupKeys>().encode("n", GroupKeys::note);
  auto inner = c.nestedUnkeyedContainer();
  EXPECT_EQ(describe(inner.codingPath()), "$[3]");
  inner.encode(true);
  const auto e = capture<EncodingError>([&] { inner.encode(std::string("\xFF")); });
  EXPECT_EQ(describe(e.codingPath()), "$[3][1]");
  EXPECT_EQ(c.count(), 4u);
  EXPECT_EQ(show(out), R"([1,null,{"note":"n"},[true]])");
}

TEST(CodingInterface, WritingHasNoRollback) {
  Tree tree;
  tree.leaves = {Leaf{}, Leaf{true, 2, std::string("\xFF")}, Leaf{}};
  Value out;
  const auto e = capture<EncodingError>([&] { encodeInto(tree, out); });
  EXPECT_EQ(describe(e.codingPath()), "$.leaves[1].label");
  // Everything before the refused text stays; the text itself and what follows are not written.
  EXPECT_EQ(show(out), R"({"leaf":{"flag":false,"count":0},"syntax":-1,"group":{},)"
                       R"("leaves":[{"flag":false,"count":0},{"flag":true,"count":2}]})");
}

TEST(CodingInterface, ErrorsCarryAPositionGivenByTheCaller) {
  const auto e = capture<DecodingError>(
      [] { fromValue<Tree>(without(kTree, {"syntax"}), CodingPathLink(nullptr, std::int64_t{1})); });
  EXPECT_STREQ(e.what(), R"(keyNotFound at $[1]: No value associated with key "syntax".)");
}

TEST(CodingInterface, KeysHaveNamesButNoIntegers) {
  EXPECT_EQ(stringValue(TreeKeys::optionalLeaf), "optionalLeaf");
  EXPECT_EQ(fromStringValue<TreeKeys>("group"), TreeKeys::group);
  EXPECT_FALSE(fromStringValue<TreeKeys>("Group") || fromStringValue<TreeKeys>("group "));
  EXPECT_FALSE(intValue(TreeKeys::leaf) || fromIntValue<TreeKeys>(0));
}

// A type the test does not own made codable through the hook alone: a map coded as an
// array of [key, value] pairs.
using Counts = std::map<std::string, std::int64_t>;
}  // namespace
}  // namespace telvor

template <>
struct telvor::Coding<telvor::Counts> {
  static void encode(const Counts& counts, Encoder& encoder) {
    auto c = encoder.unkeyedContainer();
    for (const auto& [name, n] : counts) {
      auto pair = c.nestedUnkeyedContainer();
      pair.encode(name);
      pair.encode(n);
    }
  }
  static Counts decode(const Decoder& decoder) {
    auto c = decoder.unkeyedContainer();
    Counts counts;
    while (!c.isAtEnd()) {
      auto pair = c.nestedUnkeyedContainer();
      auto name = pair.decode<std::string>();
      counts[name] = pair.decode<std::int64_t>();
    }
    return counts;
  }
};

namespace telvor {
namespace {

TEST(CodingInterface, TheHookMakesAForeignTypeCodableAlsoInsideArrays) {
  static_assert(Codable<Counts> && Codable<std::vector<Counts>>);
  const std::vector<Counts> all{{{"a", 1}, {"b", 2}}, {}};
  EXPECT_EQ(show(toValue(all)), R"([[["a",1],["b",2]],[]])");
  EXPECT_EQ(roundTrip(all), all);
}

// What the containers accept is decided at compile time: a type without a coded form is
// refused by the concept checks, not by an assertion inside the body.
template <class T>
concept KeyedEncodable = requires(KeyedEncodingContainer<LeafKeys>& c, const T& v) { c.encode(v, LeafKeys::flag); };
template <class T>
concept KeyedDecodable = requires(const KeyedDecodingContainer<LeafKeys>& c) { c.template decode<T>(LeafKeys::flag); };
template <class T>
concept UnkeyedEncodable = requires(UnkeyedEncodingContainer& c, const T& v) { c.encode(v); };
template <class T>
concept UnkeyedDecodable = requires(UnkeyedDecodingContainer& c) { c.template decode<T>(); };
template <class T>
concept AllContainers = KeyedEncodable<T> && KeyedDecodable<T> && UnkeyedEncodable<T> && UnkeyedDecodable<T>;
template <class T>
concept NoContainer = !KeyedEncodable<T> && !KeyedDecodable<T> && !UnkeyedEncodable<T> && !UnkeyedDecodable<T>;

static_assert(AllContainers<bool> && AllContainers<std::int64_t> && AllContainers<std::string> &&
              AllContainers<Leaf> && AllContainers<TransferSyntax> && AllContainers<std::vector<Leaf>> &&
              AllContainers<std::vector<std::vector<std::string>>>);
static_assert(NoContainer<KeyBoardKeyCode> && NoContainer<AssociationNumberType> && NoContainer<double> &&
              NoContainer<std::vector<KeyBoardKeyCode>> && NoContainer<std::map<int, int>> &&
              NoContainer<std::optional<Leaf>>);
static_assert(!Codable<KeyBoardKeyCode> && !Codable<AssociationNumberType> && !Codable<std::vector<double>>);

// A nested container refers to its parent, so asking a temporary parent for one does not
// compile; asking one that lives on does.
template <class C>
concept NestsKeyed = requires(C&& c) { std::forward<C>(c).template nestedContainer<GroupKeys>(LeafKeys::flag); };
template <class C>
concept NestsUnkeyed = requires(C&& c) { std::forward<C>(c).nestedUnkeyedContainer(LeafKeys::flag); };
static_assert(NestsKeyed<KeyedEncodingContainer<LeafKeys>&> && !NestsKeyed<KeyedEncodingContainer<LeafKeys>>);
static_assert(NestsKeyed<KeyedDecodingContainer<LeafKeys>&> && !NestsKeyed<KeyedDecodingContainer<LeafKeys>>);
static_assert(NestsUnkeyed<KeyedEncodingContainer<LeafKeys>&> && !NestsUnkeyed<KeyedEncodingContainer<LeafKeys>>);
static_assert(NestsUnkeyed<KeyedDecodingContainer<LeafKeys>&> && !NestsUnkeyed<KeyedDecodingContainer<LeafKeys>>);
template <class C>
concept NestsFromUnkeyed = requires(C&& c) {
  std::forward<C>(c).template nestedContainer<GroupKeys>();
  std::forward<C>(c).nestedUnkeyedContainer();
};
static_assert(NestsFromUnkeyed<UnkeyedEncodingContainer&> && !NestsFromUnkeyed<UnkeyedEncodingContainer>);
static_assert(NestsFromUnkeyed<UnkeyedDecodingContainer&> && !NestsFromUnkeyed<UnkeyedDecodingContainer>);

}  // namespace
}  // namespace telvor
