#include "telvor/dcmtk/dcmqrscp_host_table.hpp"

#include <regex>
#include <set>
#include <string>
#include <tuple>

#include "dcmtk/config/osconfig.h"  // DCMTK wants its configuration before any of its headers
#include "dcmtk/dcmqrdb/dcmqrcnf.h"
#include "dcmtk_stderr_capture.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::dcmtk {
namespace {

using peers::PeerFormatError;
using peers::PeerLoss;

// DcmQueryRetrieveConfig keeps its host table private and offers lookups by AE title
// only, which lose peers that share an AE title and the entries' names. An explicit
// instantiation may name a private member, so this reads the table the class built.
template <auto Member>
struct HostTableAccess {
  friend auto hostTableOf(const DcmQueryRetrieveConfig& config) -> const DcmQueryRetrieveConfigHostTable& {
    return config.*Member;
  }
};
auto hostTableOf(const DcmQueryRetrieveConfig& config) -> const DcmQueryRetrieveConfigHostTable&;
template struct HostTableAccess<&DcmQueryRetrieveConfig::CNF_HETable>;

using Peer = std::tuple<std::string, std::string, int>;

// DCMTK's first complaint, without its prefix and the in-memory file's name.
std::string firstComplaint(const std::string& messages, const std::string& path) {
  std::string line = messages.substr(0, messages.find('\n'));
  if (line.rfind("CONFIG Error: ", 0) == 0) line.erase(0, 14);
  for (std::size_t at; (at = line.find(path)) != std::string::npos;) line.replace(at, path.size(), "the file");
  return line.empty() ? std::string("dcmqrscp's reader refused the file") : line;
}

std::string placeOf(const std::string& complaint) {
  std::smatch match;
  static const std::regex line(R"(line (\d+))");
  return std::regex_search(complaint, match, line) ? "line " + match[1].str() : std::string("HostTable");
}

std::string shown(const Peer& peer) {
  return '(' + std::get<0>(peer) + ", " + std::get<1>(peer) + ", " + std::to_string(std::get<2>(peer)) + ')';
}

// Characters a HostTable value can hold: printable ASCII but the grammar's separators.
bool tokenCharacter(char c) {
  return c > ' ' && c < 0x7F && c != ',' && c != '=' && c != '"' && c != '\'' && c != '(' && c != ')';
}

const std::string& token(const std::optional<std::string>& value, const char* what, const std::string& place) {
  if (!value || value->empty()) throw PeerFormatError(place, std::string("no ") + what);
  for (char c : *value)
    if (!tokenCharacter(c))
      throw PeerFormatError(place, std::string(what) + " \"" + *value +
                                       "\" holds a character a HostTable cannot carry (no spaces, ',', '=', quotes, "
                                       "parentheses or non-ASCII)");
  return *value;
}

}  // namespace

peers::PeerList importDcmqrscpHostTable(std::string_view text) {
  detail::MemoryFile file(text);
  DcmQueryRetrieveConfig config;
  int accepted = 0;
  const std::string messages = detail::captureStandardError([&] { accepted = config.init(file.path().c_str()); });
  if (!accepted) {
    const std::string complaint = firstComplaint(messages, file.path());
    throw PeerFormatError(placeOf(complaint), "dcmqrscp would refuse this configuration: " + complaint);
  }
  peers::PeerList list;
  std::set<std::string> names;
  std::set<Peer> seen;
  const DcmQueryRetrieveConfigHostTable& table = hostTableOf(config);
  for (int i = 0; i < table.noOfHostEntries; ++i) {
    const DcmQueryRetrieveConfigHostEntry& entry = table.HostEntries[i];
    const std::size_t position = static_cast<std::size_t>(i) + 1;
    const std::string name = entry.SymbolicName;
    if (!names.insert(name).second) {
      list.losses.push_back({position, name, "node", "name defined again", "skipped (dcmqrscp uses the first)"});
      continue;
    }
    const bool group = entry.noOfPeers != 1;
    if (group)
      list.losses.push_back({position, name, "group", std::to_string(entry.noOfPeers) + " peers",
                             "not kept (its peers are nodes of their own)"});
    for (int k = 0; k < entry.noOfPeers; ++k) {
      const DcmQueryRetrieveConfigPeer& p = entry.Peers[k];
      const Peer peer{p.ApplicationTitle, p.HostName, p.PortNumber};
      if (!seen.insert(peer).second) {
        if (!group)
          list.losses.push_back({position, name, "node", shown(peer) + ", an earlier entry's peer",
                                 "skipped (the same peer as an earlier node)"});
        continue;
      }
      DicomNode node;
      node.name = group ? name + '-' + std::to_string(k + 1) : name;
      node.aetitle = std::get<0>(peer);
      node.address = std::get<1>(peer);
      node.port = std::to_string(std::get<2>(peer));
      list.nodes.push_back(std::move(node));
      list.sources.push_back(position);
    }
  }
  return list;
}

peers::PeerExport exportDcmqrscpHostTable(std::span<const DicomNode> nodes) {
  peers::PeerExport out;
  peers::UniqueNames names;
  std::set<Peer> seen;
  out.text = "# Peers written by telvor-nodes\nHostTable BEGIN\n";
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNode& node = nodes[i];
    const std::size_t position = i + 1;
    const std::string place = peers::nodePlace(position, peers::labelOf(node));
    const std::string& aet = token(node.aetitle, "AE title", place);
    const std::string& host = token(node.address, "address", place);
    long port = 0;
    if (!node.port || !peers::portInRange(*node.port, 1, 65535, &port))
      throw PeerFormatError(place, "port " + (node.port ? '"' + *node.port + '"' : std::string("absent")) +
                                       " is not a number in 1-65535");
    std::string wanted = peers::keepOnly(node.name.value_or(aet), tokenCharacter, '_');
    if (wanted.empty() || wanted[0] == '#') wanted.insert(0, "_");  // '#' in column 1 starts a comment
    const std::string name = names.claim(wanted);
    const std::string line = name + " = (" + aet + ", " + host + ", " + std::to_string(port) + ")";
    if (line.size() > 511) throw PeerFormatError(place, "the entry is longer than dcmqrscp's 511-character lines");
    out.text += line + '\n';

    DicomNode carried;  // a HostTable entry holds four fields; the rest come back at their defaults
    carried.name = name;
    carried.aetitle = aet;
    carried.address = host;
    carried.port = std::to_string(port);
    peers::reportDifferences(node, carried, position, out.losses);
    if (!seen.insert(Peer{aet, host, static_cast<int>(port)}).second)
      out.losses.push_back({position, peers::labelOf(node), "node", "the same AE title, address and port as an earlier node",
                            "written; reads back as the earlier node only"});
  }
  out.text += "HostTable END\n";
  return out;
}

}  // namespace telvor::dcmtk
