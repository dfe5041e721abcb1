#include "detail/libplist_node.hpp"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "detail/binary_layout.hpp"

namespace telvor::plist::detail {
namespace {

constexpr unsigned char kInteger16Marker = 0x14;  // an integer of 2^4 bytes
constexpr unsigned char kDateMarker = 0x33;

struct XmlFree {
  void operator()(char* text) const noexcept { plist_to_xml_free(text); }
};
struct BinaryFree {
  void operator()(char* bytes) const noexcept { plist_to_bin_free(bytes); }
};

template <class Free, class Writer>
std::string serialised(plist_t root, Writer write) {
  char* out = nullptr;
  std::uint32_t length = 0;
  write(root, &out, &length);
  const std::unique_ptr<char, Free> owned(out);
  if (out == nullptr) throw std::bad_alloc();
  return std::string(out, length);
}

// The bytes of the single object a one-node binary list holds (its marker first).
std::string_view onlyObject(std::string_view list) {
  const auto trailer = readTrailer(list);
  const auto at = trailer ? objectOffset(list, *trailer, trailer->topObject) : std::nullopt;
  if (!at) throw std::bad_alloc();  // libplist wrote no usable list: it ran out of memory
  return list.substr(*at, trailer->offsetTableStart - *at);
}

void appendBigEndian(std::string& out, std::uint64_t value) {
  for (int shift = 56; shift >= 0; shift -= 8) out += static_cast<char>((value >> shift) & 0xFFu);
}

// A node made from one binary object (marker and payload): a list of that object alone.
NodeHandle fromObject(std::string_view object) {
  std::string list(kBinaryMagic);
  list += object;
  const std::size_t tableStart = list.size();
  list += static_cast<char>(kBinaryMagic.size());  // the offset table: one 1-byte entry
  list.append(6, '\0');                             // unused, sort version
  list += '\1';                                     // offset size
  list += '\1';                                     // reference size
  appendBigEndian(list, 1);                         // object count
  appendBigEndian(list, 0);                         // top object
  appendBigEndian(list, tableStart);
  plist_t node = nullptr;
  plist_from_bin(list.data(), static_cast<std::uint32_t>(list.size()), &node);
  return adopt(node);
}

}  // namespace

NodeHandle adopt(plist_t node) {
  if (node == nullptr) throw std::bad_alloc();
  return NodeHandle(node);
}

IntegerValue integerValue(plist_t node) {
  IntegerValue value;
  plist_get_uint_val(node, &value.bits);
  if (value.bits > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    // Negative or large: only the encoding tells, 8 signed bytes or 16 unsigned ones.
    const std::string list = toBinary(node);
    value.isUnsigned = static_cast<unsigned char>(onlyObject(list).front()) == kInteger16Marker;
  }
  return value;
}

double dateValue(plist_t node) {
  const std::string list = toBinary(node);
  const std::string_view object = onlyObject(list);
  if (object.size() < 9 || static_cast<unsigned char>(object.front()) != kDateMarker) throw std::bad_alloc();
  return std::bit_cast<double>(readBigEndian(object, 1, 8));
}

NodeHandle newSignedInteger(std::int64_t value) {
  // plist_new_uint marks its value signed; -1 is written as -1.
  return adopt(plist_new_uint(static_cast<std::uint64_t>(value)));
}

NodeHandle newUnsignedInteger(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return newSignedInteger(static_cast<std::int64_t>(value));
  }
  std::string object(1, static_cast<char>(kInteger16Marker));
  appendBigEndian(object, 0);
  appendBigEndian(object, value);
  return fromObject(object);
}

NodeHandle newDate(double secondsSinceReferenceDate) {
  std::string object(1, static_cast<char>(kDateMarker));
  appendBigEndian(object, std::bit_cast<std::uint64_t>(secondsSinceReferenceDate));
  return fromObject(object);
}

std::string toXml(plist_t root) { return serialised<XmlFree>(root, plist_to_xml); }
std::string toBinary(plist_t root) { return serialised<BinaryFree>(root, plist_to_bin); }

}  // namespace telvor::plist::detail
