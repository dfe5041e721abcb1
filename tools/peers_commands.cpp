#include "peers_commands.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "io.hpp"
#include "peer_formats.hpp"
#include "plist_io.hpp"
#include "telvor/node/dictionary_edit.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

constexpr int kDone = 0, kLost = 1, kDamaged = 3;

void reportLosses(const std::string& where, const std::vector<peers::PeerLoss>& losses) {
  for (const auto& loss : losses) std::cerr << "telvor-nodes: " << where << ": " << peers::describe(loss) << '\n';
}

int damaged(const std::string& where, const std::string& message) {
  std::cerr << "telvor-nodes: " << where << ": " << message << " (nothing written)\n";
  return kDamaged;
}

// Writes beside `path` and renames over it, so a failure leaves the old file whole.
void saveWhole(const std::string& path, std::string_view bytes) {
  const std::filesystem::path target(path);
  std::string temp = (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
  if (target.parent_path().empty()) temp = "." + target.filename().string() + ".XXXXXX";
  const int fd = mkstemp(temp.data());
  if (fd < 0) throw UsageError("cannot write beside \"" + path + "\": " + std::strerror(errno));
  bool ok = true;
  for (std::size_t done = 0; ok && done < bytes.size();) {
    const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    ok = n > 0;
    if (ok) done += static_cast<std::size_t>(n);
  }
  ok = ok && fchmod(fd, 0644) == 0 && fsync(fd) == 0;
  ok = close(fd) == 0 && ok;
  if (!ok || std::rename(temp.c_str(), path.c_str()) != 0) {
    const std::string why = std::strerror(errno);
    std::remove(temp.c_str());
    throw UsageError("cannot write \"" + path + "\": " + why);
  }
}

void writeResult(const std::optional<std::string>& path, std::string_view bytes) {
  if (path && *path != "-") saveWhole(*path, bytes);
  else writeOutput(std::nullopt, bytes);
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
  const std::string text = readInput(request.source);
  peers::PeerList list;
  try {
    list = format.read(text);
  } catch (const peers::PeerFormatError& e) {
    return damaged(request.source, e.what());
  }

  DictionaryList catalogue{{}, true};
  if (request.catalogue && std::filesystem::exists(*request.catalogue)) {
    try {
      catalogue = readPlist(readInput(*request.catalogue));
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
  writeResult(request.catalogue, writePlist(catalogue, false));
  if (request.catalogue)
    std::cerr << "telvor-nodes: " << *request.catalogue << ": " << imported << " node(s) added, " << updated
              << " updated\n";
  return kDone;
}

int runExport(const ExportRequest& request) {
  const PeerFormat& format = peerFormat(request.format);
  DictionaryList catalogue;
  try {
    catalogue = readPlist(readInput(request.catalogue));
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
    std::cerr << "telvor-nodes: " << request.catalogue << ": " << message << " (nothing written)\n";
    return kLost;
  }
  for (auto& loss : out.losses) loss.position = positions[loss.position - 1];
  reportLosses(request.catalogue, out.losses);
  if (request.strict && !out.losses.empty()) {
    std::cerr << "telvor-nodes: --strict: " << out.losses.size() << " loss(es); nothing written\n";
    return kLost;
  }
  writeResult(request.output, out.text);
  return kDone;
}

}  // namespace telvor::tool
