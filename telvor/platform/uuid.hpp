// UUID: a 128-bit universally unique identifier, the identity of a DicomNode.
//
//   telvor::UUID id = telvor::UUID::random();        // version 4, RFC 4122 variant
//   std::string text = id.uuidString();              // "E621E1F8-C36C-495A-93FC-0C247A3E6E5F"
//   auto back = telvor::UUID::fromString(text);      // == id
//   telvor::UUID::fromString("not a uuid");          // std::nullopt
//
// Its coded form is one text value, the canonical text; a text that is not a UUID is
// dataCorrupted when read.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "telvor/coding/codable.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

class TELVOR_API UUID {
 public:
  using Bytes = std::array<std::uint8_t, 16>;

  // The nil UUID (all zero bytes).
  constexpr UUID() noexcept = default;
  explicit constexpr UUID(const Bytes& bytes) noexcept : bytes_(bytes) {}

  // A new random (version 4) UUID from the operating system's cryptographically secure
  // source, drawn a few kilobytes at a time per thread (never shared with a forked child).
  // Throws std::system_error only if that source is unavailable.
  static UUID random();

  // Parses the 36-character hyphenated form (8-4-4-4-12 hexadecimal digits) in either
  // letter case; absent for anything else (no braces, no "urn:uuid:", no spaces).
  static std::optional<UUID> fromString(std::string_view text) noexcept;

  // The canonical 36-character text with upper-case hexadecimal digits.
  std::string uuidString() const;

  const Bytes& bytes() const noexcept { return bytes_; }

  void encode(Encoder& encoder) const;
  static UUID decode(const Decoder& decoder);

  // Equal when all 16 bytes are.
  friend bool operator==(const UUID&, const UUID&) = default;

 private:
  Bytes bytes_{};
};

}  // namespace telvor
