// What `check` and `add` find wrong with a node among the others of its catalogue, beside
// what the node alone gets from validate(): an empty name, and a second node for the same
// peer.
//
//   const auto problems = telvor::tool::catalogueProblems(catalogue.nodes());
//   for (const auto& p : problems[i])
//     std::cout << p.code << ": " << p.message << '\n';   // "duplicate: Same AE title, ..."
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace telvor::tool {

struct CatalogueProblem {
  std::string code;     // "name-empty", "duplicate"
  std::string message;  // what is wrong and what to do about it
};

// The problems of each of `nodes`, by index: its name is present but empty; an earlier
// node has the same AE title, address and port (the later one is flagged, naming the
// first by its number in `list`). Takes time linear in the number of nodes.
std::vector<std::vector<CatalogueProblem>> catalogueProblems(std::span<const DicomNode> nodes);

// The number (from 1) of the first of `nodes` with the AE title, address and port of `node`.
std::optional<std::size_t> samePeerAs(std::span<const DicomNode> nodes, const DicomNode& node);

}  // namespace telvor::tool
