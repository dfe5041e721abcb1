// The reading half of the keyed coding interface.
//
// A format implements `DecoderBackend` (how to look at its values); the library's coded
// forms use only `Decoder` and its containers, so a further format plugs in without
// touching them. A record's reader is a few lines, one per field:
//
//   TlsSettings TlsSettings::decode(const Decoder& decoder) {
//     auto c = decoder.container<CodingKeys>();
//     TlsSettings s;
//     s.isEnabled = c.decode<bool>(CodingKeys::isEnabled);
//     s.securityProfile = c.decode<TLSSecurityProfile>(CodingKeys::securityProfile);
//     ...
//   }
//
// An array is an unkeyed container, read front to back; each element's path ends in its
// position:
//
//   auto c = decoder.unkeyedContainer();
//   while (!c.isAtEnd()) nodes.push_back(c.decode<DicomNode>());   // errors at $[i]...
//
// Errors: a missing key is keyNotFound (at the container's path), a null entry
// valueNotFound, an entry of another kind typeMismatch, an integer beyond Int64
// dataCorrupted (each at the entry's path); reading past an array's end is valueNotFound
// at the position after its last element. They propagate unchanged.
//
// Decoders and containers are small handles into a document owned by the format; each
// is valid while the document and the handle it came from are alive. A nested container
// refers to its parent container (for its path): asking a temporary container for one
// does not compile, and a nested container must not be kept past its parent.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/coding_key.hpp"
#include "telvor/coding/coding_path.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

// What a format offers to the decoding side. Positions are the format's own handles to
// values of its document, opaque to the library.
class TELVOR_API DecoderBackend {
 public:
  using Position = const void*;
  enum class ValueKind { null, boolean, integer, integerOutOfRange, text, keyed, unkeyed, other };

  virtual ~DecoderBackend();

  virtual ValueKind kind(Position value) const noexcept = 0;
  // A short phrase for messages: "a string", "a real number", "an array".
  virtual std::string describe(Position value) const = 0;
  // The entry under `key` of a keyed value, or null when there is none.
  virtual Position entry(Position keyed, std::string_view key) const noexcept = 0;
  // The same as entry(), given `hint`: a place to look first that the format keeps up to
  // date. A format whose entries keep their order can answer keys read in the order they
  // were written without searching. The default ignores the hint; `hint` starts at 0.
  virtual Position findEntry(Position keyed, std::string_view key, std::size_t& hint) const noexcept;
  // The names of a keyed value's entries, in the format's order.
  virtual std::size_t entryCount(Position keyed) const noexcept = 0;
  virtual std::string_view entryName(Position keyed, std::size_t index) const noexcept = 0;
  // The elements of an unkeyed value, in order; called only for a value of kind unkeyed
  // (a format without arrays never reports one and may keep these defaults).
  virtual std::size_t elementCount(Position unkeyed) const noexcept;
  virtual Position element(Position unkeyed, std::size_t index) const noexcept;
  // Scalars; called only for a value of the matching kind.
  virtual bool boolValue(Position value) const noexcept = 0;
  virtual std::int64_t intValue(Position value) const noexcept = 0;
  virtual std::string_view textValue(Position value) const noexcept = 0;
};

// What a container's decode<T> reads: Bool, Int64, text (as std::string, or as a
// std::string_view into the document) or a codable type. Anything else does not compile.
template <class T>
concept Decodable = CodingScalar<T> || std::same_as<T, std::string_view> || Codable<T>;

namespace detail {
using Position = DecoderBackend::Position;

TELVOR_API Position keyedOrThrow(const DecoderBackend& backend, Position value, const CodingPathLink& at);
TELVOR_API Position unkeyedOrThrow(const DecoderBackend& backend, Position value, const CodingPathLink& at);
TELVOR_API bool readBool(const DecoderBackend& backend, Position value, const CodingPathLink& at);
TELVOR_API std::int64_t readInt(const DecoderBackend& backend, Position value, const CodingPathLink& at);
TELVOR_API std::string_view readText(const DecoderBackend& backend, Position value, const CodingPathLink& at);
[[noreturn]] TELVOR_API void throwKeyNotFound(const CodingPathLink& container, std::string_view key);
// valueNotFound at `element`, the position just past an unkeyed container's end.
[[noreturn]] TELVOR_API void throwAtEnd(const CodingPathLink& element, std::string_view expected);

template <class T>
constexpr std::string_view expectedName() noexcept {
  if constexpr (std::is_same_v<T, bool>) return "Bool";
  else if constexpr (std::is_same_v<T, std::int64_t>) return "Int64";
  else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view>) return "String";
  else return "value";
}
}  // namespace detail

template <CodingKey K>
class KeyedDecodingContainer;
class UnkeyedDecodingContainer;
class SingleValueDecodingContainer;

// Stands at one value of a document.
class TELVOR_API Decoder {
 public:
  Decoder(const DecoderBackend& backend, DecoderBackend::Position value, CodingPathLink path = {}) noexcept
      : backend_(&backend), value_(value), path_(path) {}

  CodingPath codingPath() const { return path_.materialize(); }

  // The value as a keyed container: typeMismatch when it is not one, valueNotFound when null.
  template <CodingKey K>
  KeyedDecodingContainer<K> container() const {
    return KeyedDecodingContainer<K>(*backend_, detail::keyedOrThrow(*backend_, value_, path_), path_);
  }

  // The value as an unkeyed container (an array): typeMismatch when it is not one,
  // valueNotFound when null.
  UnkeyedDecodingContainer unkeyedContainer() const;

  // The value as one single value. Never fails; reading from it can.
  SingleValueDecodingContainer singleValueContainer() const noexcept;

 private:
  const DecoderBackend* backend_;
  DecoderBackend::Position value_;
  CodingPathLink path_;
};

namespace detail {
// Reads a T from the value at `value`, standing at `at`.
template <Decodable T>
T decodeAt(const DecoderBackend& backend, Position value, const CodingPathLink& at) {
  if constexpr (std::is_same_v<T, bool>) return readBool(backend, value, at);
  else if constexpr (std::is_same_v<T, std::int64_t>) return readInt(backend, value, at);
  else if constexpr (std::is_same_v<T, std::string>) return std::string(readText(backend, value, at));
  else if constexpr (std::is_same_v<T, std::string_view>) return readText(backend, value, at);
  else return telvor::decode<T>(Decoder(backend, value, at));
}
}  // namespace detail

// One value read as a whole: an enumeration's code, a UUID's text. Reads the same
// types as KeyedDecodingContainer::decode.
class TELVOR_API SingleValueDecodingContainer {
 public:
  SingleValueDecodingContainer(const DecoderBackend& backend, DecoderBackend::Position value,
                               CodingPathLink path) noexcept
      : backend_(&backend), value_(value), path_(path) {}

  CodingPath codingPath() const { return path_.materialize(); }
  bool decodeNil() const noexcept { return backend_->kind(value_) == DecoderBackend::ValueKind::null; }

  template <Decodable T>
  T decode() const {
    return detail::decodeAt<T>(*backend_, value_, path_);
  }

 private:
  const DecoderBackend* backend_;
  DecoderBackend::Position value_;
  CodingPathLink path_;
};

inline SingleValueDecodingContainer Decoder::singleValueContainer() const noexcept {
  return SingleValueDecodingContainer(*backend_, value_, path_);
}

// The entries of a keyed value, looked up by the keys of K. Entries under names that K
// does not know are never read and never an error. A container remembers where its last
// entry was found, to look there next; so one container is used by one thread at a time.
template <CodingKey K>
class KeyedDecodingContainer {
 public:
  KeyedDecodingContainer(const DecoderBackend& backend, DecoderBackend::Position keyed,
                         CodingPathLink path) noexcept
      : backend_(&backend), keyed_(keyed), path_(path) {}

  CodingPath codingPath() const { return path_.materialize(); }

  // The keys of K that have an entry, each once, in the format's order.
  std::vector<K> allKeys() const {
    std::vector<K> keys;
    const std::size_t n = backend_->entryCount(keyed_);
    for (std::size_t i = 0; i < n; ++i) {
      auto key = fromStringValue<K>(backend_->entryName(keyed_, i));
      if (!key) continue;
      bool seen = false;
      for (K k : keys) seen = seen || k == *key;
      if (!seen) keys.push_back(*key);
    }
    return keys;
  }

  // True when there is an entry under the key, null included.
  bool contains(K key) const noexcept { return lookup(key) != nullptr; }

  // The entry under the key: keyNotFound when missing, valueNotFound when null,
  // typeMismatch when of another kind; a codable type reads itself from the entry.
  // Text reads as std::string, or as std::string_view: a view of the document's own
  // text, allocation-free, valid while the document lives.
  template <Decodable T>
  T decode(K key) const {
    return detail::decodeAt<T>(*backend_, required(key), CodingPathLink(&path_, stringValue(key)));
  }

  // Absent when the key has no entry or a null one; otherwise exactly decode().
  template <Decodable T>
  std::optional<T> decodeIfPresent(K key) const {
    const DecoderBackend::Position value = lookup(key);
    if (value == nullptr || backend_->kind(value) == DecoderBackend::ValueKind::null) return std::nullopt;
    return detail::decodeAt<T>(*backend_, value, CodingPathLink(&path_, stringValue(key)));
  }

  // The keyed container under the key: keyNotFound when missing, typeMismatch when the
  // entry is not a keyed container, valueNotFound when null. The result refers to this
  // container and must not outlive it.
  template <CodingKey N>
  KeyedDecodingContainer<N> nestedContainer(K key) const& {
    CodingPathLink at(&path_, stringValue(key));
    return KeyedDecodingContainer<N>(*backend_, detail::keyedOrThrow(*backend_, required(key), at), at);
  }
  template <CodingKey N>
  KeyedDecodingContainer<N> nestedContainer(K key) const&& = delete;

  // The unkeyed container (array) under the key; errors as nestedContainer.
  UnkeyedDecodingContainer nestedUnkeyedContainer(K key) const&;
  UnkeyedDecodingContainer nestedUnkeyedContainer(K key) const&& = delete;

 private:
  DecoderBackend::Position lookup(K key) const noexcept { return backend_->findEntry(keyed_, stringValue(key), hint_); }
  DecoderBackend::Position required(K key) const {
    const DecoderBackend::Position value = lookup(key);
    if (value == nullptr) detail::throwKeyNotFound(path_, stringValue(key));
    return value;
  }

  const DecoderBackend* backend_;
  DecoderBackend::Position keyed_;
  CodingPathLink path_;
  // Where the next key is likely to be: coded forms read keys in the order they wrote them.
  mutable std::size_t hint_ = 0;
};

// The elements of an unkeyed value (an array), read front to back. Each read that
// succeeds moves to the next element; one that fails stays. An element's path is the
// container's path followed by its position.
class TELVOR_API UnkeyedDecodingContainer {
 public:
  UnkeyedDecodingContainer(const DecoderBackend& backend, DecoderBackend::Position unkeyed,
                           CodingPathLink path) noexcept
      : backend_(&backend), unkeyed_(unkeyed), path_(path), count_(backend.elementCount(unkeyed)) {}

  CodingPath codingPath() const { return path_.materialize(); }
  // The number of elements.
  std::size_t count() const noexcept { return count_; }
  // The position of the next element to read.
  std::size_t currentIndex() const noexcept { return index_; }
  bool isAtEnd() const noexcept { return index_ >= count_; }

  // True, and moves on, when the next element is null; false (staying) otherwise or at
  // the end.
  bool decodeNil() noexcept {
    if (isAtEnd() || backend_->kind(current()) != DecoderBackend::ValueKind::null) return false;
    ++index_;
    return true;
  }

  // The next element: valueNotFound at the end or when null, typeMismatch when of
  // another kind; a codable type reads itself from the element.
  template <Decodable T>
  T decode() {
    const CodingPathLink at = here();
    if (isAtEnd()) detail::throwAtEnd(at, detail::expectedName<T>());
    T value = detail::decodeAt<T>(*backend_, current(), at);
    ++index_;
    return value;
  }

  // Absent at the end or for a null element (which is then passed); otherwise decode().
  template <Decodable T>
  std::optional<T> decodeIfPresent() {
    if (isAtEnd() || decodeNil()) return std::nullopt;
    return decode<T>();
  }

  // The next element as a keyed container; errors as Decoder::container, and
  // valueNotFound at the end. The result refers to this container.
  template <CodingKey N>
  KeyedDecodingContainer<N> nestedContainer() & {
    const CodingPathLink at(&path_, static_cast<std::int64_t>(index_));
    if (isAtEnd()) detail::throwAtEnd(at, "keyed container");
    KeyedDecodingContainer<N> nested(*backend_, detail::keyedOrThrow(*backend_, current(), at), at);
    ++index_;
    return nested;
  }
  template <CodingKey N>
  KeyedDecodingContainer<N> nestedContainer() && = delete;

  // The next element as an unkeyed container; errors as nestedContainer.
  UnkeyedDecodingContainer nestedUnkeyedContainer() &;
  UnkeyedDecodingContainer nestedUnkeyedContainer() && = delete;

 private:
  DecoderBackend::Position current() const noexcept { return backend_->element(unkeyed_, index_); }
  CodingPathLink here() const noexcept { return CodingPathLink(&path_, static_cast<std::int64_t>(index_)); }

  const DecoderBackend* backend_;
  DecoderBackend::Position unkeyed_;
  CodingPathLink path_;
  std::size_t count_;
  std::size_t index_ = 0;
};

inline UnkeyedDecodingContainer Decoder::unkeyedContainer() const {
  return UnkeyedDecodingContainer(*backend_, detail::unkeyedOrThrow(*backend_, value_, path_), path_);
}

template <CodingKey K>
UnkeyedDecodingContainer KeyedDecodingContainer<K>::nestedUnkeyedContainer(K key) const& {
  CodingPathLink at(&path_, stringValue(key));
  return UnkeyedDecodingContainer(*backend_, detail::unkeyedOrThrow(*backend_, required(key), at), at);
}

inline UnkeyedDecodingContainer UnkeyedDecodingContainer::nestedUnkeyedContainer() & {
  const CodingPathLink at = here();
  if (isAtEnd()) detail::throwAtEnd(at, "unkeyed container");
  UnkeyedDecodingContainer nested(*backend_, detail::unkeyedOrThrow(*backend_, current(), at), at);
  ++index_;
  return nested;
}

namespace detail {
template <class T>
std::vector<T> decodeElements(const Decoder& decoder) {
  auto c = decoder.unkeyedContainer();
  std::vector<T> values;
  values.reserve(c.count());
  while (!c.isAtEnd()) values.push_back(c.decode<T>());
  return values;
}
}  // namespace detail

}  // namespace telvor
