// The writing half of the keyed coding interface.
//
// A format implements `EncoderBackend` (how to build its values); the coded forms use
// only `Encoder` and its containers. A record's writer is one line per field:
//
//   void TlsSettings::encode(Encoder& encoder) const {
//     auto c = encoder.container<CodingKeys>();
//     c.encode(isEnabled, CodingKeys::isEnabled);
//     c.encode(securityProfile, CodingKeys::securityProfile);
//     ...
//   }
//
// Writing has no rollback: when a write fails (a text the format cannot hold raises
// EncodingError::invalidValue), the entries written before it stay.
//
// Containers are small handles into the document being built. Keys are written in the
// order the coded form writes them. A nested container or child value is written
// completely before its parent receives its next entry (the coded forms always do so);
// formats may rely on that.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/coding_key.hpp"
#include "telvor/coding/coding_path.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

// What a format offers to the encoding side. Slots are the format's own handles to
// values under construction, opaque to the library.
class TELVOR_API EncoderBackend {
 public:
  using Slot = void*;

  virtual ~EncoderBackend();

  // Makes the value in `slot` a keyed container (keeping it when it already is one) and
  // returns a handle to that container.
  virtual Slot makeKeyed(Slot slot) = 0;
  // A hint, given right after makeKeyed, that at most `count` entries will be written
  // into the keyed container (its key enumeration has that many keys), so that a format
  // can make room for them at once. Ignoring it, as the default does, is correct.
  virtual void expectEntries(Slot keyed, std::size_t count);
  // A fresh null value under `key` of a keyed container, replacing any earlier entry.
  virtual Slot entry(Slot keyed, std::string_view key) = 0;
  virtual void setBool(Slot slot, bool value) = 0;
  virtual void setInt(Slot slot, std::int64_t value) = 0;
  // Whether the format can hold this text; a text it cannot hold is refused before
  // anything is written.
  virtual bool canHoldText(std::string_view text) const noexcept = 0;
  virtual void setText(Slot slot, std::string_view text) = 0;
};

namespace detail {
using Slot = EncoderBackend::Slot;

template <class T>
concept EncodableText = std::convertible_to<const T&, std::string_view>;
template <class T>
concept EncodableInteger = std::integral<T> && !std::same_as<T, bool> &&
                           (std::is_signed_v<T> ? sizeof(T) <= 8 : sizeof(T) < 8);

// Raises invalidValue at `at` when the format cannot hold `text`.
TELVOR_API void checkText(const EncoderBackend& backend, std::string_view text, const CodingPathLink& at);

// The value in `slot` as a keyed container with room for K's keys.
template <CodingKey K>
Slot makeKeyedFor(EncoderBackend& backend, Slot slot) {
  const Slot keyed = backend.makeKeyed(slot);
  backend.expectEntries(keyed, codingKeyNamesOf<K>.size());
  return keyed;
}
}  // namespace detail

template <CodingKey K>
class KeyedEncodingContainer;
class SingleValueEncodingContainer;

// Stands at one value being built.
class TELVOR_API Encoder {
 public:
  Encoder(EncoderBackend& backend, EncoderBackend::Slot slot, CodingPathLink path = {}) noexcept
      : backend_(&backend), slot_(slot), path_(path) {}

  CodingPath codingPath() const { return path_.materialize(); }

  // The value as a keyed container. Never fails.
  template <CodingKey K>
  KeyedEncodingContainer<K> container() {
    return KeyedEncodingContainer<K>(*backend_, detail::makeKeyedFor<K>(*backend_, slot_), path_);
  }

  SingleValueEncodingContainer singleValueContainer() noexcept;

 private:
  EncoderBackend* backend_;
  EncoderBackend::Slot slot_;
  CodingPathLink path_;
};

namespace detail {
// Writes `value` into `slot`, standing at `at`. Text has been checked by the caller.
template <class T>
void encodeAt(EncoderBackend& backend, Slot slot, const CodingPathLink& at, const T& value) {
  if constexpr (std::is_same_v<T, bool>) backend.setBool(slot, value);
  else if constexpr (EncodableInteger<T>) backend.setInt(slot, static_cast<std::int64_t>(value));
  else if constexpr (EncodableText<T>) backend.setText(slot, std::string_view(value));
  else {
    static_assert(Codable<T>, "encode writes Bool, an integer, text or a codable value");
    Encoder encoder(backend, slot, at);
    telvor::encode(value, encoder);
  }
}
}  // namespace detail

// One value written as a whole: an enumeration's code, a UUID's text.
class TELVOR_API SingleValueEncodingContainer {
 public:
  SingleValueEncodingContainer(EncoderBackend& backend, EncoderBackend::Slot slot, CodingPathLink path) noexcept
      : backend_(&backend), slot_(slot), path_(path) {}

  CodingPath codingPath() const { return path_.materialize(); }

  template <class T>
  void encode(const T& value) {
    if constexpr (detail::EncodableText<T>) detail::checkText(*backend_, std::string_view(value), path_);
    detail::encodeAt(*backend_, slot_, path_, value);
  }

 private:
  EncoderBackend* backend_;
  EncoderBackend::Slot slot_;
  CodingPathLink path_;
};

inline SingleValueEncodingContainer Encoder::singleValueContainer() noexcept {
  return SingleValueEncodingContainer(*backend_, slot_, path_);
}

// Writes entries under the keys of K.
template <CodingKey K>
class KeyedEncodingContainer {
 public:
  KeyedEncodingContainer(EncoderBackend& backend, EncoderBackend::Slot keyed, CodingPathLink path) noexcept
      : backend_(&backend), keyed_(keyed), path_(path) {}

  CodingPath codingPath() const { return path_.materialize(); }

  // Stores `value` under the key: a Bool, an integer, a text, or a codable value that
  // writes itself at the key's position.
  template <class T>
  void encode(const T& value, K key) {
    const CodingPathLink at(&path_, stringValue(key));
    if constexpr (detail::EncodableText<T>) detail::checkText(*backend_, std::string_view(value), at);
    detail::encodeAt(*backend_, backend_->entry(keyed_, stringValue(key)), at, value);
  }

  // Writes nothing when absent, so that the key has no entry; otherwise exactly encode().
  template <class T>
  void encodeIfPresent(const std::optional<T>& value, K key) {
    if (value) encode(*value, key);
  }

  // A keyed container as the entry under the key; it exists (empty) even when nothing is
  // written into it. Never fails.
  template <CodingKey N>
  KeyedEncodingContainer<N> nestedContainer(K key) {
    const CodingPathLink at(&path_, stringValue(key));
    return KeyedEncodingContainer<N>(*backend_, detail::makeKeyedFor<N>(*backend_, backend_->entry(keyed_, stringValue(key))),
                                     at);
  }

 private:
  EncoderBackend* backend_;
  EncoderBackend::Slot keyed_;
  CodingPathLink path_;
};

}  // namespace telvor
