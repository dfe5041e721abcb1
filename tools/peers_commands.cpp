#include "peers_commands.hpp"

#include <cstdio>
#include <filesystem>
#include <iostream>

#include "io.hpp"
#include "peer_formats.hpp"
#include "plist_io.hpp"
#include "support/terminal_text.hpp"
#include "telvor/node/dictionary_edit.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

constexpr int kDone = 0, kLost = 1, kDamaged = 3;

void reportLosses(const std::string& where, const std::vector<peers::PeerLoss>& losses) {
  // Losses quote other systems' text: escaped, never raw.
  for (const auto& loss : losses)
    std::cerr << "telvor-nodes: " << escapeForTerminal(where + ": " + peers::describe(loss)) << '\n';
}

int damaged(const std::string& where, const std::string& message) {
  std::cerr << "telvor-nodes: " << escapeForTerminal(where + ": " + message) << " (nothing written)\n";
  return kDamaged;
}

bool samePeer(const DicomNode& a, const DicomNode& b) {
  return a.aetitle == b.aetitle && a.address == b.address && a.port == b.port;
}

bool selected(const DicomNode& node, std::size_t position, const std::vector<std::string>& select) {
  if (select.empty()) return true;
  for (const std::string& s : select)
    if (node.name == s || node.aetitle == s || s == std::to_string(position)) return true;
  return false;
}

}  // namespace

int runImport(const ImportRequest& request) {
  const PeerFormat& format = peerFormat(request.format);
  const std::string text = readInput(request.source, request.maxInputBytes);
  peers::PeerList list;
  try {
    list = format.read(text);
  } catch (const peers::PeerFormatError& e) {
    return damaged(request.source, e.what());
  }

  DictionaryList catalogue{{}, true};
  if (request.catalogue && std::filesystem::exists(*request.catalogue)) {
    try {
      catalogue = readPlist(readInput(*request.catalogue, request.maxInputBytes));
    } catch (const InputError& e) {
      return damaged(*request.catalogue, e.what());
    }
    catalogue.wasArray = true;
  }

  // Losses of storing: a node the catalogue cannot hold (no dictionary form) is left out.
  std::vector<peers::PeerLoss> losses = std::move(list.losses);
  std::size_t imported = 0, updated = 0;
  for (std::size_t i = 0; i < list.nodes.size(); ++i) {
    const DicomNode& node = list.nodes[i];
    auto dictionary = node.toDictionary();
    if (!dictionary) {
      losses.push_back({i + 1, peers::labelOf(node), "node", "no AE title, name, address or port",
                        "left out (a catalogue node needs all four)"});
      continue;
    }
    bool replaced = false;
    if (request.replaceMatching) {
      for (PropertyDictionary& stored : catalogue.dictionaries) {
        const DicomNode before(stored);
        if (!samePeer(before, node)) continue;
        applyDictionaryEdit(stored, before, withCarriedFields(before, node, format.carried));
        replaced = true;
        ++updated;
        break;
      }
    }
    if (!replaced) {
      catalogue.dictionaries.push_back(std::move(*dictionary));
      ++imported;
    }
  }
  reportLosses(request.source, losses);
  if (request.strict && !losses.empty()) {
    std::cerr << "telvor-nodes: --strict: " << losses.size() << " loss(es); nothing written\n";
    return kLost;
  }
  writeOutput(request.catalogue, writePlist(catalogue, false));
  if (request.catalogue)
    std::cerr << "telvor-nodes: " << escapeForTerminal(*request.catalogue) << ": " << imported << " node(s) added, " << updated
              << " updated\n";
  return kDone;
}

int runExport(const ExportRequest& request) {
  const PeerFormat& format = peerFormat(request.format);
  DictionaryList catalogue;
  try {
    catalogue = readPlist(readInput(request.catalogue, request.maxInputBytes));
  } catch (const InputError& e) {
    return damaged(request.catalogue, e.what());
  }
  std::vector<DicomNode> nodes;
  std::vector<std::size_t> positions;  // catalogue positions, for the reports
  for (std::size_t i = 0; i < catalogue.dictionaries.size(); ++i) {
    DicomNode node(catalogue.dictionaries[i]);
    if (!selected(node, i + 1, request.select)) continue;
    nodes.push_back(std::move(node));
    positions.push_back(i + 1);
  }
  if (!request.select.empty() && nodes.empty()) throw UsageError("--select chose no node");
  peers::PeerExport out;
  try {
    out = format.write(nodes);
  } catch (const peers::PeerFormatError& e) {
    // The exporter counts the nodes it was given; name the node by its catalogue position.
    std::string message = e.what();
    std::size_t k = 0;
    if (std::sscanf(e.place().c_str(), "node %zu", &k) == 1 && k >= 1 && k <= positions.size())
      message.replace(0, 5 + std::to_string(k).size(), "node " + std::to_string(positions[k - 1]));
    std::cerr << "telvor-nodes: " << escapeForTerminal(request.catalogue + ": " + message) << " (nothing written)\n";
    return kLost;
  }
  for (auto& loss : out.losses) loss.position = positions[loss.position - 1];
  reportLosses(request.catalogue, out.losses);
  if (request.strict && !out.losses.empty()) {
    std::cerr << "telvor-nodes: --strict: " << out.losses.size() << " loss(es); nothing written\n";
    return kLost;
  }
  writeOutput(request.output, out.text);
  return kDone;
}

}  // namespace telvor::tool
