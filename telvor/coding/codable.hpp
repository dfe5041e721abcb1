// Codable types: values with a keyed coded form, and the hook that makes a type codable.
//
// A type is codable when `telvor::Coding<T>` has `static void encode(const T&, Encoder&)`
// and `static T decode(const Decoder&)`. The default `Coding<T>` forwards to members, so a
// record the library owns writes itself with `void encode(Encoder&) const` and is read by
// `static T decode(const Decoder&)`. A type you cannot edit becomes codable by
// specialising the hook instead:
//
//   template <> struct telvor::Coding<Peer> {
//     static void encode(const Peer& p, Encoder& e) { auto c = e.container<PeerKeys>(); ... }
//     static Peer decode(const Decoder& d) { auto c = d.container<PeerKeys>(); ... }
//   };
//
// Coded enumerations whose table says so are codable (their bare integer code), and so is
// `std::vector<T>` of any codable T or of Bool, Int64 or String (an unkeyed container, one
// element per value). One spelling serves every codable type:
//
//   telvor::encode(nodes, encoder);
//   auto nodes = telvor::decode<std::vector<telvor::DicomNode>>(decoder);
//
// A format (JSON, ...) supplies the Encoder and Decoder; see encoder.hpp and decoder.hpp.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "telvor/coding/coded_enum.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

class Encoder;
class Decoder;

// A type with the member form: `value.encode(encoder)` and `T::decode(decoder)`.
template <class T>
concept CodableRecord = requires(const T& value, Encoder& encoder, const Decoder& decoder) {
  value.encode(encoder);
  { T::decode(decoder) } -> std::same_as<T>;
};

// The customisation point. Specialise it for a type to give that type a coded form
// without touching the type; the default uses the type's members when it has them and
// is otherwise empty (the type is then not codable).
template <class T>
struct Coding {
  static void encode(const T& value, Encoder& encoder)
    requires CodableRecord<T>
  {
    value.encode(encoder);
  }
  static T decode(const Decoder& decoder)
    requires CodableRecord<T>
  {
    return T::decode(decoder);
  }
};

template <class T>
concept Codable = !std::is_reference_v<T> && !std::is_const_v<T> &&
                  requires(const T& value, Encoder& encoder, const Decoder& decoder) {
                    Coding<T>::encode(value, encoder);
                    { Coding<T>::decode(decoder) } -> std::same_as<T>;
                  };

// A value the containers carry directly as one scalar of the format.
template <class T>
concept CodingScalar = std::same_as<T, bool> || std::same_as<T, std::int64_t> || std::same_as<T, std::string>;

// What an array may hold: scalars or codable values.
template <class T>
concept CodableElement = CodingScalar<T> || Codable<T>;

namespace detail {
// The single-value steps of an enumeration's coded form, kept out of line.
TELVOR_API void encodeCode(Encoder& encoder, std::int64_t code);
TELVOR_API std::int64_t decodeCode(const Decoder& decoder);
[[noreturn]] TELVOR_API void throwUnknownCode(const Decoder& decoder, std::string_view enumName,
                                              std::string_view codeType, std::int64_t code);

// The unkeyed steps of an array's coded form; defined in encoder.hpp and decoder.hpp,
// which a caller of either half includes anyway.
template <class T>
void encodeElements(const std::vector<T>& values, Encoder& encoder);
template <class T>
std::vector<T> decodeElements(const Decoder& decoder);
}  // namespace detail

// A coded enumeration: its code in a single-value container. Decoding refuses a code
// that no case has with dataCorrupted at the decoder's path; it never falls back.
template <CodableEnum E>
struct Coding<E> {
  static_assert(std::is_same_v<std::underlying_type_t<E>, std::int64_t>, "coded forms hold Int64 codes");
  static void encode(E value, Encoder& encoder) { detail::encodeCode(encoder, rawValue(value)); }
  static E decode(const Decoder& decoder) {
    const std::int64_t code = detail::decodeCode(decoder);
    if (auto value = fromRawValue<E>(code)) return *value;
    detail::throwUnknownCode(decoder, EnumTraits<E>::name, codeTypeName<E>(), code);
  }
};

// An array: an unkeyed container holding each value in order. An element's errors carry
// its position (`$[2].port`).
template <class T>
struct Coding<std::vector<T>> {
  static void encode(const std::vector<T>& values, Encoder& encoder)
    requires CodableElement<T>
  {
    detail::encodeElements(values, encoder);
  }
  static std::vector<T> decode(const Decoder& decoder)
    requires CodableElement<T>
  {
    return detail::decodeElements<T>(decoder);
  }
};

// Writes `value`'s coded form into `encoder`. Errors of the encoder pass through unchanged.
template <Codable T>
void encode(const T& value, Encoder& encoder) {
  Coding<T>::encode(value, encoder);
}

// Reads a T from `decoder`, raising the first error unchanged.
template <Codable T>
T decode(const Decoder& decoder) {
  return Coding<T>::decode(decoder);
}

}  // namespace telvor
