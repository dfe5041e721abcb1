#include "catalogue_problems.hpp"

namespace telvor::tool {

std::optional<std::size_t> samePeerAs(std::span<const DicomNode> nodes, const DicomNode& node) {
  for (std::size_t i = 0; i < nodes.size(); ++i)
    if (nodes[i].aetitle == node.aetitle && nodes[i].address == node.address && nodes[i].port == node.port)
      return i + 1;
  return std::nullopt;
}

std::vector<CatalogueProblem> catalogueProblems(std::span<const DicomNode> nodes, std::size_t index) {
  std::vector<CatalogueProblem> problems;
  const DicomNode& node = nodes[index];
  if (node.name && node.name->empty())
    problems.push_back({"name-empty", "Name is empty: give the node a name people can tell it by."});
  if (const auto first = samePeerAs(nodes.first(index), node))
    problems.push_back({"duplicate", "Same AE title, address and port as node " + std::to_string(*first) +
                                         ": remove one of them, or correct the one that is wrong."});
  return problems;
}

}  // namespace telvor::tool
