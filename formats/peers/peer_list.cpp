#include "telvor/peers/peer_list.hpp"

#include <optional>
#include <string_view>

namespace telvor::peers {
namespace {

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string shown(const std::optional<std::string>& text) { return text ? quoted(*text) : "absent"; }
std::string shown(const std::optional<bool>& flag) { return flag ? (*flag ? "true" : "false") : "absent"; }
std::string shown(bool flag) { return flag ? "true" : "false"; }
std::string shown(const std::optional<std::int64_t>& number) { return number ? std::to_string(*number) : "absent"; }
template <class E>
std::string shown(E value) requires std::is_enum_v<E> {
  return std::string(title(value));
}

struct Reporter {
  std::size_t position;
  std::string label;
  std::vector<PeerLoss>& losses;

  template <class T>
  void compare(const char* field, const T& given, const T& carried) {
    if (given == carried) return;
    losses.push_back({position, label, field, shown(given), "reads back as " + shown(carried)});
  }
  // Texts byte for byte, where the records themselves compare by canonical equivalence.
  void compareText(const char* field, const std::optional<std::string>& given,
                   const std::optional<std::string>& carried) {
    if (given.has_value() == carried.has_value() && (!given || *given == *carried)) return;
    losses.push_back({position, label, field, shown(given), "reads back as " + shown(carried)});
  }
  void compareSecret(const char* field, const std::optional<std::string>& given,
                     const std::optional<std::string>& carried) {
    if (given == carried) return;
    losses.push_back({position, label, field, given ? "(set, not shown)" : "absent",
                      carried ? "reads back as another value (not shown)" : "not written"});
  }
};

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
  Reporter r{position, labelOf(given), losses};
  r.compareText("name", given.name, carried.name);
  r.compareText("aetitle", given.aetitle, carried.aetitle);
  r.compareText("address", given.address, carried.address);
  r.compareText("port", given.port, carried.port);
  r.compare("transferSyntax", given.transferSyntax, carried.transferSyntax);
  r.compare("retrieveMode", given.retrieveMode, carried.retrieveMode);
  r.compare("isDicomNode", given.isDicomNode, carried.isDicomNode);
  r.compare("isQueryable", given.isQueryable, carried.isQueryable);
  const WadoSettings& gw = given.wadoSettings;
  const WadoSettings& cw = carried.wadoSettings;
  r.compareText("wadoSettings.url", gw.url, cw.url);
  r.compare("wadoSettings.port", gw.port, cw.port);
  r.compareText("wadoSettings.username", gw.username, cw.username);
  r.compareSecret("wadoSettings.password", gw.password, cw.password);
  r.compare("wadoSettings.retrieveSyntax", gw.retrieveSyntax, cw.retrieveSyntax);
  r.compare("wadoSettings.https", gw.https, cw.https);
  r.compareText("icon", given.icon, carried.icon);
  if (given.tlsSettings.has_value() != carried.tlsSettings.has_value()) {
    losses.push_back({position, r.label, "tlsSettings", given.tlsSettings ? "present" : "absent",
                      carried.tlsSettings ? "reads back as the default TLS settings" : "reads back as absent"});
    return;
  }
  if (!given.tlsSettings) return;
  const TlsSettings& gt = *given.tlsSettings;
  const TlsSettings& ct = *carried.tlsSettings;
  r.compare("tlsSettings.isEnabled", gt.isEnabled, ct.isEnabled);
  if (gt.securityProfile != ct.securityProfile)
    losses.push_back({position, r.label, "tlsSettings.securityProfile",
                      "profile " + std::to_string(rawValue(gt.securityProfile)),
                      "reads back as profile " + std::to_string(rawValue(ct.securityProfile))});
  r.compare("tlsSettings.verifyPeerCertificate", gt.verifyPeerCertificate, ct.verifyPeerCertificate);
  r.compare("tlsSettings.authenticateWithCertificate", gt.authenticateWithCertificate, ct.authenticateWithCertificate);
}

}  // namespace telvor::peers
