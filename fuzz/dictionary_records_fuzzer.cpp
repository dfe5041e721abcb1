// Structured fuzzing of the dictionary forms: the input describes a PropertyDictionary
// (see support/dictionary_builder.hpp), which every record then reads. The readers must
// never throw, must give what the key tables say, and toDictionary() followed by reading
// must obey the documented asymmetries (support/dictionary_oracle.hpp). The dictionary
// itself must copy deeply and compare equal to its copy, its texts must compare by
// canonical equivalence (support/text_checks.hpp), and (with the property-list
// format built) be written as a property list exactly when it can be, reading back as
// documented (support/plist_checks.hpp).
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/check.hpp"
#include "support/dictionary_builder.hpp"
#include "support/dictionary_oracle.hpp"
#include "support/text_checks.hpp"
#ifdef TELVOR_FUZZ_PLIST
#include "support/plist_checks.hpp"
#endif

namespace telvor::fuzz {
namespace {

// Whether a value holds a real or date that is not a number (NaN compares unequal to
// itself, so such a dictionary is not equal to its own copy).
bool holdsNaN(const PropertyDictionary& d);

bool holdsNaN(const PropertyValue& v) {
  const PropertyOther* o = v.otherValue();
  if (o == nullptr) return false;
  if (o->real()) return std::isnan(*o->real());
  if (o->date()) return std::isnan(o->date()->secondsSinceReferenceDate);
  if (o->array())
    for (const auto& element : *o->array())
      if (holdsNaN(element)) return true;
  return o->dictionary() && holdsNaN(*o->dictionary());
}

bool holdsNaN(const PropertyDictionary& d) {
  for (const auto& [key, value] : d)
    if (holdsNaN(value)) return true;
  return false;
}

}  // namespace
}  // namespace telvor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace telvor::fuzz;
  FuzzedDataProvider input(data, size);
  const telvor::PropertyDictionary dictionary = buildDictionary(input);

  telvor::PropertyDictionary copy = dictionary;
  if (!holdsNaN(dictionary)) check(copy == dictionary, "a copied dictionary equals the original");
  const telvor::PropertyDictionary moved = std::move(copy);
  check(moved.size() == dictionary.size(), "a moved dictionary keeps its entries");

  checkDictionaryReading(dictionary);

  // The texts of the dictionary (and their keys), pairwise, for text equality.
  std::vector<std::string> texts;
  for (const auto& [key, value] : dictionary) {
    if (texts.size() >= 12) break;
    texts.push_back(key);
    if (const std::string* text = value.textValue()) texts.push_back(*text);
  }
  checkTextEquality(texts);
#ifdef TELVOR_FUZZ_PLIST
  checkPlistWriting(dictionary);
#endif
  return 0;
}
