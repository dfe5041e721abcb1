// Internal: the typed reads of a property dictionary, of a value already found (null when
// the key is missing). PropertyDictionary's reads by key and the records that find their
// keys together both read through these, so what each read accepts is decided here alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "telvor/coding/property_dictionary.hpp"

namespace telvor::detail {

inline std::optional<std::string_view> readString(const PropertyValue* value) noexcept {
  const std::string* text = value ? value->textValue() : nullptr;
  return text ? std::optional<std::string_view>(*text) : std::nullopt;
}

inline std::optional<std::int64_t> readInt(const PropertyValue* value) noexcept {
  if (value == nullptr) return std::nullopt;
  if (const auto integer = value->integerValue()) return integer;
  return value->numberObjectValue();
}

inline std::optional<bool> readBool(const PropertyValue* value) noexcept {
  return value ? value->booleanValue() : std::nullopt;
}

}  // namespace telvor::detail
