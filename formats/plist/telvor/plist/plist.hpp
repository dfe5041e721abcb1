// The property-list format: property dictionaries read from and written as XML or
// binary property lists (the files a macOS settings store keeps).
//
//   std::string bytes = ...;                                  // the file's contents
//   telvor::plist::PropertyListDocument doc = telvor::plist::parse(bytes);
//   for (const auto& dictionary : doc.dictionaries) { ... }   // one per saved node
//   std::string xml = telvor::plist::serialize(doc);          // XML; deterministic
//   std::string bin = telvor::plist::serialize(doc, telvor::plist::Format::binary);
//
// The format takes and gives bytes; it opens no files and logs nothing.
//
// Reading. The root must be a dictionary or an array whose elements are all dictionaries.
// Values map onto PropertyValue kinds as follows:
//
// | property list                               | PropertyValue                      |
// |---------------------------------------------|------------------------------------|
// | string                                      | text                               |
// | integer within Int64 (-1 stays -1)          | integer                            |
// | integer above Int64 (up to 2^64-1)          | other: unsignedInteger             |
// | true, false                                 | boolean                            |
// | real, date, data                            | other: real, date, data            |
// | array, nested dictionary                    | other: array, dictionary (their    |
// |                                             | elements mapped by this same table)|
// | UID (keyed archives only)                   | refused: unsupportedValue          |
//
// A property list has no boxed number distinct from an integer, so a number object is
// written as an integer and reads back as one; PropertyDictionary::readInt accepts both.
// Everything else comes back exactly as it was written, with the limits of the XML form
// itself: dates keep whole seconds and must lie in the years 1000 to 9999, and a real -0
// reads back as 0. The binary form keeps every date and real bit for bit.
//
// Input is checked before libplist sees it, because libplist's readers recurse without a
// limit and accept some damage silently. Refused with PlistError (see plist_error.hpp):
// - nesting of arrays and dictionaries deeper than kMaxDepth (the root is level 1);
// - XML that is not well formed as far as a property list goes: unknown markup, an
//   integer, real, date or data element whose text is not that kind's form (libplist
//   would read "abc" as 0, "010" as 8, -9223372036854775809 as the largest Int64 and
//   2023-02-30 as March 2nd), a key without a value, content after the root;
// - binary property lists that are truncated or point outside themselves, contain a
//   cycle, hold an integer that needs more than 64 bits, or whose shared objects would
//   expand, copied once per reference as libplist copies them, to more values than the
//   input has bytes or more text and data than 16 times the input or 64 MiB (a few
//   hundred bytes could otherwise expand to gigabytes);
// - text (values and keys) that is not valid UTF-8 or holds a NUL character, which the
//   writer could not write back;
// - more than 4 GiB of input.
// A key that occurs twice in one dictionary keeps its last value.
//
// Writing. Keys come out in the dictionary's key order, so equal documents give equal
// bytes. Text, integer, boolean and number object (as an integer) are written as the
// property-list types above; each kind of other goes back to the type it came from. An
// unsignedInteger within Int64 is an ordinary integer and reads back as one.
//
// libplist reads and writes the XML form's reals with the C library, which follows the
// process's LC_NUMERIC: a program that sets a locale with a decimal comma should keep
// LC_NUMERIC at "C" while it reads or writes XML property lists.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/plist/plist_error.hpp"
#include "telvor/plist/telvor_plist_export.hpp"

namespace telvor::plist {

// The deepest nesting of arrays and dictionaries that parse() and serialize() accept.
// The root container is level 1; each container inside adds one.
inline constexpr std::size_t kMaxDepth = 64;

enum class Format {
  xml,     // the text form, UTF-8 with tab indentation
  binary,  // the compact "bplist00" form
};

// The dictionaries a property list holds, and whether they came as an array.
struct PropertyListDocument {
  std::vector<PropertyDictionary> dictionaries;
  // True when the root is an array (of any number of dictionaries, also one or none);
  // false when the root is a single dictionary.
  bool wasArray = false;

  friend bool operator==(const PropertyListDocument&, const PropertyListDocument&) = default;
};

// Reads an XML or binary property list (the form is recognised from the bytes). Throws
// PlistError when the bytes are not a property list this library reads, with a message
// saying what is wrong and where (a line and column, a binary object number, or the
// path of the offending value such as `$[2].Port`).
TELVOR_PLIST_API PropertyListDocument parse(std::string_view bytes);

// Reads a property list whose root must be a single dictionary. Throws PlistError, as
// parse() does, and also when the root is an array.
TELVOR_PLIST_API PropertyDictionary parseDictionary(std::string_view bytes);

// Writes one dictionary as the root. Throws PlistError (unwritable, tooDeep) for a value
// a property list cannot hold: text or a key that is not valid UTF-8 or holds a NUL
// character, nesting deeper than kMaxDepth, and in the XML form a date outside the years
// 1000 to 9999 (or not a number). Nothing is returned then.
TELVOR_PLIST_API std::string serialize(const PropertyDictionary& dictionary, Format format = Format::xml);

// Writes a document: an array of its dictionaries when wasArray is set, else its one
// dictionary (a document of none or several dictionaries without wasArray is unwritable).
TELVOR_PLIST_API std::string serialize(const PropertyListDocument& document, Format format = Format::xml);

}  // namespace telvor::plist
