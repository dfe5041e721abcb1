// PlistError: the one error the property-list format raises.
//
//   try {
//     auto document = telvor::plist::parse(bytes);
//   } catch (const telvor::plist::PlistError& e) {
//     std::cerr << e.what();
//     // "cannot read property list: the root array's element at index 3 is a string, not a
//     //  dictionary"
//   }
//
// It derives from std::runtime_error, not from CodingError: a property list is read into
// a PropertyDictionary, not through the keyed coding interface, so the coding errors'
// kinds and paths do not apply. A caller that only reports catches std::exception.
// No expat failure reaches a caller in any other form.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "telvor/plist/telvor_plist_export.hpp"

namespace telvor::plist {

class TELVOR_PLIST_API PlistError : public std::runtime_error {
 public:
  enum class Kind {
    // Reading: the bytes are not a well-formed XML or binary property list (not a
    // property list at all, truncated or damaged, malformed values, trailing content,
    // a cycle of references).
    malformed,
    // Reading: a well-formed property list whose shape is not one this library reads:
    // a root that is neither a dictionary nor an array of dictionaries, or a root array
    // element that is not a dictionary.
    unexpectedShape,
    // Reading: a value with no counterpart in a PropertyDictionary (a keyed-archive UID)
    // or text the writer could not write back (not valid UTF-8, a NUL character).
    unsupportedValue,
    // Reading or writing: containers nested deeper than kMaxDepth.
    tooDeep,
    // Reading: more than 4 GiB of input, or a binary property list whose shared objects
    // would expand beyond the limits plist.hpp states.
    tooLarge,
    // Writing: a value a property list cannot hold (text or a key that is not valid
    // UTF-8 or contains a NUL character; in the XML form also text with a character XML
    // forbids, or a date outside the years 1000 to 9999), or a document of several
    // dictionaries not marked as an array.
    unwritable,
  };

  // `message` is what what() returns; the format's messages open with "cannot read
  // property list: " or "cannot write property list: ". `path` is where the offending
  // value stands (`$[2].Port`), when the error is about one value.
  PlistError(Kind kind, const std::string& message, std::string path = {});

  Kind kind() const noexcept { return kind_; }
  // The offending value's path, or empty when the error is not about one value.
  const std::string& path() const noexcept { return path_; }
  // "malformed", "unexpectedShape", ...; the kind's name for diagnostics.
  std::string_view kindName() const noexcept;

 private:
  Kind kind_;
  std::string path_;
};

}  // namespace telvor::plist
