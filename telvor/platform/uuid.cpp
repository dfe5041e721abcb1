#include "telvor/platform/uuid.hpp"

#include <sys/random.h>

#include <cerrno>
#include <system_error>

#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"

namespace telvor {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
// Where the hyphens stand in the canonical text.
constexpr bool isHyphenPosition(std::size_t i) noexcept { return i == 8 || i == 13 || i == 18 || i == 23; }

int hexValue(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

UUID UUID::random() {
  Bytes bytes;
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t n = getrandom(bytes.data() + filled, bytes.size() - filled, 0);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw std::system_error(errno, std::generic_category(), "no source of random bytes for a UUID");
    }
    filled += static_cast<std::size_t>(n);
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  return UUID(bytes);
}

std::optional<UUID> UUID::fromString(std::string_view text) noexcept {
  if (text.size() != 36) return std::nullopt;
  Bytes bytes{};
  std::size_t nibble = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHyphenPosition(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const int v = hexValue(text[i]);
    if (v < 0) return std::nullopt;
    bytes[nibble / 2] = static_cast<std::uint8_t>(bytes[nibble / 2] | (nibble % 2 == 0 ? v << 4 : v));
    ++nibble;
  }
  return UUID(bytes);
}

std::string UUID::uuidString() const {
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += kHexDigits[bytes_[i] >> 4];
    text += kHexDigits[bytes_[i] & 0x0F];
  }
  return text;
}

void UUID::encode(Encoder& encoder) const { encoder.singleValueContainer().encode(uuidString()); }

UUID UUID::decode(const Decoder& decoder) {
  const auto text = decoder.singleValueContainer().decode<std::string>();
  if (auto uuid = fromString(text)) return *uuid;
  throw DecodingError::dataCorrupted(
      {decoder.codingPath(), "Attempted to decode UUID from invalid UUID string.", nullptr});
}

}  // namespace telvor
