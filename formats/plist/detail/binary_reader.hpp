// The binary property-list reader ("bplist00"): one walk of the object graph from the top
// object, without recursion, straight into property values.
//
// A binary list may share an object among many references; each reference gets its own
// copy of the value, as in every other reader. What that expansion may cost is bounded
// (see readBinary), so a few hundred bytes cannot ask for gigabytes.
#pragma once

#include <string_view>

#include "detail/value_builder.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {

// Reads `bytes`, which start with "bplist". Throws PlistError:
// - malformed: another version than "bplist00", a damaged trailer or offset table, an
//   object or reference outside the list, an object of no known type, a cycle of
//   references, an integer that needs more than 64 bits, a dictionary key that is not a
//   string;
// - unsupportedValue: a UID or null object, text with a NUL character or that is not
//   valid UTF-8 (UTF-16);
// - tooLarge: counting each shared object once per reference, more values than the
//   input has bytes (a writer that shares no containers cannot produce that: every value
//   costs at least one byte of reference), or more bytes of text and data than 16 times
//   the input or 64 MiB, whichever is more (writers do share equal strings);
// - unexpectedShape, tooDeep: as parse() documents.
// Each dictionary goes to `take` as soon as it is complete; gives whether the root is an
// array.
bool readBinary(std::string_view bytes, ValueBuilder::Take take, ValueBuilder::Expect expect = {});

}  // namespace telvor::plist::detail
