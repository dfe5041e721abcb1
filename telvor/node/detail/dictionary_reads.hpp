// Internal: the typed reads the records' dictionary constructors share, of a value found
// under a key (null when there is none) or of the key itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"
#include "telvor/coding/detail/value_reads.hpp"
#include "telvor/coding/property_dictionary.hpp"

namespace telvor::detail {

// The text as an owned string, or absent.
inline std::optional<std::string> readText(const PropertyValue* value) {
  const auto text = readString(value);
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

inline std::optional<std::string> readText(const PropertyDictionary& dictionary, std::string_view key) {
  return readText(dictionary.find(key));
}

// The case whose code is the integer; absent when there is none, it is not an integer,
// or no case has it.
template <CodedEnum E>
std::optional<E> readCode(const PropertyValue* value) noexcept {
  const auto code = readInt(value);
  return code ? fromRawValue<E>(*code) : std::nullopt;
}

template <CodedEnum E>
std::optional<E> readCode(const PropertyDictionary& dictionary, std::string_view key) noexcept {
  return readCode<E>(dictionary.find(key));
}

}  // namespace telvor::detail
