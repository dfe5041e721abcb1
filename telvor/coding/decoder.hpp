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
// Errors: a missing key is keyNotFound (at the container's path), a null entry
// valueNotFound, an entry of another kind typeMismatch, an integer beyond Int64
// dataCorrupted (each at the entry's path). They propagate unchanged.
//
// Decoders and containers are small handles into a document owned by the format; each
// is valid while the document and the handle it came from are alive.
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
#include "telvor/coding/coding_key.hpp"
#include "telvor/coding/coding_path.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

// What a format offers to the decoding side. Positions are the format's own handles to
// values of its document, opaque to the library.
class TELVOR_API DecoderBackend {
 public:
  using Position = const void*;
  enum class ValueKind { null, boolean, integer, integerOutOfRange, text, keyed, other };

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
  // Scalars; called only for a value of the matching kind.
  virtual bool boolValue(Position value) const noexcept = 0;
  virtual std::int64_t intValue(Position value) const noexcept = 0;
  virtual std::string_view textValue(Position value) const noexcept = 0;
};

namespace detail {
using Position = DecoderBackend::Position;

TELVOR_API Position keyedOrThrow(const DecoderBackend& backend, Position value, const CodingPathLink& at);
TELVOR_API bool readBool(const DecoderBackend& backend, Position value, const CodingPathLink& at);
TELVOR_API std::int64_t readInt(const DecoderBackend& backend, Position value, const CodingPathLink& at);
TELVOR_API std::string_view readText(const DecoderBackend& backend, Position value, const CodingPathLink& at);
[[noreturn]] TELVOR_API void throwKeyNotFound(const CodingPathLink& container, std::string_view key);
}  // namespace detail

template <CodingKey K>
class KeyedDecodingContainer;
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

  // The value as one single value. Never fails; reading from it can.
  SingleValueDecodingContainer singleValueContainer() const noexcept;

 private:
  const DecoderBackend* backend_;
  DecoderBackend::Position value_;
  CodingPathLink path_;
};

namespace detail {
// Reads a T from the value at `value`, standing at `at`.
template <class T>
T decodeAt(const DecoderBackend& backend, Position value, const CodingPathLink& at) {
  if constexpr (std::is_same_v<T, bool>) return readBool(backend, value, at);
  else if constexpr (std::is_same_v<T, std::int64_t>) return readInt(backend, value, at);
  else if constexpr (std::is_same_v<T, std::string>) return std::string(readText(backend, value, at));
  else if constexpr (std::is_same_v<T, std::string_view>) return readText(backend, value, at);
  else {
    static_assert(Codable<T>, "decode reads Bool, Int64, String (std::string or std::string_view) or a codable type");
    return telvor::decode<T>(Decoder(backend, value, at));
  }
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

  template <class T>
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
  template <class T>
  T decode(K key) const {
    const DecoderBackend::Position value = lookup(key);
    if (value == nullptr) detail::throwKeyNotFound(path_, stringValue(key));
    return detail::decodeAt<T>(*backend_, value, CodingPathLink(&path_, stringValue(key)));
  }

  // Absent when the key has no entry or a null one; otherwise exactly decode().
  template <class T>
  std::optional<T> decodeIfPresent(K key) const {
    const DecoderBackend::Position value = lookup(key);
    if (value == nullptr || backend_->kind(value) == DecoderBackend::ValueKind::null) return std::nullopt;
    return detail::decodeAt<T>(*backend_, value, CodingPathLink(&path_, stringValue(key)));
  }

  // The keyed container under the key: keyNotFound when missing, typeMismatch when the
  // entry is not a keyed container, valueNotFound when null. The result refers to this
  // container and must not outlive it.
  template <CodingKey N>
  KeyedDecodingContainer<N> nestedContainer(K key) const {
    const DecoderBackend::Position value = lookup(key);
    if (value == nullptr) detail::throwKeyNotFound(path_, stringValue(key));
    CodingPathLink at(&path_, stringValue(key));
    return KeyedDecodingContainer<N>(*backend_, detail::keyedOrThrow(*backend_, value, at), at);
  }

 private:
  DecoderBackend::Position lookup(K key) const noexcept { return backend_->findEntry(keyed_, stringValue(key), hint_); }

  const DecoderBackend* backend_;
  DecoderBackend::Position keyed_;
  CodingPathLink path_;
  // Where the next key is likely to be: coded forms read keys in the order they wrote them.
  mutable std::size_t hint_ = 0;
};

}  // namespace telvor
