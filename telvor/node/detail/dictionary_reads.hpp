// Internal: the typed reads the records' dictionary constructors share.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"
#include "telvor/coding/property_dictionary.hpp"

namespace telvor::detail {

// The text under the key as an owned string, or absent.
inline std::optional<std::string> readText(const PropertyDictionary& dictionary, std::string_view key) {
  const auto text = dictionary.readString(key);
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

// The case whose code is the integer under the key; absent when the key is missing, not
// an integer, or holds a code that no case has.
template <CodedEnum E>
std::optional<E> readCode(const PropertyDictionary& dictionary, std::string_view key) noexcept {
  const auto code = dictionary.readInt(key);
  return code ? fromRawValue<E>(*code) : std::nullopt;
}

}  // namespace telvor::detail
