// The dictionary form of a record: a PropertyDictionary, or absent when the record has
// none (a node without AE title, name, address or port).
//
//   if (auto d = node.toDictionary()) store.save(*d);
//   auto aet = node.toDictionary()->readString("AETitle");   // does not compile
//
// It is a std::optional<PropertyDictionary> in every way but one: `->` on a temporary
// does not compile, because a text read through it (a view into the dictionary) would
// outlive the dictionary. Keep the form in a variable first, or use `.value()`, whose
// temporary dictionary answers every read but readString (deleted for temporaries).
#pragma once

#include <optional>
#include <utility>

#include "telvor/coding/property_dictionary.hpp"

namespace telvor {

class DictionaryForm : public std::optional<PropertyDictionary> {
 public:
  using std::optional<PropertyDictionary>::optional;
  DictionaryForm(std::optional<PropertyDictionary> form) noexcept : optional(std::move(form)) {}

  const PropertyDictionary* operator->() const& noexcept { return optional::operator->(); }
  PropertyDictionary* operator->() & noexcept { return optional::operator->(); }
  const PropertyDictionary* operator->() const&& = delete;
  PropertyDictionary* operator->() && = delete;

  // As optionals compare (std::optional's own templates cannot tell a derived type apart).
  friend bool operator==(const DictionaryForm& a, const std::optional<PropertyDictionary>& b) {
    return static_cast<const std::optional<PropertyDictionary>&>(a) == b;
  }
  friend bool operator==(const DictionaryForm& a, const DictionaryForm& b) {
    return a == static_cast<const std::optional<PropertyDictionary>&>(b);
  }
};

}  // namespace telvor
