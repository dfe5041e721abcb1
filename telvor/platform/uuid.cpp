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

// Each byte's value as a hexadecimal digit, or -1.
constexpr std::array<std::int8_t, 256> kHexValue = [] {
  std::array<std::int8_t, 256> table{};
  for (auto& v : table) v = -1;
  for (int c = 0; c < 10; ++c) table['0' + c] = static_cast<std::int8_t>(c);
  for (int c = 0; c < 6; ++c) {
    table['a' + c] = static_cast<std::int8_t>(10 + c);
    table['A' + c] = static_cast<std::int8_t>(10 + c);
  }
  return table;
}();

// Where the two digits of each byte stand in the canonical text (8-4-4-4-12).
constexpr std::array<std::uint8_t, 16> kBytePositions = {0,  2,  4,  6,  9,  11, 14, 16,
                                                         19, 21, 24, 26, 28, 30, 32, 34};

// The canonical text in a fixed buffer, so that coding a UUID allocates nothing.
using CanonicalText = std::array<char, 36>;

CanonicalText canonicalText(const UUID::Bytes& bytes) noexcept {
  CanonicalText text{};
  std::size_t out = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text[out++] = '-';
    text[out++] = kHexDigits[bytes[i] >> 4];
    text[out++] = kHexDigits[bytes[i] & 0x0F];
  }
  return text;
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
  if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') return std::nullopt;
  Bytes bytes{};
  int invalid = 0;  // negative once any digit is not hexadecimal
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = kHexValue[static_cast<unsigned char>(text[kBytePositions[i]])];
    const int low = kHexValue[static_cast<unsigned char>(text[kBytePositions[i] + 1])];
    invalid |= high | low;
    bytes[i] = static_cast<std::uint8_t>((static_cast<unsigned>(high) << 4) | (static_cast<unsigned>(low) & 0x0Fu));
  }
  if (invalid < 0) return std::nullopt;
  return UUID(bytes);
}

std::string UUID::uuidString() const {
  const CanonicalText text = canonicalText(bytes_);
  return std::string(text.data(), text.size());
}

void UUID::encode(Encoder& encoder) const {
  const CanonicalText text = canonicalText(bytes_);
  encoder.singleValueContainer().encode(std::string_view(text.data(), text.size()));
}

UUID UUID::decode(const Decoder& decoder) {
  const auto text = decoder.singleValueContainer().decode<std::string_view>();
  if (auto uuid = fromString(text)) return *uuid;
  throw DecodingError::dataCorrupted(
      {decoder.codingPath(), "Attempted to decode UUID from invalid UUID string.", nullptr});
}

}  // namespace telvor
