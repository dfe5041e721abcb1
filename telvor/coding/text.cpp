#include "telvor/coding/text.hpp"

#include <utf8proc.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace telvor {
namespace {

struct FreeDeleter {
  void operator()(utf8proc_uint8_t* p) const noexcept { std::free(p); }
};
using Normalized = std::unique_ptr<utf8proc_uint8_t, FreeDeleter>;

// The canonical decomposition (NFD) of valid UTF-8 text, or null on failure.
Normalized decompose(std::string_view text, utf8proc_ssize_t& length) noexcept {
  utf8proc_uint8_t* out = nullptr;
  length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                        static_cast<utf8proc_ssize_t>(text.size()), &out,
                        static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE));
  if (length < 0) return nullptr;
  return Normalized(out);
}

}  // namespace

bool isValidUtf8(std::string_view text) noexcept {
  std::size_t i = 0;
  // Skip the ASCII prefix eight bytes at a time; most texts are entirely ASCII.
  constexpr std::uint64_t kHighBits = 0x8080808080808080u;
  for (std::uint64_t word = 0; i + 8 <= text.size(); i += 8) {
    std::memcpy(&word, text.data() + i, 8);
    if ((word & kHighBits) != 0) break;
  }
  while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80) ++i;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  while (i < text.size()) {
    utf8proc_int32_t codepoint = 0;
    const utf8proc_ssize_t n =
        utf8proc_iterate(bytes + i, static_cast<utf8proc_ssize_t>(text.size() - i), &codepoint);
    if (n <= 0 || codepoint < 0) return false;
    i += static_cast<std::size_t>(n);
  }
  return true;
}

namespace detail {

bool canonicallyEqual(std::string_view a, std::string_view b) noexcept {
  if (!isValidUtf8(a) || !isValidUtf8(b)) return false;
  utf8proc_ssize_t lengthA = 0;
  utf8proc_ssize_t lengthB = 0;
  const Normalized na = decompose(a, lengthA);
  const Normalized nb = decompose(b, lengthB);
  if (!na || !nb) return false;
  return lengthA == lengthB && std::memcmp(na.get(), nb.get(), static_cast<std::size_t>(lengthA)) == 0;
}

}  // namespace detail
}  // namespace telvor
