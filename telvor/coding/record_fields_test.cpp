// What records derive from their field tables, on small records of the tests' own.
#include "telvor/coding/record_fields.hpp"

#include <gtest/gtest.h>

#include "support/coding_support.hpp"
#include "support/described_records.hpp"
#include "support/memory_format.hpp"

namespace telvor {
namespace {

using namespace testing_support;

Panel panel(std::optional<std::string> name, std::string note = "", std::optional<Dial> dial = std::nullopt) {
  Panel p;
  p.name = std::move(name);
  p.note = std::move(note);
  p.dial = dial;
  return p;
}

TEST(RecordFields, CodedFormFollowsTheTable) {
  Panel p = panel("A", "n", Dial{{}, true, 7});
  EXPECT_EQ(show(toValue(p)), R"({"name":"A","note":"n","dial":{"lit":true,"level":7}})");
  EXPECT_EQ(roundTrip(p), p);
  // Optional rows may be missing; the others are required, and their errors name the row.
  EXPECT_EQ(fromValue<Panel>(keyed({{"note", ""}})), panel(std::nullopt));
  const auto e = capture<DecodingError>([] { fromValue<Panel>(keyed({{"dial", keyed({{"lit", true}})}, {"note", ""}})); });
  EXPECT_EQ(e.kind(), DecodingError::Kind::keyNotFound);
  EXPECT_EQ(e.context().codingPath, keyPath({"dial"}));
}

TEST(RecordFields, EqualityComparesTextsCanonicallyAndAbsenceStrictly) {
  const struct {
    Panel a, b;
    bool equal;
  } cases[] = {
      {panel("\u00e9"), panel("e\u0301"), true},            // optional text, canonically
      {panel("x", "\u00e9"), panel("x", "e\u0301"), true},  // plain text, canonically
      {panel("A"), panel("a"), false},
      {panel(std::nullopt), panel(""), false},              // absent is not empty
      {panel("A", "", Dial{}), panel("A"), false},          // nested record absent on one side
      {panel("A", "", Dial{{}, false, 1}), panel("A", "", Dial{}), false},
  };
  for (const auto& c : cases) EXPECT_EQ(fieldsEqual(c.a, c.b), c.equal) << show(toValue(c.a)) << show(toValue(c.b));
}

TEST(RecordFields, WithFieldsTakesExactlyTheSet) {
  using Set = FieldSet<Panel>;
  const Panel source = panel("S", "source", Dial{{}, true, 9});
  const Panel target = panel("T", "target");
  const struct {
    const char* what;
    Set set;
    Panel from, into, expected;
  } cases[] = {
      {"one field", Set::of(&Panel::name), source, target, panel("S", "target")},
      {"whole record", Set::of(&Panel::dial), source, target, panel("T", "target", Dial{{}, true, 9})},
      {"whole record, absent", Set::of(&Panel::dial), target, source, panel("S", "source")},
      // A nested field alone: the target gets a default record to hold it ...
      {"nested field", Set::nested(&Panel::dial, &Dial::lit), source, target, panel("T", "target", Dial{{}, true, 0})},
      // ... but a source without the record gives nothing.
      {"nested field, absent", Set::nested(&Panel::dial, &Dial::lit), target, source, source},
      {"nothing", Set{}, source, target, target},
  };
  for (const auto& c : cases) EXPECT_EQ(withFields(c.into, c.from, c.set), c.expected) << c.what;
}

}  // namespace
}  // namespace telvor
