// Ownership of libplist nodes, and the scalar reads and writes libplist 2.2's API does
// not offer directly.
//
// libplist 2.2 keeps every integer as 64 bits plus a private mark that says whether
// values from 2^63 up are negative (a signed 8-byte integer) or large (an unsigned
// 16-byte one), and keeps dates as a double that its API only gives as whole 32-bit
// seconds. Both are exact in a node's binary encoding, so that is where these helpers
// read them from, and where they build the nodes that the API cannot make.
#pragma once

#include <plist/plist.h>

#include <cstdint>
#include <memory>
#include <string>

namespace telvor::plist::detail {

struct NodeFree {
  void operator()(void* node) const noexcept { plist_free(node); }
};

// Owns a node and everything below it. A node appended to a container belongs to the
// container: release() the handle then.
using NodeHandle = std::unique_ptr<void, NodeFree>;

// Takes ownership of what a libplist constructor returned; throws std::bad_alloc for null
// (libplist returns null only when it cannot allocate).
NodeHandle adopt(plist_t node);

// An integer node's value: `bits` is the two's-complement value unless `isUnsigned`, which
// marks values from 2^63 to 2^64-1 held as unsigned.
struct IntegerValue {
  std::uint64_t bits = 0;
  bool isUnsigned = false;
};
IntegerValue integerValue(plist_t node);

// A date node's seconds since 2001-01-01 00:00:00 UTC, exactly.
double dateValue(plist_t node);

NodeHandle newSignedInteger(std::int64_t value);
// A value within Int64 becomes an ordinary (signed) integer.
NodeHandle newUnsignedInteger(std::uint64_t value);
NodeHandle newDate(double secondsSinceReferenceDate);

// The serialised form of a tree; throws std::bad_alloc when libplist produces nothing.
std::string toXml(plist_t root);
std::string toBinary(plist_t root);

}  // namespace telvor::plist::detail
