// The fixed frame of a binary property list ("bplist00"): header, object area, offset
// table and the 32-byte trailer that says where everything is. Shared by the screen that
// checks untrusted input and by the helpers that build and inspect single objects.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <cstdint>
#include <optional>
#include <string_view>

namespace telvor::plist::detail {

inline constexpr std::string_view kBinaryMagic = "bplist00";
inline constexpr std::size_t kBinaryTrailerSize = 32;

// Big-endian unsigned integer of `width` (1 to 8) bytes at `at`; the caller has checked
// that the bytes exist.
inline std::uint64_t readBigEndian(std::string_view bytes, std::size_t at, std::size_t width) noexcept {
  // References and offsets are read once per value: the usual widths load in one go.
  const char* p = bytes.data() + at;
  switch (width) {
    case 1: return static_cast<unsigned char>(*p);
    case 2: {
      std::uint16_t v;
      std::memcpy(&v, p, 2);
      return std::endian::native == std::endian::big ? v : __builtin_bswap16(v);
    }
    case 4: {
      std::uint32_t v;
      std::memcpy(&v, p, 4);
      return std::endian::native == std::endian::big ? v : __builtin_bswap32(v);
    }
    case 8: {
      std::uint64_t v;
      std::memcpy(&v, p, 8);
      return std::endian::native == std::endian::big ? v : __builtin_bswap64(v);
    }
    default: break;
  }
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

struct BinaryTrailer {
  std::size_t offsetSize = 0;     // bytes per offset-table entry, 1 to 8
  std::size_t referenceSize = 0;  // bytes per object reference, 1 to 8
  std::uint64_t objectCount = 0;
  std::uint64_t topObject = 0;
  std::uint64_t offsetTableStart = 0;
};

// The trailer of `bytes`, or absent when it cannot be one: too short, entry sizes out of
// range, an offset table that does not fit between the header and the trailer, or a
// top object beyond the object count.
inline std::optional<BinaryTrailer> readTrailer(std::string_view bytes) noexcept {
  if (bytes.size() < kBinaryMagic.size() + 2 + kBinaryTrailerSize) return std::nullopt;
  const std::size_t t = bytes.size() - kBinaryTrailerSize;
  BinaryTrailer trailer;
  trailer.offsetSize = static_cast<unsigned char>(bytes[t + 6]);
  trailer.referenceSize = static_cast<unsigned char>(bytes[t + 7]);
  trailer.objectCount = readBigEndian(bytes, t + 8, 8);
  trailer.topObject = readBigEndian(bytes, t + 16, 8);
  trailer.offsetTableStart = readBigEndian(bytes, t + 24, 8);
  const bool sizesFit = trailer.offsetSize >= 1 && trailer.offsetSize <= 8 && trailer.referenceSize >= 1 &&
                        trailer.referenceSize <= 8;
  if (!sizesFit || trailer.objectCount == 0 || trailer.topObject >= trailer.objectCount) return std::nullopt;
  if (trailer.offsetTableStart <= kBinaryMagic.size() || trailer.offsetTableStart > t) return std::nullopt;
  if (trailer.objectCount > (t - trailer.offsetTableStart) / trailer.offsetSize) return std::nullopt;
  return trailer;
}

// Where object `object` starts, or absent when its offset points outside the object
// area. The object must be below the trailer's object count.
inline std::optional<std::size_t> objectOffset(std::string_view bytes, const BinaryTrailer& trailer,
                                               std::uint64_t object) noexcept {
  const std::uint64_t at = readBigEndian(bytes, trailer.offsetTableStart + object * trailer.offsetSize,
                                         trailer.offsetSize);
  if (at < kBinaryMagic.size() || at >= trailer.offsetTableStart) return std::nullopt;
  return static_cast<std::size_t>(at);
}

}  // namespace telvor::plist::detail
