// How a caller names one node of a catalogue.
//
//   auto s = telvor::catalogue::Selector::byName("Main archive");
//   std::size_t i = catalogue.selectOne(s);   // throws, listing candidates, unless exactly one
//
// By position (1-based, as `list` numbers them), by name (canonical equivalence, so a
// precomposed and a decomposed "é" match), by AE title (the same comparison), or by
// identifier. Identifiers select only in JSON catalogues: a property list stores none, and
// each read of one draws new random identifiers, so an identifier seen once would never
// match again.
#pragma once

#include <cstddef>
#include <string>

#include "telvor/catalogue/telvor_catalogue_export.hpp"

namespace telvor::catalogue {

struct TELVOR_CATALOGUE_API Selector {
  enum class By { index, name, aetitle, id };
  By by = By::index;
  std::string value;  // the text given; an index as decimal text

  static Selector byIndex(std::size_t oneBased) { return {By::index, std::to_string(oneBased)}; }
  static Selector byName(std::string text) { return {By::name, std::move(text)}; }
  static Selector byAetitle(std::string text) { return {By::aetitle, std::move(text)}; }
  static Selector byId(std::string uuid) { return {By::id, std::move(uuid)}; }

  // "position 2", "the name \"Main archive\"": the selector in the catalogue's terms.
  std::string describe() const;
};

}  // namespace telvor::catalogue
