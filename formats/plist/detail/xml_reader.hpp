// The XML property-list reader: expat's events straight into property values.
//
// expat reads the markup without recursion and expands no entity the document declares:
// a document type with an internal subset is refused, and so is any entity reference
// beyond XML's own five and character references. On top of XML's well-formedness the
// reader holds the document to the shape of a property list (one <plist> element holding
// one value; dictionaries of keys and values by turns; known elements, attributes only on
// <plist>; text only inside scalars; comments anywhere, processing instructions outside
// scalars, CDATA only in <string> and <key>) and each scalar to its one form.
#pragma once

#include <string_view>

#include "detail/value_builder.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {

// Reads an XML property list. Throws PlistError:
// - malformed, with the line and column of the fault: not well-formed XML, a NUL
//   character, unknown elements, attributes anywhere but on <plist>, a document type with
//   an internal subset or an undeclared entity, text outside scalars, a dictionary whose
//   keys and values do not alternate, an <integer> that is not a decimal (or 0x
//   hexadecimal) number from -2^63 to 2^64-1 without leading zeros, a <real> that is not
//   a number, a <date> not of the form 2024-01-31T12:00:00Z or naming a day that does not
//   exist, <data> that is not base64, anything after </plist> but comments and processing
//   instructions;
// - unsupportedValue: text that is not valid UTF-8;
// - unexpectedShape, tooDeep: as parse() documents.
// Each dictionary goes to `take` as soon as it is complete; gives whether the root is an
// array.
bool readXml(std::string_view text, ValueBuilder::Take take);

}  // namespace telvor::plist::detail
