// Directory entries (written as LDIF-like blocks: "dn: ..." then "name: value" lines, a
// blank line between entries) through the configuration mapping. A directory is another
// party: whatever it holds, the mapping must not fail, every node must be one a viewer can
// connect to, every AE must end as a node or as a reason, and a DN the writer builds must
// split back into the parts it was built from.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/check.hpp"
#include "telvor/ldap/configuration_mapping.hpp"
#include "telvor/peers/peer_names.hpp"

namespace {

using telvor::fuzz::check;
using namespace telvor::ldap;

ConfigurationEntries parse(std::string_view text, std::size_t& aes, std::size_t& webApps) {
  ConfigurationEntries entries;
  DirectoryEntry entry;
  auto flush = [&] {
    if (entry.dn.empty() && entry.attributes.empty()) return;
    aes += entry.hasClass("dicomNetworkAE");
    webApps += !entry.hasClass("dicomNetworkAE") && !entry.hasClass("dicomNetworkConnection") &&
               !entry.hasClass("dicomDevice") && entry.hasClass("dcmWebApp");
    entries.add(std::move(entry));
    entry = DirectoryEntry();
  };
  while (!text.empty()) {
    const auto end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty()) {
      flush();
      continue;
    }
    const auto colon = line.find(": ");
    if (colon == std::string_view::npos) continue;
    std::string name(line.substr(0, colon));
    for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    const std::string value(line.substr(colon + 2));
    if (name == "dn") entry.dn = value;
    else entry.attributes[name].push_back(value);
  }
  flush();
  return entries;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::size_t aes = 0, webApps = 0;
  const ConfigurationEntries entries = parse(text, aes, webApps);
  const telvor::peers::PeerList list = nodesFromConfiguration(entries);

  for (const auto& node : list.nodes) {
    check(node.aetitle && !node.aetitle->empty(), "every node has an AE title");
    check(node.address && !node.address->empty(), "every node has an address");
    check(node.port && telvor::peers::portInRange(*node.port, 1, 65535), "every node has a port in 1-65535");
    check(writableProblem(node).empty(), "every node read can be written back");
  }
  std::size_t leftOut = 0;
  for (const auto& loss : list.losses) {
    check(loss.position >= 1 && loss.position <= aes + webApps, "loss positions count the AEs and web apps",
          std::to_string(loss.position));
    leftOut += loss.chosen.starts_with("left out");
  }
  check(list.nodes.size() + leftOut == aes, "each AE becomes a node or is left out with a reason",
        std::to_string(list.nodes.size()) + " + " + std::to_string(leftOut) + " != " + std::to_string(aes));

  // The writer's DNs: an escaped value stays one RDN under its parent, and normalising is stable.
  const std::string built = "dicomAETitle=" + escapeDnValue(text.substr(0, 64)) + ",cn=Devices";
  check(parentDn(built) == "cn=Devices", "an escaped value stays within its RDN", built);
  check(normalizedDn(normalizedDn(text)) == normalizedDn(text), "normalizing a DN twice changes nothing");
  return 0;
}
