// Names and lines that other systems' files can hold: shared by the exporters.
//
//   telvor::peers::UniqueNames names;
//   names.claim("archive");   // "archive"
//   names.claim("archive");   // "archive-2"
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

#include "telvor/peers/telvor_peers_export.hpp"

namespace telvor::peers {

// Hands out names no earlier claim has taken: the name wanted, else it with "-2", "-3", ...
// (`separator` replaces '-' for formats that want another).
class TELVOR_PEERS_API UniqueNames {
 public:
  explicit UniqueNames(char separator = '-') : separator_(separator) {}
  std::string claim(const std::string& wanted);

 private:
  char separator_;
  std::set<std::string> taken_;
};

// `text` with every byte that `allowed` refuses replaced by `replacement` (a multi-byte
// character becomes one replacement).
template <class Allowed>
std::string keepOnly(std::string_view text, Allowed allowed, char replacement) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x80 && allowed(static_cast<char>(c))) {
      out += static_cast<char>(c);
    } else {
      out += replacement;
      if (c >= 0xC0)  // skip the continuation bytes of this character
        while (i + 1 < text.size() && (static_cast<unsigned char>(text[i + 1]) & 0xC0) == 0x80) ++i;
    }
  }
  return out;
}

// Whether the port text is only ASCII digits (leading zeros allowed) naming a number in
// [low, high]; the number goes to `value`.
TELVOR_PEERS_API bool portInRange(std::string_view port, long low, long high, long* value = nullptr) noexcept;

// The number of characters of UTF-8 `text` (bytes that do not continue a character).
TELVOR_PEERS_API std::size_t utf8Length(std::string_view text) noexcept;

// Line and column (from 1) of the byte at `offset` of `text`.
TELVOR_PEERS_API std::string lineAndColumn(std::string_view text, std::size_t offset);

}  // namespace telvor::peers
