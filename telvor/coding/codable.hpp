// Codable types: values with a keyed coded form.
//
// A record is codable when it writes itself with `void encode(Encoder&) const` and is
// read by `static T decode(const Decoder&)`; a coded enumeration is codable when its
// table says so, and then its coded form is its bare integer code. One spelling serves
// every codable type, so containers can code any of them without knowing which:
//
//   telvor::encode(node, encoder);
//   auto node = telvor::decode<telvor::DicomNode>(decoder);
//
// A format (JSON, ...) supplies the Encoder and Decoder; see encoder.hpp and decoder.hpp.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

#include "telvor/coding/coded_enum.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

class Encoder;
class Decoder;

template <class T>
concept CodableRecord = requires(const T& value, Encoder& encoder, const Decoder& decoder) {
  value.encode(encoder);
  { T::decode(decoder) } -> std::same_as<T>;
};

template <class T>
concept Codable = CodableEnum<T> || CodableRecord<T>;

namespace detail {
// The single-value steps of an enumeration's coded form, kept out of line.
TELVOR_API void encodeCode(Encoder& encoder, std::int64_t code);
TELVOR_API std::int64_t decodeCode(const Decoder& decoder);
[[noreturn]] TELVOR_API void throwUnknownCode(const Decoder& decoder, std::string_view enumName,
                                              std::string_view codeType, std::int64_t code);
}  // namespace detail

// Writes `value`'s coded form into `encoder`. An enumeration writes its code into a
// single-value container; a record opens its keyed container. Errors of the encoder
// pass through unchanged.
template <Codable T>
void encode(const T& value, Encoder& encoder) {
  if constexpr (CodableEnum<T>) {
    static_assert(std::is_same_v<std::underlying_type_t<T>, std::int64_t>);
    detail::encodeCode(encoder, rawValue(value));
  } else {
    value.encode(encoder);
  }
}

// Reads a T from `decoder`. An enumeration reads one Int64 and refuses a code that no
// case has with dataCorrupted at the decoder's path; it never falls back to a default.
template <Codable T>
T decode(const Decoder& decoder) {
  if constexpr (CodableEnum<T>) {
    const std::int64_t code = detail::decodeCode(decoder);
    if (auto value = fromRawValue<T>(code)) return *value;
    detail::throwUnknownCode(decoder, EnumTraits<T>::name, codeTypeName<T>(), code);
  } else {
    return T::decode(decoder);
  }
}

}  // namespace telvor
