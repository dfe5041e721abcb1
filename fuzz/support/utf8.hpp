// UTF-8 validity checked here on its own terms, so that the library's isValidUtf8 is
// compared against something independent of it.
#pragma once

#include <cstdint>
#include <string_view>

namespace telvor::fuzz {

inline bool validUtf8(std::string_view s) {
  std::size_t i = 0;
  while (i < s.size()) {
    const auto b = static_cast<unsigned char>(s[i]);
    std::size_t n = 0;
    std::uint32_t c = 0;
    if (b < 0x80) {
      ++i;
      continue;
    }
    if (b >= 0xC2 && b <= 0xDF) {
      n = 1;
      c = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
      n = 2;
      c = b & 0x0F;
    } else if (b >= 0xF0 && b <= 0xF4) {
      n = 3;
      c = b & 0x07;
    } else {
      return false;
    }
    if (s.size() - i < n + 1) return false;
    for (std::size_t k = 1; k <= n; ++k) {
      const auto t = static_cast<unsigned char>(s[i + k]);
      if ((t & 0xC0) != 0x80) return false;
      c = (c << 6) | (t & 0x3F);
    }
    if ((n == 2 && c < 0x800) || (n == 3 && (c < 0x10000 || c > 0x10FFFF)) || (c >= 0xD800 && c <= 0xDFFF))
      return false;
    i += n + 1;
  }
  return true;
}

}  // namespace telvor::fuzz
