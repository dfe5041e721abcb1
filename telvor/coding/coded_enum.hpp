// Coded enumerations: closed sets of named cases, each carrying a fixed integer code.
//
// Every vocabulary of the library (transfer syntaxes, retrieve modes, TLS profiles, ...)
// is an `enum class` whose enumerator values are its codes, described once by a
// constexpr table in a specialisation of `EnumTraits`. The operations below are generic
// over that table; an operation the enumeration does not offer does not compile.
//
//   auto ts = telvor::fromRawValue<telvor::TransferSyntax>(2);   // EXS_LittleEndianExplicit
//   std::string_view t = telvor::title(*ts);                    // "Explicit VR Little Endian"
//   for (auto c : telvor::allCases<telvor::TransferSyntax>()) { ... }
//
// Codes are what is persisted, never positions or titles: `rawValue` and `fromRawValue`
// go by code, `allCases` keeps declaration order.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

namespace telvor {

// The operations an enumeration offers beyond rawValue, fromRawValue, equality and
// hashing (which every coded enumeration has).
struct EnumFeatures {
  bool allCases = false;
  bool id = false;
  bool title = false;
  bool codable = false;
};

// One row of an enumeration's table: the case, its title (left empty by an enumeration
// without titles) and, where the vocabulary has one, a further fact about the case
// (a transfer syntax's UID, the transfer syntax a WADO syntax stands for).
struct NoFact {};
template <class E, class Fact = NoFact>
struct EnumRow {
  E value;
  std::string_view title{};
  Fact fact{};
};

// The rows of an enumeration without titles or further facts: its cases in order.
template <class E, std::same_as<E>... Es>
constexpr std::array<EnumRow<E>, 1 + sizeof...(Es)> casesOnly(E first, Es... rest) noexcept {
  return {{EnumRow<E>{first}, EnumRow<E>{rest}...}};
}

// Specialise for each enumeration E with:
//   static constexpr std::string_view name;        // "TransferSyntax"
//   static constexpr EnumFeatures features;
//   static constexpr std::array<EnumRow<E, ...>, N> rows;   // declaration order
template <class E>
struct EnumTraits;

template <class E>
concept CodedEnum = std::is_enum_v<E> && requires {
  { EnumTraits<E>::name } -> std::convertible_to<std::string_view>;
  EnumTraits<E>::features;
  EnumTraits<E>::rows;
};

template <class E>
concept EnumWithAllCases = CodedEnum<E> && EnumTraits<E>::features.allCases;
template <class E>
concept EnumWithId = CodedEnum<E> && EnumTraits<E>::features.id;
template <class E>
concept EnumWithTitle = CodedEnum<E> && EnumTraits<E>::features.title;
template <class E>
concept CodableEnum = CodedEnum<E> && EnumTraits<E>::features.codable;

namespace detail {

template <CodedEnum E>
using Code = std::underlying_type_t<E>;

// How a code finds its position, worked out once at compile time from the table:
// contiguous ascending codes are a bounds test; anything else goes through a dense
// inverse table spanning the smallest to the largest code.
template <CodedEnum E>
struct EnumIndex {
  static constexpr auto& rows = EnumTraits<E>::rows;
  static constexpr std::size_t count = rows.size();

  static constexpr Code<E> code(std::size_t position) { return static_cast<Code<E>>(rows[position].value); }

  static constexpr bool contiguous = [] {
    for (std::size_t i = 1; i < count; ++i)
      if (code(i) != code(0) + static_cast<Code<E>>(i)) return false;
    return true;
  }();

  static constexpr Code<E> minCode = [] {
    Code<E> m = code(0);
    for (std::size_t i = 1; i < count; ++i) m = code(i) < m ? code(i) : m;
    return m;
  }();

  static constexpr Code<E> maxCode = [] {
    Code<E> m = code(0);
    for (std::size_t i = 1; i < count; ++i) m = code(i) > m ? code(i) : m;
    return m;
  }();

  // Each code belongs to one case; a repeated code would make the lookup lie.
  static constexpr bool distinct = [] {
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t j = i + 1; j < count; ++j)
        if (code(i) == code(j)) return false;
    return true;
  }();
  static_assert(distinct, "no two cases of a coded enumeration may share a code");

  static constexpr std::size_t span = contiguous ? 1 : static_cast<std::size_t>(maxCode - minCode) + 1;
  static_assert(count < 127 && span <= 4096, "a coded enumeration's codes must lie close together");

  // inverse[code - minCode] is the position of that code, or -1 where no case has it.
  static constexpr std::array<std::int8_t, span> inverse = [] {
    std::array<std::int8_t, span> table{};
    if constexpr (!contiguous) {
      for (auto& slot : table) slot = -1;
      for (std::size_t i = 0; i < count; ++i)
        table[static_cast<std::size_t>(code(i) - minCode)] = static_cast<std::int8_t>(i);
    }
    return table;
  }();

  // The position of a code, or count when no case has it. Computed in unsigned
  // arithmetic so that no code, however large or small, overflows.
  static constexpr std::size_t positionOf(Code<E> c) noexcept {
    using U = std::make_unsigned_t<Code<E>>;
    if constexpr (contiguous) {
      const U offset = static_cast<U>(static_cast<U>(c) - static_cast<U>(code(0)));
      return offset < count ? static_cast<std::size_t>(offset) : count;
    } else {
      const U offset = static_cast<U>(static_cast<U>(c) - static_cast<U>(minCode));
      if (offset >= span) return count;
      const std::int8_t p = inverse[static_cast<std::size_t>(offset)];
      return p < 0 ? count : static_cast<std::size_t>(p);
    }
  }

  static constexpr std::array<E, count> cases = [] {
    std::array<E, count> all{};
    for (std::size_t i = 0; i < count; ++i) all[i] = rows[i].value;
    return all;
  }();
};

}  // namespace detail

// Whether the codes are the positions 0, 1, 2, ... in declaration order, so that a stored
// code is an index and fromRawValue a bounds test. A vocabulary whose stored codes must
// stay positions asserts it beside its table.
template <CodedEnum E>
inline constexpr bool codesArePositions = detail::EnumIndex<E>::contiguous && detail::EnumIndex<E>::code(0) == 0;

// The case's code. Total, constant-time.
template <CodedEnum E>
constexpr detail::Code<E> rawValue(E value) noexcept {
  return static_cast<detail::Code<E>>(value);
}

// The case whose code is `code`, or absent for every other integer. The integer is
// compared by value, never narrowed: 65536 + 53 is no KeyBoardKeyCode, though its low 16
// bits are escape's code. Constant-time and allocation-free.
template <CodedEnum E, std::integral I>
  requires(!std::same_as<I, bool>)
constexpr std::optional<E> fromRawValue(I code) noexcept {
  using Index = detail::EnumIndex<E>;
  if (!std::in_range<detail::Code<E>>(code)) return std::nullopt;
  const std::size_t p = Index::positionOf(static_cast<detail::Code<E>>(code));
  if (p == Index::count) return std::nullopt;
  return Index::rows[p].value;
}

// Every case once, in declaration order. A view of static storage; never allocates.
template <EnumWithAllCases E>
constexpr std::span<const E> allCases() noexcept {
  return detail::EnumIndex<E>::cases;
}

// The identifier used by lists and pickers: the code as a signed 64-bit integer.
template <EnumWithId E>
constexpr std::int64_t id(E value) noexcept {
  return static_cast<std::int64_t>(rawValue(value));
}

// The case's fixed English display text, a view of static storage. A value made by
// static_cast from a code that no case has is not a case and has the empty text; check
// such values with fromRawValue(rawValue(e)) where they can arise.
template <EnumWithTitle E>
constexpr std::string_view title(E value) noexcept {
  using Index = detail::EnumIndex<E>;
  const std::size_t p = Index::positionOf(rawValue(value));
  return p == Index::count ? std::string_view{} : std::string_view{Index::rows[p].title};
}

// The hash of a case is the hash of its code alone (std::hash of the code type), so it
// matches std::hash<E> and never depends on the position.
template <CodedEnum E>
constexpr std::size_t hashValue(E value) noexcept {
  return std::hash<detail::Code<E>>{}(rawValue(value));
}

// The name of the code type as diagnostics spell it ("Int64", "UInt16").
template <CodedEnum E>
constexpr std::string_view codeTypeName() noexcept {
  using C = detail::Code<E>;
  if constexpr (std::is_same_v<C, std::uint16_t>) return "UInt16";
  else if constexpr (std::is_same_v<C, std::int64_t>) return "Int64";
  else static_assert(sizeof(C) == 0, "coded enumerations use Int64 or UInt16 codes");
}

}  // namespace telvor
