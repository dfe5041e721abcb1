#include "detail/json_comments.hpp"

#include "telvor/peers/peer_list.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::peers::detail {

std::string blankComments(std::string_view text) {
  std::string out(text);
  std::size_t i = 0;
  const auto blank = [&](std::size_t from, std::size_t to) {
    for (std::size_t k = from; k < to; ++k)
      if (out[k] != '\n' && out[k] != '\r') out[k] = ' ';
  };
  while (i < out.size()) {
    const char c = out[i];
    if (c == '"') {  // a string: skip to its closing quote; the parser judges the rest
      for (++i; i < out.size() && out[i] != '"'; ++i)
        if (out[i] == '\\') ++i;
      ++i;
    } else if (c == '/' && i + 1 < out.size() && out[i + 1] == '/') {
      const std::size_t end = out.find('\n', i);
      const std::size_t stop = end == std::string::npos ? out.size() : end;
      blank(i, stop);
      i = stop;
    } else if (c == '/' && i + 1 < out.size() && out[i + 1] == '*') {
      const std::size_t close = out.find("*/", i + 2);
      if (close == std::string::npos)
        throw PeerFormatError(lineAndColumn(text, i), "not JSON as Orthanc reads it: this comment (\"/*\") is never closed");
      blank(i, close + 2);
      i = close + 2;
    } else {
      ++i;
    }
  }
  return out;
}

}  // namespace telvor::peers::detail
