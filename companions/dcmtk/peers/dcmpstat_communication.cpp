#include "telvor/dcmtk/dcmpstat_communication.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
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
};

std::vector<Section> communicationSections(std::string_view text) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(fmemopen(const_cast<char*>(text.data()), text.size(), "rb"), &std::fclose);
  if (text.empty() || !file) throw PeerFormatError("line 1", "empty: no [[COMMUNICATION]] group");
  OFConfigFile config(file.get());
  std::vector<Section> sections;
  bool found = false;
  for (config.first_section(2); config.section_valid(2); config.next_section(2)) {
    if (std::strcmp(config.get_keyword(2), "COMMUNICATION") != 0) continue;
    found = true;
    for (config.first_section(1); config.section_valid(1); config.next_section(1)) {
      Section section{config.get_keyword(1), {}, {}};
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

TlsSettings readTls(const Section& s, std::size_t position, const std::string& label, std::vector<peers::PeerLoss>& losses) {
  TlsSettings tls;
  tls.isEnabled = s.flag("USETLS", false);
  if (const std::string* name = s.find("TLSPROFILE")) {
    const auto* row = std::find_if(kProfiles.begin(), kProfiles.end(), [&](const auto& r) { return r.first == *name; });
    if (row != kProfiles.end()) {
      tls.securityProfile = row->second;
    } else if (std::find(kProfilesWithoutCase.begin(), kProfilesWithoutCase.end(), *name) != kProfilesWithoutCase.end()) {
      tls.securityProfile = kDcmtkDefaultProfile;
      losses.push_back({position, label, "TLSProfile", '"' + *name + '"', "BCP195 (profile 3; no case for it)"});
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
    const std::string label = description ? *description : s.id;
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
      list.losses.push_back({position, label, key, secret ? "(set, not shown)" : '"' + value + '"',
                             "not kept (no field for it)"});
    }
    for (const char* file : {"CERTIFICATE", "PRIVATEKEY"})
      if (const std::string* v = s.find(file))
        list.losses.push_back({position, label, file, '"' + *v + '"', "file name not kept"});
    if (type != "STORAGE")
      list.losses.push_back({position, label, "TYPE", '"' + type + '"', "read as STORAGE, as DCMTK does"});
    list.nodes.push_back(std::move(node));
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
    std::string wanted;
    for (char c : node.name.value_or(node.aetitle.value_or(""))) {
      const char u = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      if ((u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '-' || u == '_') wanted += u;
    }
    if (wanted.empty()) wanted = "NODE" + std::to_string(position);
    const std::string id = ids.claim(wanted);

    DicomNode carried;
    std::string& text = out.text;
    text += "\n[" + id + "]\nType = STORAGE\n";
    if (node.name) text += "Description = " + *node.name + '\n';
    carried.name = node.name ? withoutLeadingBlanks(*node.name) : id;
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
