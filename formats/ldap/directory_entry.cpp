#include "telvor/ldap/directory_entry.hpp"

#include <algorithm>

namespace telvor::ldap {
namespace {

char lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lowered(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), lower);
  return out;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lower(x) == lower(y); });
}

// The offset of the first ',' that no backslash escapes, or npos.
std::size_t firstSeparator(std::string_view dn) noexcept {
  for (std::size_t i = 0; i < dn.size(); ++i) {
    if (dn[i] == '\\') ++i;
    else if (dn[i] == ',') return i;
  }
  return std::string_view::npos;
}

std::string_view trimmed(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  // A trailing space that a backslash escapes belongs to the value.
  while (!text.empty() && text.back() == ' ' && !(text.size() >= 2 && text[text.size() - 2] == '\\')) text.remove_suffix(1);
  return text;
}

}  // namespace

const std::vector<std::string>& DirectoryEntry::values(std::string_view name) const {
  static const std::vector<std::string> none;
  const auto found = attributes.find(lowered(name));
  return found == attributes.end() ? none : found->second;
}

std::optional<std::string> DirectoryEntry::first(std::string_view name) const {
  const auto& all = values(name);
  if (all.empty()) return std::nullopt;
  return all.front();
}

bool DirectoryEntry::hasClass(std::string_view objectClass) const {
  const auto& classes = values("objectclass");
  return std::any_of(classes.begin(), classes.end(), [&](const std::string& c) { return equalIgnoringCase(c, objectClass); });
}

std::string normalizedDn(std::string_view dn) {
  std::string out;
  while (true) {
    const std::size_t end = firstSeparator(dn);
    std::string_view rdn = trimmed(dn.substr(0, end));
    const std::size_t equals = rdn.find('=');
    if (equals != std::string_view::npos)
      out += std::string(trimmed(rdn.substr(0, equals))) + '=' + std::string(trimmed(rdn.substr(equals + 1)));
    else
      out += rdn;
    if (end == std::string_view::npos) break;
    out += ',';
    dn.remove_prefix(end + 1);
  }
  return lowered(out);
}

std::string parentDn(std::string_view dn) {
  const std::size_t end = firstSeparator(dn);
  if (end == std::string_view::npos) return {};
  return std::string(trimmed(dn.substr(end + 1)));
}

std::string escapeDnValue(std::string_view value) {
  std::string out;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (c == '\0') {
      out += "\\00";
      continue;
    }
    const bool special = std::string_view(",+\"\\<>;=").find(c) != std::string_view::npos;
    const bool edge = (i == 0 && (c == '#' || c == ' ')) || (i + 1 == value.size() && c == ' ');
    if (special || edge) out += '\\';
    out += c;
  }
  return out;
}

std::optional<bool> ldapBoolean(const std::optional<std::string>& value) noexcept {
  if (!value) return std::nullopt;
  if (*value == "TRUE") return true;
  if (*value == "FALSE") return false;
  return std::nullopt;
}

}  // namespace telvor::ldap
