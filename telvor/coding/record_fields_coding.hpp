// The keyed coded form of a described record (record_fields.hpp), derived from its table:
// one key per row, named by the row's key, written and read in table order. An optional
// field is written only when present and read as absent when its entry is missing or null;
// any other field is always written and required when read.
//
//   void Peer::encode(telvor::Encoder& e) const { telvor::encodeFields(*this, e); }
//   Peer Peer::decode(const telvor::Decoder& d) { Peer p; telvor::decodeFields(d, p); return p; }
//
// Errors are those of the containers (encoder.hpp, decoder.hpp), raised unchanged at the
// first failing field; the keys' paths are the rows' keys.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/coding/record_fields.hpp"

namespace telvor {

// The key enumeration of R's coded form: one key per row, named by the row's key.
template <DescribedRecord R>
struct FieldKeys {
  enum class Key : std::size_t {};
  friend constexpr std::array<std::string_view, fieldCount<R>> codingKeyNames(Key) noexcept { return fieldKeys<R>(); }
};
template <DescribedRecord R>
using FieldKey = typename FieldKeys<R>::Key;

// Writes every field of `record` into one keyed container of `encoder`.
template <DescribedRecord R>
void encodeFields(const R& record, Encoder& encoder) {
  auto c = encoder.container<FieldKey<R>>();
  std::size_t index = 0;
  forEachField<R>([&](const auto& f) {
    using T = typename std::remove_cvref_t<decltype(f)>::value_type;
    const auto key = static_cast<FieldKey<R>>(index++);
    if constexpr (std::is_void_v<typename detail::OptionalOf<T>::type>) c.encode(f.of(record), key);
    else c.encodeIfPresent(f.of(record), key);
  });
}

// Reads every field of `record` from one keyed container of `decoder`, overwriting each;
// nothing the table lists keeps its earlier value.
template <DescribedRecord R>
void decodeFields(const Decoder& decoder, R& record) {
  const auto c = decoder.container<FieldKey<R>>();
  std::size_t index = 0;
  forEachField<R>([&](const auto& f) {
    using T = typename std::remove_cvref_t<decltype(f)>::value_type;
    using Inner = typename detail::OptionalOf<T>::type;
    const auto key = static_cast<FieldKey<R>>(index++);
    if constexpr (std::is_void_v<Inner>) f.of(record) = c.template decode<T>(key);
    else f.of(record) = c.template decodeIfPresent<Inner>(key);
  });
}

}  // namespace telvor
