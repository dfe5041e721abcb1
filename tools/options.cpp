#include "options.hpp"

namespace telvor::tool {

std::optional<Format> formatOfPath(const std::string& path) {
  const auto dot = path.rfind('.');
  if (dot == std::string::npos) return std::nullopt;
  const std::string_view extension = std::string_view(path).substr(dot + 1);
  if (extension == "plist") return Format::plist;
  if (extension == "json") return Format::json;
  return std::nullopt;
}

}  // namespace telvor::tool
