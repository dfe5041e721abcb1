#include "io.hpp"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "save_stand_in.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

std::string readInput(const std::string& path) {
  if (path == "-") {
    std::ostringstream bytes;
    bytes << std::cin.rdbuf();
    return bytes.str();
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) throw InputError("cannot read \"" + path + "\": " + std::strerror(errno));
  std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (file.bad()) throw InputError("cannot read \"" + path + "\"");
  return bytes;
}

void writeOutput(const std::optional<std::string>& path, std::string_view bytes) {
  if (!path || *path == "-") {
    std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    std::cout.flush();
    return;
  }
  try {
    support::saveAtomically(*path, bytes);
  } catch (const support::SaveError& e) {
    throw SaveFailure(e.what());
  }
}

Format inputFormat(const std::optional<Format>& from, const std::string& path, std::string_view bytes) {
  if (from) return *from;
  if (auto byExtension = formatOfPath(path)) return *byExtension;
  const auto start = bytes.find_first_not_of(" \t\r\n");
  const std::string_view head = start == std::string_view::npos ? std::string_view() : bytes.substr(start);
  const bool looksLikePlist = head.starts_with("bplist") || head.starts_with("<?xml") || head.starts_with("<plist") ||
                              head.starts_with("<!DOCTYPE");
  return looksLikePlist ? Format::plist : Format::json;
}

}  // namespace telvor::tool
