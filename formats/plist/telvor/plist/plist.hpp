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
// itself: dates keep whole seconds and must lie in the years 1000 to 9999, and text must
// not hold characters XML 1.0 forbids (see serialize). The binary form keeps every date
// and real bit for bit, and any text.
//
// Each form is read in one pass, without recursion: XML through expat's events, the
// binary form by one walk of its object graph from the top object. Refused with
// PlistError (see plist_error.hpp):
// - nesting of arrays and dictionaries deeper than kMaxDepth (the root is level 1);
// - XML that is not well formed, or not as far as a property list goes: unknown markup,
//   a document type with an internal subset or an undeclared entity (nothing is ever
//   expanded), an integer, real, date or data element whose text is not that kind's form
//   ("abc", "010", -9223372036854775809, 2023-02-30), a key without a value, content
//   after the root;
// - binary property lists that are truncated or point outside themselves, contain a
//   cycle, hold an integer that needs more than 64 bits, or whose shared objects would
//   expand, copied once per reference, to more values than the input has bytes or more
//   text and data than 16 times the input or 64 MiB (a few hundred bytes could otherwise
//   expand to gigabytes);
// - text (values and keys) that is not valid UTF-8 or holds a NUL character, which the
//   writer could not write back;
// - more than 4 GiB of input.
// A key that occurs twice in one dictionary keeps its last value. A document of the wrong
// shape is read to its end first, so damage anywhere in it is reported before its shape.
//
// Writing. Keys come out in the dictionary's key order, so equal documents give equal
// bytes. Text, integer, boolean and number object (as an integer) are written as the
// property-list types above; each kind of other goes back to the type it came from. An
// unsignedInteger within Int64 is an ordinary integer and reads back as one. The binary
// form stores equal keys, texts and numbers once. Reals are written and read in the
// shortest form that gives the same double, whatever the process's locale.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
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

// Reads as parse() does, but hands each dictionary (the root one, or each element of the
// root array) to `take` as soon as it is complete instead of keeping them all, so that a
// caller can turn each into a record while the next is read. Gives whether the root is
// an array. When it throws, `take` may have had the dictionaries before the fault.
TELVOR_PLIST_API bool parseEach(std::string_view bytes, const std::function<void(PropertyDictionary&&)>& take);

// The same, and first tells `expect` how many dictionaries the root array holds when the
// form gives the count before its elements (the binary form does, XML does not), so that
// a caller can make room for the records at once. The count lies within the input's size.
TELVOR_PLIST_API bool parseEach(std::string_view bytes, const std::function<void(std::size_t)>& expect,
                                const std::function<void(PropertyDictionary&&)>& take);

// Reads a property list whose root must be a single dictionary. Throws PlistError, as
// parse() does, and also when the root is an array.
TELVOR_PLIST_API PropertyDictionary parseDictionary(std::string_view bytes);

// Writes one dictionary as the root. Throws PlistError (unwritable, tooDeep) for a value
// a property list cannot hold, with the value's path in PlistError::path(): text or a key
// that is not valid UTF-8 or holds a NUL character, nesting deeper than kMaxDepth, and in
// the XML form text or a key holding a character XML 1.0 forbids (a C0 control other than
// tab, line feed and carriage return; U+FFFE, U+FFFF) and a date outside the years 1000
// to 9999 (or not a number). Nothing is returned then.
TELVOR_PLIST_API std::string serialize(const PropertyDictionary& dictionary, Format format = Format::xml);

// Writes a document: an array of its dictionaries when wasArray is set, else its one
// dictionary (a document of none or several dictionaries without wasArray is unwritable).
TELVOR_PLIST_API std::string serialize(const PropertyListDocument& document, Format format = Format::xml);

// The same for dictionaries held elsewhere, which are not copied: an array of them when
// `asArray`, else the one dictionary.
TELVOR_PLIST_API std::string serialize(std::span<const PropertyDictionary> dictionaries, bool asArray,
                                       Format format = Format::xml);

// The same for `count` dictionaries made one at a time by `make(i)` (0 <= i < count) and
// dropped once written, so that a caller's records need not all be turned into
// dictionaries at once. Throws as above, and whatever `make` throws.
TELVOR_PLIST_API std::string serializeEach(std::size_t count, bool asArray,
                                           const std::function<PropertyDictionary(std::size_t)>& make,
                                           Format format = Format::xml);

}  // namespace telvor::plist
