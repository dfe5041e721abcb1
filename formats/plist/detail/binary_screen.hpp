// A check of a binary property list before libplist parses it.
//
// libplist 2.2 reads binary property lists recursively and expands every shared object
// into a copy of its own: a nesting of 100 000 levels overflows the stack, and a few
// hundred bytes of arrays that share their elements expand into gigabytes. The screen
// walks the object graph from the top object without recursion, visits each object
// once, and refuses what libplist must not see.
#pragma once

#include <string_view>

namespace telvor::plist::detail {

// Throws PlistError when `bytes` (which start with "bplist") cannot be handed to
// libplist safely:
// - malformed: another version than "bplist00", a damaged trailer or offset table, an
//   object or reference outside the list, a cycle of references, an integer that needs
//   more than 64 bits;
// - unsupportedValue: a string with a NUL character;
// - tooDeep: arrays, sets and dictionaries nested deeper than kMaxDepth;
// - tooLarge: counting each shared object once per reference, more values than the
//   input has bytes (a writer that shares no containers cannot produce that: every value
//   costs at least one byte of reference), or more bytes of text and data than 16 times
//   the input or 64 MiB, whichever is more (writers do share equal strings).
// Everything else (object contents, key types, string encodings) is left to libplist.
void screenBinary(std::string_view bytes);

}  // namespace telvor::plist::detail
