#include "telvor/ldap/configuration_mapping.hpp"

#include <algorithm>
#include <tuple>
#include <unordered_map>

#include "telvor/ldap/cipher_suites.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::ldap {
namespace {

const DirectoryEntry* findIn(const std::unordered_map<std::string, const DirectoryEntry*>& index, const std::string& dn) {
  const auto found = index.find(normalizedDn(dn));
  return found == index.end() ? nullptr : found->second;
}

std::unordered_map<std::string, const DirectoryEntry*> indexByDn(const std::vector<DirectoryEntry>& entries) {
  std::unordered_map<std::string, const DirectoryEntry*> index;
  for (const auto& entry : entries) index.emplace(normalizedDn(entry.dn), &entry);
  return index;
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

// Whether an entry is installed: its own dicomInstalled, else its device's. The text says
// where a FALSE came from.
struct Installed {
  bool value;
  std::string why;
};
Installed installedOf(const DirectoryEntry& entry, const DirectoryEntry& device, const std::string& deviceName) {
  if (const auto own = ldapBoolean(entry.first("dicomInstalled"))) return {*own, "FALSE"};
  const auto inherited = ldapBoolean(device.first("dicomInstalled"));
  // A device must say; one that does not (or says something else) is not relied on.
  if (!inherited) return {false, "absent on it and on device " + quoted(deviceName)};
  return {*inherited, "FALSE, inherited from device " + quoted(deviceName)};
}

// A connection's address, or why a viewer cannot use it.
struct Usable {
  std::string host, port, problem;
  std::vector<std::string> suites;
};
Usable examine(const DirectoryEntry& connection, const DirectoryEntry& device, const std::string& deviceName) {
  Usable u;
  const std::string name = connection.first("cn").value_or(connection.dn);
  if (const auto installed = installedOf(connection, device, deviceName); !installed.value) {
    u.problem = "connection " + quoted(name) + " not installed (dicomInstalled " + installed.why + ")";
    return u;
  }
  if (const auto protocol = connection.first("dcmProtocol"); protocol && *protocol != "DICOM") {
    u.problem = "connection " + quoted(name) + " speaks " + *protocol + ", not DICOM";
    return u;
  }
  const auto port = connection.first("dicomPort");
  if (!port) {
    u.problem = "connection " + quoted(name) + " has no port (outbound only)";
    return u;
  }
  long number = 0;
  if (!peers::portInRange(*port, 1, 65535, &number)) {
    u.problem = "connection " + quoted(name) + " has port " + quoted(*port) + ", not a number in 1-65535";
    return u;
  }
  const auto host = connection.first("dicomHostname");
  if (!host || host->empty()) {
    u.problem = "connection " + quoted(name) + " has no host name";
    return u;
  }
  u.host = *host;
  u.port = std::to_string(number);
  u.suites = connection.values("dicomTLSCipherSuite");
  return u;
}

std::string joined(const std::vector<std::string>& texts, const char* separator) {
  std::string out;
  for (const auto& text : texts) out += (out.empty() ? "" : separator) + text;
  return out;
}

struct Candidate {
  std::string deviceName, aetitle;
  const DirectoryEntry* ae;
  const DirectoryEntry* device;  // null: the AE sits under no device entry
};

}  // namespace

void ConfigurationEntries::add(DirectoryEntry entry) {
  if (entry.hasClass("dicomNetworkAE")) applicationEntities.push_back(std::move(entry));
  else if (entry.hasClass("dicomNetworkConnection")) connections.push_back(std::move(entry));
  else if (entry.hasClass("dicomDevice")) devices.push_back(std::move(entry));
  else if (entry.hasClass("dcmWebApp")) webApplications.push_back(std::move(entry));
}

peers::PeerList nodesFromConfiguration(const ConfigurationEntries& entries) {
  const auto devices = indexByDn(entries.devices);
  const auto connections = indexByDn(entries.connections);

  std::vector<Candidate> candidates;
  for (const auto& ae : entries.applicationEntities) {
    const DirectoryEntry* device = findIn(devices, parentDn(ae.dn));
    const std::string deviceName = device ? device->first("dicomDeviceName").value_or(device->dn) : parentDn(ae.dn);
    candidates.push_back({deviceName, ae.first("dicomAETitle").value_or(""), &ae, device});
  }
  std::stable_sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
    return std::tie(a.deviceName, a.aetitle) < std::tie(b.deviceName, b.aetitle);
  });

  peers::PeerList list;
  std::size_t position = 0;
  for (const Candidate& c : candidates) {
    ++position;
    const std::string label = c.aetitle.empty() ? c.ae->dn : c.aetitle;
    auto leaveOut = [&](std::string field, std::string why) {
      list.losses.push_back({position, label, std::move(field), std::move(why),
                             "left out (device " + quoted(c.deviceName) + ")"});
    };
    if (!c.device) {
      leaveOut("node", "no dicomDevice entry above the AE");
      continue;
    }
    if (ldapBoolean(c.device->first("dicomInstalled")) != true) {
      leaveOut("dicomInstalled", "device not installed");
      continue;
    }
    if (const auto installed = installedOf(*c.ae, *c.device, c.deviceName); !installed.value) {
      leaveOut("dicomInstalled", installed.why);
      continue;
    }
    if (ldapBoolean(c.ae->first("dicomAssociationAcceptor")) == false) {
      leaveOut("dicomAssociationAcceptor", "FALSE: accepts no associations");
      continue;
    }
    if (c.aetitle.empty()) {
      leaveOut("dicomAETitle", "absent");
      continue;
    }
    std::vector<std::string> problems;
    std::vector<std::pair<std::string, Usable>> usable;  // reference, address
    for (const auto& reference : c.ae->values("dicomNetworkConnectionReference")) {
      const DirectoryEntry* connection = findIn(connections, reference);
      if (!connection) {
        problems.push_back("connection " + quoted(reference) + " not found");
        continue;
      }
      Usable u = examine(*connection, *c.device, c.deviceName);
      if (u.problem.empty()) usable.emplace_back(connection->first("cn").value_or(reference), std::move(u));
      else problems.push_back(std::move(u.problem));
    }
    if (usable.empty()) {
      leaveOut("dicomNetworkConnectionReference", problems.empty() ? "no connection" : joined(problems, "; "));
      continue;
    }

    const Usable& chosen = usable.front().second;
    DicomNode node;
    node.aetitle = c.aetitle;
    node.address = chosen.host;
    node.port = chosen.port;
    if (auto description = c.ae->first("dicomDescription")) node.name = std::move(description);
    else if (auto deviceDescription = c.device->first("dicomDescription")) node.name = std::move(deviceDescription);
    else node.name = c.deviceName + " " + c.aetitle;
    if (!chosen.suites.empty()) {
      const ProfileMatch match = profileOfCipherSuites(chosen.suites);
      node.tlsSettings = TlsSettings();
      node.tlsSettings->isEnabled = true;
      node.tlsSettings->securityProfile = match.profile;
      if (!match.exact)
        list.losses.push_back({position, label, "dicomTLSCipherSuite", joined(chosen.suites, " "),
                               "TLS profile " + std::to_string(rawValue(match.profile)) + " (the nearest)"});
    }
    for (std::size_t k = 1; k < usable.size(); ++k)
      list.losses.push_back({position, label, "dicomNetworkConnectionReference", quoted(usable[k].first),
                             "not carried (one node per AE, from connection " + quoted(usable.front().first) + ")"});
    list.nodes.push_back(std::move(node));
    list.sources.push_back(position);
  }
  for (const auto& web : entries.webApplications) {
    ++position;
    const std::string name = web.first("dcmWebAppName").value_or(web.dn);
    list.losses.push_back({position, name, "dcmWebApp", joined(web.values("dcmWebServiceClass"), " "),
                           "not carried (web services are not imported)"});
  }
  return list;
}

std::string deviceNameFor(const DicomNode& node) {
  if (node.name && !node.name->empty()) return *node.name;
  return node.aetitle.value_or("");
}

std::string writableProblem(const DicomNode& node) {
  if (!node.aetitle || node.aetitle->empty()) return "no AE title";
  if (!node.address || node.address->empty()) return "no address";
  if (!node.port || !peers::portInRange(*node.port, 1, 65535)) return "no port in 1-65535";
  return {};
}

NodeEntries entriesForNode(const DicomNode& node, const std::string& deviceName, const std::string& configurationDn) {
  NodeEntries e;
  const std::string deviceDn = "dicomDeviceName=" + escapeDnValue(deviceName) + ",cn=Devices," + configurationDn;
  const bool tls = node.tlsSettings && node.tlsSettings->isEnabled;

  e.device.dn = deviceDn;
  e.device.attributes["objectclass"] = {"dicomDevice"};
  e.device.attributes["dicomdevicename"] = {deviceName};
  e.device.attributes["dicominstalled"] = {"TRUE"};

  e.connection.dn = "cn=dicom," + deviceDn;
  e.connection.attributes["objectclass"] = {"dicomNetworkConnection"};
  e.connection.attributes["cn"] = {"dicom"};
  e.connection.attributes["dicomhostname"] = {*node.address};
  long port = 0;
  peers::portInRange(*node.port, 1, 65535, &port);
  e.connection.attributes["dicomport"] = {std::to_string(port)};
  if (tls)
    for (std::string_view suite : cipherSuitesOf(node.tlsSettings->securityProfile))
      e.connection.attributes["dicomtlsciphersuite"].emplace_back(suite);

  e.applicationEntity.dn = "dicomAETitle=" + escapeDnValue(*node.aetitle) + "," + deviceDn;
  e.applicationEntity.attributes["objectclass"] = {"dicomNetworkAE"};
  e.applicationEntity.attributes["dicomaetitle"] = {*node.aetitle};
  e.applicationEntity.attributes["dicomnetworkconnectionreference"] = {e.connection.dn};
  e.applicationEntity.attributes["dicomassociationinitiator"] = {"TRUE"};
  e.applicationEntity.attributes["dicomassociationacceptor"] = {"TRUE"};
  if (node.name && !node.name->empty()) e.applicationEntity.attributes["dicomdescription"] = {*node.name};

  e.uniqueAeTitle.dn = "dicomAETitle=" + escapeDnValue(*node.aetitle) + ",cn=Unique AE Titles Registry," + configurationDn;
  e.uniqueAeTitle.attributes["objectclass"] = {"dicomUniqueAETitle"};
  e.uniqueAeTitle.attributes["dicomaetitle"] = {*node.aetitle};
  return e;
}

}  // namespace telvor::ldap
