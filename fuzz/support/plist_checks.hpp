// Checks of the property-list format for the fuzz targets:
//
// - reading bytes gives a document or the format's own PlistError of a reading kind;
// - a document read is written in both forms and reads back as the format documents
//   (binary: exactly, reals and dates bit for bit; XML: dates to the second),
//   and the XML form is settled after one pass;
// - writing a dictionary is refused (PlistError, unwritable or tooDeep) exactly when it
//   holds what a property list cannot (text or a key that is not UTF-8 or holds a NUL,
//   nesting beyond kMaxDepth; in XML a date outside the years 1000 to 9999, or text with
//   a character XML 1.0 forbids), and
//   otherwise reads back as documented;
// - each record's dictionary form passes through a property list unchanged in meaning.
//
// Every check aborts with a description when it fails.
#pragma once

#include <string_view>

#include "telvor/coding/property_dictionary.hpp"

namespace telvor::fuzz {

// Reads `bytes` as a property list and checks everything above, including every
// dictionary read with checkDictionaryReading.
void checkPlistBytes(std::string_view bytes);

// Writes `dictionary` in both forms and checks refusal or read-back as above.
void checkPlistWriting(const PropertyDictionary& dictionary);

}  // namespace telvor::fuzz
