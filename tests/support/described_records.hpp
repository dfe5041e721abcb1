// Small records of the tests' own, described by field tables: a panel with a secret and
// an optional nested dial, and the same panel grown by one field added to its table.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "telvor/coding/record_fields_coding.hpp"

namespace telvor::testing_support {

// Coded form and equality from the record's table, defined once the table exists.
template <class R>
struct FromTable {
  void encode(Encoder& e) const;
  static R decode(const Decoder& d);
};

struct Dial : FromTable<Dial> {
  bool lit = false;
  std::int64_t level = 0;
};

struct Panel : FromTable<Panel> {
  std::optional<std::string> name;
  std::string note;
  std::optional<std::string> token;
  std::optional<Dial> dial;
};

// Panel and one member more, which only its row in the table makes a field.
struct GrownPanel : FromTable<GrownPanel> {
  std::optional<std::string> name;
  std::string note;
  std::optional<std::string> token;
  std::optional<Dial> dial;
  std::optional<std::string> owner;
};

}  // namespace telvor::testing_support

template <>
struct telvor::FieldTable<telvor::testing_support::Dial> {
  using Dial = testing_support::Dial;
  static constexpr std::tuple fields{field("lit", "Lit", &Dial::lit), field("level", "Level", &Dial::level)};
};

template <>
struct telvor::FieldTable<telvor::testing_support::Panel> {
  using Panel = testing_support::Panel;
  static constexpr std::tuple fields{
      field("name", "Name", &Panel::name),
      field("note", "Note", &Panel::note),
      field("token", "Token", &Panel::token, FieldRole::secret),
      field("dial", "dial", &Panel::dial),
  };
};

template <>
struct telvor::FieldTable<telvor::testing_support::GrownPanel> {
  using Panel = testing_support::GrownPanel;
  static constexpr std::tuple fields{
      field("name", "Name", &Panel::name),
      field("note", "Note", &Panel::note),
      field("token", "Token", &Panel::token, FieldRole::secret),
      field("dial", "dial", &Panel::dial),
      field("owner", "Owner", &Panel::owner),  // the added field: this row is all it takes
  };
};

namespace telvor::testing_support {

template <class R>
void FromTable<R>::encode(Encoder& e) const {
  encodeFields(static_cast<const R&>(*this), e);
}
template <class R>
R FromTable<R>::decode(const Decoder& d) {
  R record;
  decodeFields(d, record);
  return record;
}
template <class R>
  requires DescribedRecord<R>
bool operator==(const R& a, const R& b) noexcept {
  return fieldsEqual(a, b);
}

}  // namespace telvor::testing_support
