// A check of an XML property list before libplist parses it.
//
// libplist 2.2's XML reader is lenient where leniency loses data (an integer "abc" reads
// as 0, "010" as 8, a key without a value vanishes, content after the root is ignored)
// and it frees what it built recursively, so a deep nesting overflows the stack even when
// the input is refused. The screen reads the markup once, without recursion, in the
// shape a property list has (a prologue, one <plist> element holding one value, nothing
// after it but comments and processing instructions) and refuses what it cannot vouch
// for. Text inside <string> and <key> is libplist's to decode.
#pragma once

#include <string_view>

namespace telvor::plist::detail {

// Throws PlistError when `text` is not a property list this library reads safely:
// - tooDeep: arrays and dictionaries nested deeper than kMaxDepth;
// - malformed, with the line and column of the first fault: unknown elements or markup,
//   attributes anywhere but on <plist>, a document type with an internal subset,
//   mismatched or unterminated elements, text outside scalar elements, a dictionary
//   whose keys and values do not alternate, an <integer> that is not a decimal (or 0x
//   hexadecimal) number from -2^63 to 2^64-1 without leading zeros, a <real> that is not
//   a number, a <date> not of the form 2024-01-31T12:00:00Z or naming a day that does
//   not exist, <data> that is not base64.
void screenXml(std::string_view text);

}  // namespace telvor::plist::detail
