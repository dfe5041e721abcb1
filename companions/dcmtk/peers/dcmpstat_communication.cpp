#include "telvor/dcmtk/dcmpstat_communication.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <tuple>
#include <memory>
#include <utility>

#include "dcmtk/config/osconfig.h"  // DCMTK wants its configuration before any of its headers
#include "dcmtk/ofstd/ofconfig.h"
#include "telvor/peers/peer_names.hpp"

namespace telvor::dcmtk {
namespace {

using peers::PeerFormatError;

// dcmpstat's profile names (exact case) and the profile with the same DCMTK code.
constexpr std::array<std::pair<std::string_view, TLSSecurityProfile>, 5> kProfiles{{
    {"BASIC", TLSSecurityProfile::profile1},
    {"AES", TLSSecurityProfile::profile2},
    {"BCP195", TLSSecurityProfile::profile3},
    {"BCP195-ND", TLSSecurityProfile::profile4},
    {"BCP195-EX", TLSSecurityProfile::profile5},
}};
// Profiles DCMTK names that have no case here (IHE ATNA's unencrypted one; DCMTK 3.6.8's).
constexpr std::array<std::string_view, 3> kProfilesWithoutCase{"NULL", "BCP195-RFC8996", "BCP195-RFC8996-MOD"};
constexpr TLSSecurityProfile kDcmtkDefaultProfile = TLSSecurityProfile::profile3;

std::string_view profileName(TLSSecurityProfile profile) {
  for (const auto& [name, value] : kProfiles)
    if (value == profile) return name;
  return {};
}

// The keys read into fields; every other key of a target is a loss.
constexpr std::array<std::string_view, 11> kMapped{"TYPE",     "DESCRIPTION", "AETITLE",    "HOSTNAME",
                                                   "PORT",     "IMPLICITONLY", "USETLS",    "TLSPROFILE",
                                                   "PEERAUTHENTICATION", "CERTIFICATE", "PRIVATEKEY"};

struct Section {
  std::string id;
  std::vector<std::pair<std::string, std::string>> entries;  // in file order; repeated keys kept
  std::vector<std::pair<std::string, bool>> flags;           // DCMTK's reading of each value as a boolean
  std::map<std::string, std::string> spellings;               // key as DCMTK reads it -> as the file writes it

  const std::string* find(std::string_view key) const {  // the first wins, as for DCMTK
    for (const auto& [k, v] : entries)
      if (k == key) return &v;
    return nullptr;
  }
  bool flag(std::string_view key, bool fallback) const {
    for (const auto& [k, v] : flags)
      if (k == key) return v;
    return fallback;
  }
  // The key as the file spells it, for reports.
  std::string spelled(const std::string& key) const {
    const auto it = spellings.find(key);
    return it == spellings.end() ? key : it->second;
  }
};

// A key or section ID as DCMTK reads it: upper case, only A-Z 0-9 - _.
std::string dcmtkId(std::string_view text) {
  std::string id;
  for (char c : text) {
    const char u = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if ((u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '-' || u == '_') id += u;
  }
  return id;
}

// The spelling of every key of the [[COMMUNICATION]] sections as written, by section ID:
// DCMTK's reader hands back only the upper-cased keys.
std::map<std::string, std::map<std::string, std::string>> keySpellings(std::string_view text) {
  std::map<std::string, std::map<std::string, std::string>> spellings;
  std::string group, section;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = text.find('\n', at);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(at, end - at);
    at = end + 1;
    if (line.empty() || line.front() == '#' || line.front() == ' ' || line.front() == '\t') continue;
    if (line.starts_with("[[")) {
      group = dcmtkId(line);
    } else if (line.front() == '[') {
      section = dcmtkId(line);
    } else if (const auto equals = line.find('='); equals != std::string_view::npos && group == "COMMUNICATION") {
      std::string_view key = line.substr(0, equals);
      while (!key.empty() && (key.back() == ' ' || key.back() == '\t')) key.remove_suffix(1);
      spellings[section].emplace(dcmtkId(key), std::string(key));  // the first wins, as for DCMTK
    }
  }
  return spellings;
}

std::vector<Section> communicationSections(std::string_view text) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(fmemopen(const_cast<char*>(text.data()), text.size(), "rb"), &std::fclose);
  if (text.empty() || !file) throw PeerFormatError("line 1", "empty: no [[COMMUNICATION]] group");
  OFConfigFile config(file.get());
  auto spellings = keySpellings(text);
  std::vector<Section> sections;
  bool found = false;
  for (config.first_section(2); config.section_valid(2); config.next_section(2)) {
    if (std::strcmp(config.get_keyword(2), "COMMUNICATION") != 0) continue;
    found = true;
    for (config.first_section(1); config.section_valid(1); config.next_section(1)) {
      Section section{config.get_keyword(1), {}, {}, {}};
      section.spellings = spellings[section.id];
      for (config.first_section(0); config.section_valid(0); config.next_section(0)) {
        section.entries.emplace_back(config.get_keyword(0), config.get_value());
        section.flags.emplace_back(config.get_keyword(0), config.get_bool_value(OFFalse) != OFFalse);
      }
      sections.push_back(std::move(section));
    }
  }
  if (!found) throw PeerFormatError("[[COMMUNICATION]]", "no [[COMMUNICATION]] group: not a dcmpstat configuration");
  return sections;
}

// The node's name for a section: its description, followed by " [ID]" unless the ID is
// what the description gives anyway, so that export finds the ID again; the ID alone
// without a description.
std::string nameOf(const std::string& id, const std::optional<std::string>& description) {
  if (!description || description->empty()) return id;
  if (dcmtkId(*description) == id) return *description;
  return *description + " [" + id + ']';
}

// A name that ends in " [ID]" (a valid section ID): the description before it and the ID.
std::optional<std::pair<std::string, std::string>> splitSectionId(const std::string& name) {
  if (!name.ends_with(']')) return std::nullopt;
  const auto open = name.rfind(" [");
  if (open == std::string::npos) return std::nullopt;
  std::string id = name.substr(open + 2, name.size() - open - 3);
  if (id.empty() || dcmtkId(id) != id) return std::nullopt;
  return std::pair(name.substr(0, open), std::move(id));
}

TlsSettings readTls(const Section& s, std::size_t position, const std::string& label, std::vector<peers::PeerLoss>& losses) {
  TlsSettings tls;
  tls.isEnabled = s.flag("USETLS", false);
  if (const std::string* name = s.find("TLSPROFILE")) {
    const auto* row = std::find_if(kProfiles.begin(), kProfiles.end(), [&](const auto& r) { return r.first == *name; });
    if (row != kProfiles.end()) {
      tls.securityProfile = row->second;
    } else if (std::find(kProfilesWithoutCase.begin(), kProfilesWithoutCase.end(), *name) != kProfilesWithoutCase.end()) {
      tls.securityProfile = kDcmtkDefaultProfile;
      const bool unencrypted = *name == "NULL";
      losses.push_back({position, label, s.spelled("TLSPROFILE"), '"' + *name + '"',
                        unencrypted ? "BCP195 (profile 3): TLS without encryption has no case, so this peer would be "
                                      "reached with encryption it does not offer"
                                    : "BCP195 (profile 3; no case for it)",
                        unencrypted});
    } else {
      throw PeerFormatError("[" + s.id + "]", "TLSProfile \"" + *name + "\" is not a profile DCMTK knows (names are case-sensitive)");
    }
  } else if (tls.isEnabled) {
    tls.securityProfile = kDcmtkDefaultProfile;
  }
  if (const std::string* how = s.find("PEERAUTHENTICATION")) {
    std::string upper = *how;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    tls.verifyPeerCertificate = upper != "IGNORE";
  } else {
    tls.verifyPeerCertificate = tls.isEnabled;  // DCMTK requires a certificate by default
  }
  tls.authenticateWithCertificate = s.find("CERTIFICATE") && s.find("PRIVATEKEY");
  return tls;
}

// A value DCMTK's reader gives back as written: one line, no control characters. Leading
// blanks it drops: the caller reports them.
void checkLine(const std::optional<std::string>& value, const char* what, const std::string& place) {
  if (!value) return;
  for (unsigned char c : *value)
    if (c < 0x20 || c == 0x7F)
      throw PeerFormatError(place, std::string(what) + " holds a line break or control character; dcmpstat.cfg is lines");
}

std::string withoutLeadingBlanks(const std::string& value) {
  const auto first = value.find_first_not_of(" \t");
  return first == std::string::npos ? std::string() : value.substr(first);
}

}  // namespace

peers::PeerList importDcmpstatCommunication(std::string_view text) {
  peers::PeerList list;
  std::size_t position = 0;
  for (const Section& s : communicationSections(text)) {
    ++position;
    const std::string* description = s.find("DESCRIPTION");
    const std::string label = nameOf(s.id, description ? std::optional(*description) : std::nullopt);
    const std::string type = s.find("TYPE") ? *s.find("TYPE") : "STORAGE";
    if (type == "PRINTER" || type == "RECEIVER" || type == "LOCALPRINTER") {
      list.losses.push_back({position, label, "node", "Type " + type,
                             type == "PRINTER" ? "skipped (a printer, not a storage peer)"
                                               : "skipped (a local service, not a peer)"});
      continue;
    }
    DicomNode node;
    node.name = label;
    if (const std::string* v = s.find("AETITLE")) node.aetitle = *v;
    if (const std::string* v = s.find("HOSTNAME")) node.address = *v;
    if (const std::string* v = s.find("PORT")) node.port = *v;
    if (s.flag("IMPLICITONLY", false)) node.transferSyntax = TransferSyntax::EXS_LittleEndianImplicit;
    node.tlsSettings = readTls(s, position, label, list.losses);
    for (const auto& [key, value] : s.entries) {
      if (std::find(kMapped.begin(), kMapped.end(), key) != kMapped.end()) continue;
      const bool secret = key.find("PASSWORD") != std::string::npos;
      list.losses.push_back({position, label, s.spelled(key), secret ? "(set, not shown)" : '"' + value + '"',
                             "not kept (no field for it)"});
    }
    for (const char* file : {"CERTIFICATE", "PRIVATEKEY"})
      if (const std::string* v = s.find(file))
        list.losses.push_back({position, label, s.spelled(file), '"' + *v + '"', "file name not kept"});
    if (type != "STORAGE")
      list.losses.push_back({position, label, s.spelled("TYPE"), '"' + type + '"', "read as STORAGE, as DCMTK does"});
    list.nodes.push_back(std::move(node));
    list.sources.push_back(position);
  }
  return list;
}

peers::PeerExport exportDcmpstatCommunication(std::span<const DicomNode> nodes, const DcmpstatExportOptions& options) {
  peers::PeerExport out;
  peers::UniqueNames ids('_');
  out.text = "# Peers written by telvor-nodes\n[[COMMUNICATION]]\n";
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNode& node = nodes[i];
    const std::size_t position = i + 1;
    const std::string place = peers::nodePlace(position, peers::labelOf(node));
    checkLine(node.name, "the name", place);
    checkLine(node.aetitle, "the AE title", place);
    checkLine(node.address, "the address", place);
    long port = 0;
    if (!node.port || !peers::portInRange(*node.port, 1, 65535, &port))
      throw PeerFormatError(place, "port " + (node.port ? '"' + *node.port + '"' : std::string("absent")) +
                                       " is not a number in 1-65535");
    // A name read from a section ("Archive [STORE_1]") gives its section ID back.
    std::optional<std::string> description = node.name;
    std::string wanted;
    if (node.name)
      if (auto split = splitSectionId(*node.name)) std::tie(description, wanted) = std::move(*split);
    if (wanted.empty()) wanted = dcmtkId(description.value_or(node.aetitle.value_or("")));
    if (wanted.empty()) wanted = "NODE" + std::to_string(position);
    const std::string id = ids.claim(wanted);
    if (description && (description->empty() || *description == id)) description.reset();  // the ID says it

    DicomNode carried;
    std::string& text = out.text;
    text += "\n[" + id + "]\nType = STORAGE\n";
    if (description) text += "Description = " + *description + '\n';
    carried.name = nameOf(id, description ? std::optional(withoutLeadingBlanks(*description)) : std::nullopt);
    if (node.aetitle) text += "Aetitle = " + *node.aetitle + '\n';
    if (node.address) text += "Hostname = " + *node.address + '\n';
    text += "Port = " + *node.port + '\n';
    carried.aetitle = node.aetitle ? std::optional(withoutLeadingBlanks(*node.aetitle)) : std::nullopt;
    carried.address = node.address ? std::optional(withoutLeadingBlanks(*node.address)) : std::nullopt;
    carried.port = node.port;
    if (node.transferSyntax == TransferSyntax::EXS_LittleEndianImplicit) {
      text += "ImplicitOnly = true\n";
      carried.transferSyntax = node.transferSyntax;
    }
    if (node.tlsSettings && *node.tlsSettings != TlsSettings()) {
      const TlsSettings& tls = *node.tlsSettings;
      TlsSettings& back = *carried.tlsSettings;
      back.isEnabled = tls.isEnabled;
      text += std::string("UseTLS = ") + (tls.isEnabled ? "true" : "false") + '\n';
      const std::string_view profile = profileName(tls.securityProfile);
      if (!profile.empty()) text += "TLSProfile = " + std::string(profile) + '\n';
      back.securityProfile = profile.empty() ? (tls.isEnabled ? kDcmtkDefaultProfile : TLSSecurityProfile::profile1)
                                             : tls.securityProfile;
      text += std::string("PeerAuthentication = ") + (tls.verifyPeerCertificate ? "REQUIRE" : "IGNORE") + '\n';
      back.verifyPeerCertificate = tls.verifyPeerCertificate;
      if (tls.authenticateWithCertificate && !options.certificateFile.empty() && !options.privateKeyFile.empty()) {
        text += "Certificate = " + options.certificateFile + "\nPrivateKey = " + options.privateKeyFile + '\n';
        back.authenticateWithCertificate = true;
      }
    }
    peers::reportDifferences(node, carried, position, out.losses);
  }
  return out;
}

}  // namespace telvor::dcmtk
