// Records described once: each record lists its fields in a table, and what goes field by
// field (the coded form's keys and entries, equality, reports of differences, sets of
// fields, rows for people) is derived from that table rather than written out again.
//
//   struct Peer { std::optional<std::string> name; bool secure = false; };
//   template <> struct telvor::FieldTable<Peer> {
//     static constexpr std::tuple fields{
//         telvor::field("name", "Name", &Peer::name),
//         telvor::field("secure", "Secure", &Peer::secure)};
//   };
//   telvor::fieldsEqual(a, b);            // field by field, texts by canonical equivalence
//   telvor::forEachField<Peer>([](const auto& f) { std::cout << f.key; });
//
// A table lists every stored field, in declaration order; the order is the coded form's
// key order. Keys and labels are views of static storage. A record whose fields include
// another described record (directly or as an optional) has that record's fields below
// the field's own row: nested paths ("tlsSettings.isEnabled") and flat positions count
// them. record_fields_coding.hpp derives the keyed coded form.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "telvor/coding/text.hpp"

namespace telvor {

// What a field's value is to those who show or report it.
enum class FieldRole : std::uint8_t {
  plain,
  identity,  // an identifier of the record itself: no other system carries it
  secret,    // never shown, only whether it is set
  url,       // a URL, whose user information may hold a password
};

// One row of a record's table: the field's key in the coded form, its label for people,
// and the member that holds it.
template <class Record, class T>
struct Field {
  using record_type = Record;
  using value_type = T;

  std::string_view key;
  std::string_view label;
  T Record::*member;
  FieldRole role = FieldRole::plain;

  constexpr const T& of(const Record& record) const noexcept { return record.*member; }
  constexpr T& of(Record& record) const noexcept { return record.*member; }
};

template <class Record, class T>
constexpr Field<Record, T> field(std::string_view key, std::string_view label, T Record::*member,
                                 FieldRole role = FieldRole::plain) noexcept {
  return {key, label, member, role};
}

// Specialise for each described record R, after R is complete, with
//   static constexpr std::tuple fields{field(...), ...};   // every stored field, in order
template <class Record>
struct FieldTable;

template <class R>
concept DescribedRecord = requires { std::tuple_size<std::remove_const_t<decltype(FieldTable<R>::fields)>>::value; };

template <DescribedRecord R>
inline constexpr std::size_t fieldCount = std::tuple_size_v<std::remove_const_t<decltype(FieldTable<R>::fields)>>;

namespace detail {
template <class T>
struct OptionalOf {
  using type = void;
};
template <class T>
struct OptionalOf<std::optional<T>> {
  using type = T;
};
}  // namespace detail

// The described record a field of type T holds, directly or as an optional; void when none.
template <class T>
using NestedRecordOf = std::conditional_t<
    DescribedRecord<T>, T,
    std::conditional_t<DescribedRecord<typename detail::OptionalOf<T>::type>, typename detail::OptionalOf<T>::type,
                       void>>;

template <class T>
inline constexpr bool holdsRecord = !std::is_void_v<NestedRecordOf<T>>;

// Calls `visit(field)` for each row of R's table, in order.
template <DescribedRecord R, class Visit>
constexpr void forEachField(Visit&& visit) {
  std::apply([&](const auto&... f) { (visit(f), ...); }, FieldTable<R>::fields);
}

// Whether `test(field)` holds for every row, asked in order and stopping at the first that fails.
template <DescribedRecord R, class Test>
constexpr bool allFields(Test&& test) {
  return std::apply([&](const auto&... f) { return (test(f) && ...); }, FieldTable<R>::fields);
}

// The coded form's keys of R, in order.
template <DescribedRecord R>
constexpr std::array<std::string_view, fieldCount<R>> fieldKeys() noexcept {
  return std::apply([](const auto&... f) { return std::array<std::string_view, fieldCount<R>>{f.key...}; },
                    FieldTable<R>::fields);
}

// Two field values as records compare them: texts by canonical equivalence, absent never
// equal to present, everything else by its own equality.
template <class T>
bool fieldValuesEqual(const T& a, const T& b) noexcept {
  if constexpr (std::is_same_v<T, std::string>) {
    return textEquals(a, b);
  } else if constexpr (std::is_same_v<T, std::optional<std::string>>) {
    if (a.has_value() != b.has_value()) return false;
    return !a || textEquals(*a, *b);
  } else {
    return a == b;
  }
}

// Every field equal, compared in table order and stopping at the first difference.
template <DescribedRecord R>
bool fieldsEqual(const R& a, const R& b) noexcept {
  return allFields<R>([&](const auto& f) { return fieldValuesEqual(f.of(a), f.of(b)); });
}

// How many positions R's fields take when nested records count their own fields too.
template <DescribedRecord R>
constexpr std::size_t flatFieldCount() noexcept {
  std::size_t count = 0;
  forEachField<R>([&](const auto& f) {
    using T = typename std::remove_cvref_t<decltype(f)>::value_type;
    count += 1;
    if constexpr (holdsRecord<T>) count += flatFieldCount<NestedRecordOf<T>>();
  });
  return count;
}

// The position of the field `member` of R, counting nested fields (depth first, a record's
// row before its own fields). Does not compile for a member with no row.
template <DescribedRecord R, class T>
consteval std::size_t fieldPosition(T R::*member) {
  std::size_t position = 0;
  bool found = false;
  forEachField<R>([&](const auto& f) {
    using V = typename std::remove_cvref_t<decltype(f)>::value_type;
    if (found) return;
    if constexpr (std::is_same_v<V, T>) {
      if (f.member == member) {
        found = true;
        return;
      }
    }
    position += 1;
    if constexpr (holdsRecord<V>) position += flatFieldCount<NestedRecordOf<V>>();
  });
  if (!found) throw std::logic_error("the member has no row in the record's field table");
  return position;
}

// The position of `inner`, a field of the record that R's field `outer` holds.
template <DescribedRecord R, class T, class N, class U>
  requires std::is_same_v<NestedRecordOf<T>, N>
consteval std::size_t fieldPosition(T R::*outer, U N::*inner) {
  return fieldPosition(outer) + 1 + fieldPosition(inner);
}

// The label of the field `member` of R. Does not compile for a member with no row.
template <DescribedRecord R, class T>
consteval std::string_view fieldLabel(T R::*member) {
  std::string_view label;
  forEachField<R>([&](const auto& f) {
    if constexpr (std::is_same_v<typename std::remove_cvref_t<decltype(f)>::value_type, T>)
      if (f.member == member) label = f.label;
  });
  if (label.empty()) throw std::logic_error("the member has no row in the record's field table");
  return label;
}

// A set of R's fields, nested fields included, by position: what a format carries, what
// an update takes over. Whole records are members of their own; a record's field alone
// does not stand for the record.
template <DescribedRecord R>
class FieldSet {
  static_assert(flatFieldCount<R>() <= 64, "a field set holds at most 64 positions");

 public:
  constexpr FieldSet() noexcept = default;

  // The set of the given fields of R.
  template <class... T>
  static consteval FieldSet of(T R::*... members) {
    FieldSet set;
    ((set.bits_ |= bit(fieldPosition(members))), ...);
    return set;
  }
  // The set holding one field of a record that R holds.
  template <class T, class N, class U>
  static consteval FieldSet nested(T R::*outer, U N::*inner) {
    FieldSet set;
    set.bits_ = bit(fieldPosition(outer, inner));
    return set;
  }

  constexpr bool contains(std::size_t position) const noexcept { return position < 64 && (bits_ & bit(position)); }
  // Whether any position in [first, first + count) is in the set.
  constexpr bool touches(std::size_t first, std::size_t count) const noexcept {
    for (std::size_t p = first; p < first + count; ++p)
      if (contains(p)) return true;
    return false;
  }

  friend constexpr FieldSet operator|(FieldSet a, FieldSet b) noexcept {
    a.bits_ |= b.bits_;
    return a;
  }
  friend constexpr bool operator==(FieldSet, FieldSet) = default;

 private:
  static constexpr std::uint64_t bit(std::size_t position) noexcept { return std::uint64_t{1} << position; }
  std::uint64_t bits_ = 0;
};

namespace detail {
template <DescribedRecord R, DescribedRecord S>
void copyFieldsAt(R& target, const R& source, const FieldSet<S>& set, std::size_t first) {
  std::size_t position = first;
  forEachField<R>([&](const auto& f) {
    using T = typename std::remove_cvref_t<decltype(f)>::value_type;
    const std::size_t here = position++;
    if (set.contains(here)) {
      f.of(target) = f.of(source);
    } else if constexpr (holdsRecord<T>) {
      using N = NestedRecordOf<T>;
      if (set.touches(position, flatFieldCount<N>())) {
        if constexpr (std::is_same_v<T, N>) {
          copyFieldsAt(f.of(target), f.of(source), set, position);
        } else if (f.of(source)) {
          // The source's record stands over the target's; a target without one starts from the default.
          if (!f.of(target)) f.of(target) = N();
          copyFieldsAt(*f.of(target), *f.of(source), set, position);
        }
      }
    }
    if constexpr (holdsRecord<T>) position += flatFieldCount<NestedRecordOf<T>>();
  });
}
}  // namespace detail

// `target` with the fields in `set` taken from `source`; everything else kept. A field of
// a nested optional record is taken only when `source` has the record.
template <DescribedRecord R>
R withFields(R target, const R& source, const FieldSet<R>& set) {
  detail::copyFieldsAt(target, source, set, 0);
  return target;
}

// Calls `visit(path, field, given, carried)` for each field whose values differ, fields
// of nested records by their own rows with "outer.inner" paths; `identity` fields are
// left out. Values compare by their own equality, texts byte for byte. When only one
// side has a nested optional record, the record's own row is visited and not its fields.
template <DescribedRecord R, class Visit>
void forEachDifference(const R& given, const R& carried, Visit&& visit, const std::string& prefix = {}) {
  forEachField<R>([&](const auto& f) {
    using T = typename std::remove_cvref_t<decltype(f)>::value_type;
    if (f.role == FieldRole::identity) return;
    const std::string path = prefix + std::string(f.key);
    const T& a = f.of(given);
    const T& b = f.of(carried);
    if constexpr (holdsRecord<T>) {
      if constexpr (std::is_same_v<T, NestedRecordOf<T>>) {
        forEachDifference(a, b, visit, path + '.');
      } else {
        if (a.has_value() != b.has_value()) visit(std::string_view(path), f, a, b);
        else if (a) forEachDifference(*a, *b, visit, path + '.');
      }
    } else {
      if (!(a == b)) visit(std::string_view(path), f, a, b);
    }
  });
}

}  // namespace telvor
