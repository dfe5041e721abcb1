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
// An array is an unkeyed container, written front to back:
//
//   auto c = encoder.unkeyedContainer();
//   for (const auto& node : nodes) c.encode(node);
//
// Containers are small handles into the document being built. Keys are written in the
// order the coded form writes them. A nested container or child value is written
// completely before its parent receives its next entry or element (the coded forms
// always do so); formats may rely on that. A nested container refers to its parent (for
// its path): asking a temporary container for one does not compile.
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
  // Makes the value in `slot` an unkeyed container (an array; keeping it when it already
  // is one) and returns a handle to it.
  virtual Slot makeUnkeyed(Slot slot) = 0;
  // A hint that `count` more elements are about to be appended. The default ignores it.
  virtual void expectElements(Slot unkeyed, std::size_t count);
  // A fresh null value appended to an unkeyed container.
  virtual Slot appendElement(Slot unkeyed) = 0;
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

// What a container's encode writes: Bool, an integer that fits Int64, text (anything
// convertible to std::string_view) or a codable value. Anything else does not compile.
template <class T>
concept Encodable = std::same_as<T, bool> || detail::EncodableInteger<T> || detail::EncodableText<T> || Codable<T>;

template <CodingKey K>
class KeyedEncodingContainer;
class UnkeyedEncodingContainer;
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

  // The value as an unkeyed container (an array). Never fails.
  UnkeyedEncodingContainer unkeyedContainer();

  SingleValueEncodingContainer singleValueContainer() noexcept;

 private:
  EncoderBackend* backend_;
  EncoderBackend::Slot slot_;
  CodingPathLink path_;
};

namespace detail {
// Writes `value` into `slot`, standing at `at`, refusing text the format cannot hold.
template <Encodable T>
void encodeAt(EncoderBackend& backend, Slot slot, const CodingPathLink& at, const T& value) {
  if constexpr (std::is_same_v<T, bool>) backend.setBool(slot, value);
  else if constexpr (EncodableInteger<T>) backend.setInt(slot, static_cast<std::int64_t>(value));
  else if constexpr (EncodableText<T>) backend.setText(slot, std::string_view(value));
  else {
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

  template <Encodable T>
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
  template <Encodable T>
  void encode(const T& value, K key) {
    const CodingPathLink at(&path_, stringValue(key));
    if constexpr (detail::EncodableText<T>) detail::checkText(*backend_, std::string_view(value), at);
    detail::encodeAt(*backend_, backend_->entry(keyed_, stringValue(key)), at, value);
  }

  // Writes nothing when absent, so that the key has no entry; otherwise exactly encode().
  template <Encodable T>
  void encodeIfPresent(const std::optional<T>& value, K key) {
    if (value) encode(*value, key);
  }

  // A keyed container as the entry under the key; it exists (empty) even when nothing is
  // written into it. Never fails. The result refers to this container.
  template <CodingKey N>
  KeyedEncodingContainer<N> nestedContainer(K key) & {
    const CodingPathLink at(&path_, stringValue(key));
    return KeyedEncodingContainer<N>(*backend_, detail::makeKeyedFor<N>(*backend_, backend_->entry(keyed_, stringValue(key))),
                                     at);
  }
  template <CodingKey N>
  KeyedEncodingContainer<N> nestedContainer(K key) && = delete;

  // An unkeyed container (an array) as the entry under the key; exists (empty) at once.
  UnkeyedEncodingContainer nestedUnkeyedContainer(K key) &;
  UnkeyedEncodingContainer nestedUnkeyedContainer(K key) && = delete;

 private:
  EncoderBackend* backend_;
  EncoderBackend::Slot keyed_;
  CodingPathLink path_;
};

// Appends elements to an unkeyed value (an array). An element's path is the container's
// path followed by its position.
class TELVOR_API UnkeyedEncodingContainer {
 public:
  UnkeyedEncodingContainer(EncoderBackend& backend, EncoderBackend::Slot unkeyed, CodingPathLink path) noexcept
      : backend_(&backend), unkeyed_(unkeyed), path_(path) {}

  CodingPath codingPath() const { return path_.materialize(); }
  // The number of elements appended through this container.
  std::size_t count() const noexcept { return count_; }

  // Appends `value`: a Bool, an integer, a text, or a codable value that writes itself
  // at the new position. A text the format cannot hold is refused before anything is
  // appended.
  template <Encodable T>
  void encode(const T& value) {
    const CodingPathLink at = here();
    if constexpr (detail::EncodableText<T>) detail::checkText(*backend_, std::string_view(value), at);
    const EncoderBackend::Slot slot = append();
    detail::encodeAt(*backend_, slot, at, value);
  }

  // Appends a null element.
  void encodeNil() { append(); }

  // A hint that `n` more elements follow, so the format can make room at once.
  void reserve(std::size_t n) { backend_->expectElements(unkeyed_, n); }

  // Appends a keyed container and returns it; it refers to this container.
  template <CodingKey N>
  KeyedEncodingContainer<N> nestedContainer() & {
    const CodingPathLink at = here();
    return KeyedEncodingContainer<N>(*backend_, detail::makeKeyedFor<N>(*backend_, append()), at);
  }
  template <CodingKey N>
  KeyedEncodingContainer<N> nestedContainer() && = delete;

  // Appends an unkeyed container and returns it; it refers to this container.
  UnkeyedEncodingContainer nestedUnkeyedContainer() & {
    const CodingPathLink at = here();
    return UnkeyedEncodingContainer(*backend_, backend_->makeUnkeyed(append()), at);
  }
  UnkeyedEncodingContainer nestedUnkeyedContainer() && = delete;

 private:
  CodingPathLink here() const noexcept { return CodingPathLink(&path_, static_cast<std::int64_t>(count_)); }
  EncoderBackend::Slot append() {
    const EncoderBackend::Slot slot = backend_->appendElement(unkeyed_);
    ++count_;
    return slot;
  }

  EncoderBackend* backend_;
  EncoderBackend::Slot unkeyed_;
  CodingPathLink path_;
  std::size_t count_ = 0;
};

inline UnkeyedEncodingContainer Encoder::unkeyedContainer() {
  return UnkeyedEncodingContainer(*backend_, backend_->makeUnkeyed(slot_), path_);
}

template <CodingKey K>
UnkeyedEncodingContainer KeyedEncodingContainer<K>::nestedUnkeyedContainer(K key) & {
  const CodingPathLink at(&path_, stringValue(key));
  return UnkeyedEncodingContainer(*backend_, backend_->makeUnkeyed(backend_->entry(keyed_, stringValue(key))), at);
}

namespace detail {
template <class T>
void encodeElements(const std::vector<T>& values, Encoder& encoder) {
  auto c = encoder.unkeyedContainer();
  c.reserve(values.size());
  for (const T& value : values) c.encode(value);
}
}  // namespace detail

}  // namespace telvor
