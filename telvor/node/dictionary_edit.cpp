// Applying an edited node to its stored dictionary key by key.
#include "telvor/node/dictionary_edit.hpp"

#include <string_view>

namespace telvor {
namespace {

// The two keys the dictionary form writes only under a condition; an edit may have to
// take them out.
constexpr std::string_view kConditionalKeys[] = {"isQueryable", "icon"};

bool isWadoKey(std::string_view key) { return key.starts_with("WADO"); }

bool sameValue(const PropertyValue* a, const PropertyValue* b) {
  if (a == nullptr || b == nullptr) return a == b;
  return *a == *b;
}

}  // namespace

DictionaryEdit applyDictionaryEdit(PropertyDictionary& stored, const DicomNode& before, const DicomNode& after) {
  DictionaryEdit edit;
  const std::optional<PropertyDictionary> next = after.toDictionary();
  if (!next) return edit;
  edit.applied = true;
  const std::optional<PropertyDictionary> previous = before.toDictionary();
  // Without a previous form, the stored entries themselves are what the edit compares with.
  const PropertyDictionary& old = previous ? *previous : stored;
  const bool becomesWado = after.retrieveMode == RetrieveModeType::wado && before.retrieveMode != RetrieveModeType::wado;

  for (const auto& [key, value] : *next) {
    if (sameValue(&value, old.find(key)) && !(becomesWado && isWadoKey(key))) continue;
    stored.setValue(key, value);
    edit.written.push_back(key);
  }
  for (const std::string_view key : kConditionalKeys) {
    if (next->contains(key) || !old.contains(key)) continue;
    if (stored.removeValue(key)) edit.removed.emplace_back(key);
  }
  return edit;
}

}  // namespace telvor
