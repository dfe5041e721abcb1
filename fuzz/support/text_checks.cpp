#include "text_checks.hpp"

#include <utf8proc.h>

#include <cstdlib>
#include <optional>

#include "check.hpp"
#include "telvor/coding/text.hpp"
#include "utf8.hpp"

namespace telvor::fuzz {
namespace {

// The text in the normal form `options` asks for, or absent when utf8proc refuses it.
std::optional<std::string> normalized(const std::string& text, int options) {
  utf8proc_uint8_t* out = nullptr;
  const utf8proc_ssize_t n = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                          static_cast<utf8proc_ssize_t>(text.size()), &out,
                                          static_cast<utf8proc_option_t>(options));
  if (n < 0) return std::nullopt;
  std::string result(reinterpret_cast<const char*>(out), static_cast<std::size_t>(n));
  std::free(out);
  return result;
}

constexpr int kNfd = UTF8PROC_STABLE | UTF8PROC_DECOMPOSE;
constexpr int kNfc = UTF8PROC_STABLE | UTF8PROC_COMPOSE;

bool reference(const std::string& a, const std::string& b) {
  if (!validUtf8(a) || !validUtf8(b)) return a == b;
  return normalized(a, kNfd) == normalized(b, kNfd);
}

}  // namespace

void checkTextEquality(std::span<const std::string> texts) {
  for (const std::string& t : texts) {
    check(textEquals(t, t), "textEquals is reflexive", t);
    if (!validUtf8(t)) continue;
    for (int form : {kNfd, kNfc}) {
      const auto n = normalized(t, form);
      check(n && textEquals(t, *n) && textEquals(*n, t), "a text equals its normal forms", t);
    }
  }
  for (const std::string& a : texts)
    for (const std::string& b : texts) {
      check(textEquals(a, b) == reference(a, b), "textEquals is canonical equivalence", a + " | " + b);
    }
}

}  // namespace telvor::fuzz
