#include "peers_commands.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <vector>

#include "catalogue_errors.hpp"
#include "commands.hpp"
#include "io.hpp"
#include "peer_formats.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "tool_error.hpp"
#ifdef TELVOR_TOOL_LDAP_PEERS
#include "directory_io.hpp"
#endif

namespace telvor::tool {
namespace {

constexpr int kDone = 0, kLost = 1, kDamaged = 3;

// Catalogue numbers (as `list` shows them) by source position; a position missing here
// gave no node.
using Numbers = std::map<std::size_t, std::size_t>;

// One line per loss, the unfaithful ones first under a summary. An import's loss names
// the node by its catalogue number, or the source entry that gave no node.
void reportLosses(const std::string& where, const std::vector<peers::PeerLoss>& losses,
                  const Numbers* numbers = nullptr) {
  const auto line = [&](const peers::PeerLoss& loss) {
    std::string text = peers::describe(loss);
    if (numbers) {
      if (const auto it = numbers->find(loss.position); it != numbers->end()) {
        peers::PeerLoss renumbered = loss;
        renumbered.position = it->second;
        text = peers::describe(renumbered);
      } else {
        text = "entry " + std::to_string(loss.position) + (loss.label.empty() ? "" : " \"" + loss.label + '"') +
               " (not imported): " + loss.field + ": " + loss.lost + " -> " + loss.chosen;
      }
    }
    // Losses quote other systems' text: escaped, never raw.
    std::cerr << "telvor-nodes: " << escapeForTerminal(where + ": " + text) << '\n';
  };
  const auto unfaithful = std::count_if(losses.begin(), losses.end(), [](const auto& l) { return l.unfaithful; });
  if (unfaithful > 0) {
    std::cerr << "telvor-nodes: " << escapeForTerminal(where) << ": " << unfaithful
              << " node(s) would reach their peer otherwise than the source says:\n";
    for (const auto& loss : losses)
      if (loss.unfaithful) line(loss);
    if (static_cast<std::size_t>(unfaithful) < losses.size())
      std::cerr << "telvor-nodes: " << escapeForTerminal(where) << ": other losses:\n";
  }
  for (const auto& loss : losses)
    if (!loss.unfaithful) line(loss);
}

// `message` names the file: a catalogue's errors do already, a peer list's get it from the caller.
int damaged(const std::string& message) {
  std::cerr << "telvor-nodes: " << escapeForTerminal(message) << " (nothing written)\n";
  return kDamaged;
}

bool refusedByStrict(bool strict, const std::vector<peers::PeerLoss>& losses) {
  if (!strict || losses.empty()) return false;
  std::cerr << "telvor-nodes: --strict: " << losses.size() << " loss(es); nothing written\n";
  return true;
}

bool samePeer(const DicomNode& a, const DicomNode& b) {
  return a.aetitle == b.aetitle && a.address == b.address && a.port == b.port;
}

struct Counts {
  std::size_t added = 0, updated = 0;
};

// Adds the imported nodes to `catalogue` (or updates the matching ones); a node the
// catalogue cannot hold is left out with a loss. `numbers` learns each source position's
// catalogue number (its first node's).
Counts store(catalogue::Catalogue& catalogue, const peers::PeerList& list, const PeerFormat& format, bool replaceMatching,
             std::vector<peers::PeerLoss>& losses, Numbers& numbers) {
  Counts counts;
  for (std::size_t i = 0; i < list.nodes.size(); ++i) {
    const DicomNode& node = list.nodes[i];
    const std::size_t source = i < list.sources.size() ? list.sources[i] : i + 1;
    if (!node.toDictionary()) {
      losses.push_back({source, peers::labelOf(node), "node", "no AE title, name, address or port",
                        "left out (a catalogue node needs all four)"});
      continue;
    }
    std::optional<std::size_t> match;
    if (replaceMatching)
      for (std::size_t k = 0; k < catalogue.size() && !match; ++k)
        if (samePeer(catalogue.node(k), node)) match = k;
    if (match) {
      catalogue.replace(*match, withCarriedFields(catalogue.node(*match), node, format.carried));
      ++counts.updated;
    } else {
      catalogue.append(node);
      ++counts.added;
    }
    numbers.emplace(source, match ? *match + 1 : catalogue.size());
  }
  return counts;
}

// The catalogue positions (from 0) of the nodes chosen: those any selector matches, in
// catalogue order; all of them when no selector is given.
std::vector<std::size_t> chosen(const catalogue::Catalogue& catalogue, const SelectorOptions& select,
                                const std::vector<std::string>& texts) {
  std::vector<catalogue::Selector> selectors;
  if (select.index) selectors.push_back(catalogue::Selector::byIndex(*select.index));
  if (select.id) selectors.push_back(catalogue::Selector::byId(*select.id));
  for (const auto& name : select.name) selectors.push_back(catalogue::Selector::byName(name));
  for (const auto& aet : select.aet) selectors.push_back(catalogue::Selector::byAetitle(aet));
  std::set<std::size_t> picked;
  // --select TEXT: whatever TEXT names, as `list` shows it (a position, a name, an AE title).
  for (const auto& text : texts) {
    std::vector<std::size_t> matches = catalogue.matches(catalogue::Selector::byName(text));
    for (std::size_t i : catalogue.matches(catalogue::Selector::byAetitle(text))) matches.push_back(i);
    if (!text.empty() && text.find_first_not_of("0123456789") == std::string::npos && text.size() < 10) {
      const std::size_t position = std::stoul(text);
      if (position >= 1 && position <= catalogue.size()) matches.push_back(position - 1);
    }
    if (matches.empty()) throw UsageError("--select \"" + text + "\" matches no node's position, name or AE title");
    picked.insert(matches.begin(), matches.end());
  }
  if (selectors.empty() && texts.empty())
    for (std::size_t i = 0; i < catalogue.size(); ++i) picked.insert(i);
  for (const auto& selector : selectors) {
    const auto matches = catalogue.matches(selector);
    if (matches.empty()) throw UsageError(optionText(selector) + " matches no node");
    picked.insert(matches.begin(), matches.end());
  }
  return {picked.begin(), picked.end()};
}

// Reads the peer list the request names: a file, or a directory.
std::optional<int> readPeers(const ImportRequest& request, const PeerFormat& format, peers::PeerList& list) {
#ifdef TELVOR_TOOL_LDAP_PEERS
  if (format.read == nullptr) {
    const ldap::DirectoryAccess access = directoryAccess(request.source, request.directory);
    try {
      list = ldap::importDirectory(access);
    } catch (const ldap::DirectoryError& e) {
      return directoryFailure(e, kDamaged, "nothing written");
    }
    return std::nullopt;
  }
#endif
  const std::string text = readInput(request.source, request.maxInputBytes);
  try {
    list = format.read(text);
  } catch (const peers::PeerFormatError& e) {
    return damaged(request.source + ": " + e.what());
  }
  return std::nullopt;
}

#ifdef TELVOR_TOOL_LDAP_PEERS
// export --to ldap: the nodes written to the directory -o names.
int writeDirectory(const ExportRequest& request, const std::vector<DicomNode>& nodes,
                   const std::vector<std::size_t>& positions) {
  if (!request.output || *request.output == "-")
    throw UsageError("export --to ldap writes to a directory: -o ldap://HOST:PORT/BASE-DN");
  const ldap::DirectoryAccess access = directoryAccess(*request.output, request.directory);
  auto renumbered = [&](std::vector<peers::PeerLoss> losses) {
    for (auto& loss : losses) loss.position = positions[loss.position - 1] + 1;
    return losses;
  };
  ldap::DirectoryExport out;
  try {
    if (request.strict && refusedByStrict(true, renumbered(ldap::directoryExportLosses(nodes)))) return kLost;
    out = ldap::exportDirectory(access, nodes);
  } catch (const peers::PeerFormatError& e) {
    std::size_t k = 0;
    std::string message = e.what();
    if (std::sscanf(e.place().c_str(), "node %zu", &k) == 1 && k >= 1 && k <= positions.size())
      message.replace(0, 5 + std::to_string(k).size(), "node " + std::to_string(positions[k - 1] + 1));
    std::cerr << "telvor-nodes: " << escapeForTerminal(request.catalogue + ": " + message) << " (nothing written)\n";
    return kLost;
  } catch (const ldap::DirectoryError& e) {
    return directoryFailure(e, kNotSaved, "nodes written before it stay");
  }
  reportLosses(*request.output, renumbered(out.losses));
  std::cerr << "telvor-nodes: " << escapeForTerminal(*request.output) << ": " << out.added << " device(s) added, "
            << out.updated << " updated, " << out.refused << " refused\n";
  return out.refused == 0 ? kDone : kNotSaved;
}
#endif

}  // namespace

int runImport(const ImportRequest& request) {
  const PeerFormat& format = peerFormat(request.format);
  peers::PeerList list;
  if (const auto failed = readPeers(request, format, list)) return *failed;
  std::vector<peers::PeerLoss> losses = std::move(list.losses);
  try {
    if (!request.catalogue || *request.catalogue == "-") {
      auto catalogue = catalogue::Catalogue::empty(catalogue::FileFormat::xmlPropertyList);
      Numbers numbers;
      store(catalogue, list, format, false, losses, numbers);
      reportLosses(request.source, losses, &numbers);
      if (refusedByStrict(request.strict, losses)) return kLost;
      writeStandardOutput(catalogue.serialize());
      return kDone;
    }
    catalogue::CatalogueEditor::Options options;
    options.createIfMissing = true;
    options.maxInputBytes = request.maxInputBytes;
    std::optional<catalogue::CatalogueEditor> editor;
    try {
      editor.emplace(catalogue::CatalogueEditor::open(*request.catalogue, options));
    } catch (const catalogue::CatalogueError& e) {
      if (exitStatusOf(e.kind(), e.operation(), e.errorNumber()) == kUnusableInput) return damaged(e.what());
      throw;
    }
    Numbers numbers;
    const Counts counts = store(editor->catalogue(), list, format, request.replaceMatching, losses, numbers);
    reportLosses(request.source, losses, &numbers);
    if (refusedByStrict(request.strict, losses)) return kLost;
    editor->save();
    std::cerr << "telvor-nodes: " << escapeForTerminal(*request.catalogue) << ": " << counts.added << " node(s) added, "
              << counts.updated << " updated\n";
  } catch (const catalogue::CatalogueError& e) {
    throwToolError(e);
  }
  return kDone;
}

int runExport(const ExportRequest& request) {
  const PeerFormat& format = peerFormat(request.format);
  const bool tlsFiles = request.certificateFile || request.privateKeyFile;
  if (tlsFiles && !format.writeWithTlsFiles)
    throw UsageError("--certificate-file and --private-key-file apply to formats that name TLS files (dcmtk-pstat)");
  if (tlsFiles && !(request.certificateFile && request.privateKeyFile))
    throw UsageError("give both --certificate-file and --private-key-file: the peer authenticates only with both");
  std::optional<catalogue::Catalogue> catalogue;
  try {
    catalogue = readCatalogue(request.catalogue, request.maxInputBytes);
  } catch (const InputError& e) {
    return damaged(e.what());
  }
  std::vector<std::size_t> positions;  // catalogue positions (from 0), for the reports
  try {
    positions = chosen(*catalogue, request.selectors, request.select);
  } catch (const catalogue::CatalogueError& e) {
    throwToolError(e);
  }
  std::vector<DicomNode> nodes;
  for (std::size_t i : positions) nodes.push_back(catalogue->node(i));
  // A property list writes isQueryable true by leaving its key out, so there true and
  // absent are one value: a format without the field loses nothing by reading it back absent.
  const bool carriesQueryable = (format.carried | PeerFields::of(&DicomNode::isQueryable)) == format.carried;
  if (catalogue->format() != catalogue::FileFormat::json && !carriesQueryable)
    for (DicomNode& node : nodes)
      if (node.isQueryable == true) node.isQueryable.reset();
#ifdef TELVOR_TOOL_LDAP_PEERS
  if (format.write == nullptr) return writeDirectory(request, nodes, positions);
#endif

  // An existing file of a format that holds more than peers keeps the rest; it must read
  // as that format, or it is left alone.
  std::optional<std::string> existing;
  if (format.merge && request.output && *request.output != "-" && std::filesystem::exists(*request.output)) {
    existing = readInput(*request.output, request.maxInputBytes);
    try {
      format.read(*existing);
    } catch (const peers::PeerFormatError& e) {
      return damaged(*request.output + ": " + e.what());
    }
  }
  peers::PeerExport out;
  try {
    out = existing   ? format.merge(nodes, *existing)
          : tlsFiles ? format.writeWithTlsFiles(nodes, *request.certificateFile, *request.privateKeyFile)
                     : format.write(nodes);
  } catch (const peers::PeerFormatError& e) {
    // The exporter counts the nodes it was given; name the node by its catalogue position.
    std::string message = e.what();
    std::size_t k = 0;
    if (std::sscanf(e.place().c_str(), "node %zu", &k) == 1 && k >= 1 && k <= positions.size())
      message.replace(0, 5 + std::to_string(k).size(), "node " + std::to_string(positions[k - 1] + 1));
    std::cerr << "telvor-nodes: " << escapeForTerminal(request.catalogue + ": " + message) << " (nothing written)\n";
    return kLost;
  }
  for (auto& loss : out.losses) loss.position = positions[loss.position - 1] + 1;
  reportLosses(request.catalogue, out.losses);
  if (refusedByStrict(request.strict, out.losses)) return kLost;
  writeOutput(request.output, out.text);
  return kDone;
}

}  // namespace telvor::tool
