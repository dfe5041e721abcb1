#include "support/terminal_text.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <cstdio>

namespace telvor::tool {
namespace {

// Characters a terminal acts on, or that reorder or break the text around them.
bool needsEscape(utf8proc_int32_t c) {
  if (c < 0x20 || c == 0x7F || (c >= 0x80 && c <= 0x9F)) return true;
  if (c == 0x2028 || c == 0x2029) return true;                       // line and paragraph separators
  return c == 0x061C || c == 0x200E || c == 0x200F ||                // bidirectional marks
         (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);  // embeddings, overrides, isolates
}

// Calls shown(bytes, columns) for each unit of `text` as it is shown, in order, until it
// returns false.
template <class Shown>
void forEachShown(std::string_view text, Shown&& shown) {
  std::size_t at = 0;
  char escape[8];
  while (at < text.size()) {
    utf8proc_int32_t c = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at),
                                         static_cast<utf8proc_ssize_t>(text.size() - at), &c);
    std::string_view unit;
    std::size_t columns = 0;
    if (length <= 0 || (needsEscape(c) && c < 0x80)) {
      const int written = std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(text[at]));
      unit = std::string_view(escape, static_cast<std::size_t>(written));
      columns = unit.size();
      at += 1;
    } else {
      if (needsEscape(c)) {
        const int written = std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
        unit = std::string_view(escape, static_cast<std::size_t>(written));
        columns = unit.size();
      } else {
        unit = text.substr(at, static_cast<std::size_t>(length));
        columns = static_cast<std::size_t>(utf8proc_charwidth(c));
      }
      at += static_cast<std::size_t>(length);
    }
    if (!shown(unit, columns)) return;
  }
}

constexpr std::string_view kEllipsis = "\u2026";

}  // namespace

std::string escapeForTerminal(std::string_view text) {
  // Printable ASCII, most names, is shown as it is: no need to decode it.
  if (std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; })) return std::string(text);
  std::string out;
  out.reserve(text.size());
  forEachShown(text, [&](std::string_view unit, std::size_t) {
    out += unit;
    return true;
  });
  return out;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  forEachShown(text, [&](std::string_view, std::size_t columns) {
    width += columns;
    return true;
  });
  return width;
}

std::string terminalCell(std::string_view text, std::size_t maxWidth) {
  if (maxWidth == 0) return {};
  std::string out;
  std::size_t used = 0;
  std::size_t keep = 0;  // how much of `out` stays when the ellipsis has to follow
  bool cut = false;
  forEachShown(text, [&](std::string_view unit, std::size_t columns) {
    if (used + columns > maxWidth) {
      cut = true;
      return false;
    }
    out += unit;
    used += columns;
    if (used < maxWidth) keep = out.size();
    return true;
  });
  if (cut) {
    out.resize(keep);
    out += kEllipsis;
  }
  return out;
}

std::string maskUrlPassword(std::string_view url) {
  const auto scheme = url.find("://");
  if (scheme == std::string_view::npos) return std::string(url);
  const std::size_t start = scheme + 3;
  const std::size_t end = std::min(url.find_first_of("/?#", start), url.size());
  const std::string_view authority = url.substr(start, end - start);
  const auto at = authority.rfind('@');
  const auto colon = authority.find(':');
  if (at == std::string_view::npos || colon == std::string_view::npos || colon > at) return std::string(url);
  return std::string(url.substr(0, start + colon + 1)) + "***" + std::string(url.substr(start + at));
}

}  // namespace telvor::tool
