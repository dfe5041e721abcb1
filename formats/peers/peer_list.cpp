#include "telvor/peers/peer_list.hpp"

#include <string_view>

#include "telvor/peers/field_losses.hpp"

namespace telvor::peers {
namespace {

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

}  // namespace

PeerFormatError::PeerFormatError(std::string place, const std::string& message)
    : std::runtime_error(place + ": " + message), place_(std::move(place)) {}

std::string nodePlace(std::size_t position, const std::string& label) {
  std::string place = "node " + std::to_string(position);
  if (!label.empty()) place += ' ' + quoted(label);
  return place;
}

std::string labelOf(const DicomNode& node) {
  if (node.name) return *node.name;
  return node.aetitle.value_or("");
}

std::string describe(const PeerLoss& loss) {
  return nodePlace(loss.position, loss.label) + ": " + loss.field + ": " + loss.lost + " -> " + loss.chosen;
}

void reportDifferences(const DicomNode& given, const DicomNode& carried, std::size_t position,
                       std::vector<PeerLoss>& losses) {
  reportFieldLosses(given, carried, position, labelOf(given), losses);
}

}  // namespace telvor::peers
