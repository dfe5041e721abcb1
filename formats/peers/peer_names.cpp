#include "telvor/peers/peer_names.hpp"

namespace telvor::peers {

std::string UniqueNames::claim(const std::string& wanted) {
  std::string name = wanted;
  for (int n = 2; !taken_.insert(name).second; ++n) name = wanted + separator_ + std::to_string(n);
  return name;
}

bool portInRange(std::string_view port, long low, long high, long* value) noexcept {
  if (port.empty()) return false;
  long number = 0;
  for (char c : port) {
    if (c < '0' || c > '9') return false;
    number = number * 10 + (c - '0');
    if (number > high) return false;
  }
  if (number < low || number > high) return false;
  if (value) *value = number;
  return true;
}

std::size_t utf8Length(std::string_view text) noexcept {
  std::size_t n = 0;
  for (unsigned char c : text) n += (c & 0xC0) != 0x80;
  return n;
}

std::string lineAndColumn(std::string_view text, std::size_t offset) {
  std::size_t line = 1, column = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace telvor::peers
