#include "telvor/coding/coding_path.hpp"

#include <algorithm>

namespace telvor {

CodingPathComponent CodingPathComponent::key(std::string_view name) {
  return CodingPathComponent{std::string(name), std::nullopt};
}

CodingPathComponent CodingPathComponent::index(std::int64_t position) {
  return CodingPathComponent{"Index " + std::to_string(position), position};
}

std::string describe(const CodingPath& path) {
  std::string out = "$";
  for (const auto& c : path) {
    if (c.isIndex()) {
      out += '[';
      out += std::to_string(*c.intValue);
      out += ']';
    } else {
      out += '.';
      out += c.stringValue;
    }
  }
  return out;
}

CodingPath CodingPathLink::materialize() const {
  CodingPath path;
  for (const CodingPathLink* link = this; link != nullptr; link = link->parent_) {
    if (!link->isStep_) continue;
    path.push_back(link->isIndex_ ? CodingPathComponent::index(link->index_)
                                  : CodingPathComponent::key(link->key_));
  }
  std::reverse(path.begin(), path.end());
  return path;
}

}  // namespace telvor
