#include "catalogue_problems.hpp"

#include <functional>
#include <string_view>
#include <tuple>
#include <unordered_map>

namespace telvor::tool {
namespace {

// What makes two nodes the same peer, as views of the node's own texts.
using PeerKey = std::tuple<std::optional<std::string_view>, std::optional<std::string_view>,
                           std::optional<std::string_view>>;

std::optional<std::string_view> view(const std::optional<std::string>& text) {
  return text ? std::optional<std::string_view>(*text) : std::nullopt;
}

PeerKey peerKey(const DicomNode& node) { return {view(node.aetitle), view(node.address), view(node.port)}; }

struct PeerKeyHash {
  std::size_t operator()(const PeerKey& key) const noexcept {
    std::size_t seed = 0;
    const auto mix = [&seed](const std::optional<std::string_view>& part) {
      const std::size_t h = part ? std::hash<std::string_view>()(*part) : 0x9e3779b9u;
      seed ^= h + 0x9e3779b97f4a7c15u + (seed << 6) + (seed >> 2);
    };
    std::apply([&](const auto&... parts) { (mix(parts), ...); }, key);
    return seed;
  }
};

}  // namespace

std::optional<std::size_t> samePeerAs(std::span<const DicomNode> nodes, const DicomNode& node) {
  for (std::size_t i = 0; i < nodes.size(); ++i)
    if (nodes[i].aetitle == node.aetitle && nodes[i].address == node.address && nodes[i].port == node.port)
      return i + 1;
  return std::nullopt;
}

std::vector<std::vector<CatalogueProblem>> catalogueProblems(std::span<const DicomNode> nodes) {
  std::vector<std::vector<CatalogueProblem>> problems(nodes.size());
  // A catalogue of thousands of nodes is checked in one pass, not by comparing every pair.
  std::unordered_map<PeerKey, std::size_t, PeerKeyHash> firstOfPeer;
  firstOfPeer.reserve(nodes.size());
  for (std::size_t index = 0; index < nodes.size(); ++index) {
    const DicomNode& node = nodes[index];
    if (node.name && node.name->empty())
      problems[index].push_back({"name-empty", "Name is empty: give the node a name people can tell it by."});
    const auto [first, added] = firstOfPeer.try_emplace(peerKey(node), index + 1);
    if (!added)
      problems[index].push_back({"duplicate", "Same AE title, address and port as node " +
                                                  std::to_string(first->second) +
                                                  ": remove one of them, or correct the one that is wrong."});
  }
  return problems;
}

}  // namespace telvor::tool
