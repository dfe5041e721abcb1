#include "telvor/ldap/directory.hpp"

#include <functional>
#include <set>

#include "ldap_session.hpp"
#include "telvor/ldap/configuration_mapping.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::ldap {
namespace {

using detail::LdapSession;
using detail::Replacement;
using Kind = DirectoryError::Kind;

const std::vector<std::string> kAttributes = {
    "objectClass",     "dicomDeviceName", "dicomInstalled",      "dicomDescription",
    "dicomAETitle",    "dicomNetworkConnectionReference",        "dicomAssociationAcceptor",
    "dicomHostname",   "dicomPort",       "dicomTLSCipherSuite", "cn",
    "dcmProtocol",     "dcmWebAppName",   "dcmWebServiceClass",  "dcmWebServicePath"};

// The DN of the configuration root under the session's base, or empty.
std::string findConfiguration(LdapSession& session) {
  std::set<std::string> found;  // sorted, so the choice among several is stable
  session.search(session.base(), LDAP_SCOPE_SUBTREE, "(&(objectClass=dicomConfigurationRoot)(cn=DICOM Configuration))",
                 {"1.1"}, [&](DirectoryEntry&& e) { found.insert(std::move(e.dn)); });
  return found.empty() ? std::string() : *found.begin();
}

std::vector<DirectoryEntry> readAll(LdapSession& session) {
  const std::string root = findConfiguration(session);
  if (root.empty())
    throw DirectoryError(Kind::notFound, "no \"cn=DICOM Configuration\" (class dicomConfigurationRoot) under \"" +
                                             session.base() + "\"");
  std::vector<DirectoryEntry> entries;
  session.search("cn=Devices," + root, LDAP_SCOPE_SUBTREE,
                 "(|(objectClass=dicomDevice)(objectClass=dicomNetworkAE)(objectClass=dicomNetworkConnection)"
                 "(objectClass=dcmWebApp))",
                 kAttributes, [&](DirectoryEntry&& e) { entries.push_back(std::move(e)); });
  return entries;
}

}  // namespace

std::vector<DirectoryEntry> readConfiguration(const DirectoryAccess& access) {
  LdapSession session(access);
  return readAll(session);
}

peers::PeerList importDirectory(const DirectoryAccess& access) {
  LdapSession session(access);
  ConfigurationEntries entries;
  for (auto& entry : readAll(session)) entries.add(std::move(entry));
  // LDAP has no joins: a connection kept outside the device's subtree is read by its DN.
  std::set<std::string> known;
  for (const auto& c : entries.connections) known.insert(normalizedDn(c.dn));
  std::set<std::string> missing;
  for (const auto& ae : entries.applicationEntities)
    for (const auto& reference : ae.values("dicomNetworkConnectionReference"))
      if (!known.count(normalizedDn(reference))) missing.insert(reference);
  if (missing.size() > access.limits.maxEntries)
    throw DirectoryError(Kind::badAnswer, "more than " + std::to_string(access.limits.maxEntries) + " connection references");
  for (const auto& reference : missing)
    session.search(reference, LDAP_SCOPE_BASE, "(objectClass=dicomNetworkConnection)", kAttributes,
                   [&](DirectoryEntry&& e) { entries.connections.push_back(std::move(e)); });
  return nodesFromConfiguration(entries);
}

namespace {

struct Planned {
  DicomNode node;
  std::string deviceName;
};

// The device names, and the losses of writing, for every node; throws for one that cannot be written.
std::vector<Planned> plan(std::span<const DicomNode> nodes, std::vector<peers::PeerLoss>& losses) {
  std::vector<Planned> planned;
  peers::UniqueNames names;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNode& node = nodes[i];
    if (const std::string problem = writableProblem(node); !problem.empty())
      throw peers::PeerFormatError(peers::nodePlace(i + 1, peers::labelOf(node)), problem + ": a directory entry needs an AE title, an address and a port");
    const std::string deviceName = names.claim(deviceNameFor(node));
    if (deviceName != deviceNameFor(node))
      losses.push_back({i + 1, peers::labelOf(node), "device name", '"' + deviceNameFor(node) + '"',
                        "written as \"" + deviceName + "\" (device names are unique)"});
    // What a reader makes of the entries is what the node is carried as.
    const NodeEntries e = entriesForNode(node, deviceName, "cn=DICOM Configuration");
    ConfigurationEntries read;
    read.add(e.device);
    read.add(e.applicationEntity);
    read.add(e.connection);
    const peers::PeerList back = nodesFromConfiguration(read);
    if (back.nodes.size() == 1) peers::reportDifferences(node, back.nodes.front(), i + 1, losses);
    planned.push_back({node, deviceName});
  }
  return planned;
}

// Writes one node's entries; on a refusal, undoes what it did and returns why.
class NodeWriter {
 public:
  NodeWriter(LdapSession& session) : session_(session) {}

  // Empty on success, else the directory's reason. `existed` tells whether the device was there.
  std::string write(const NodeEntries& e, bool& existed) {
    undo_.clear();
    existed = false;
    std::string why;
    const bool ok = put(e.device, {"dicomInstalled"}, existed, why) &&
                    put(e.connection, {"dicomHostname", "dicomPort", "dicomTLSCipherSuite", "dicomInstalled"}, why) &&
                    put(e.applicationEntity,
                        {"dicomNetworkConnectionReference", "dicomAssociationInitiator", "dicomAssociationAcceptor",
                         "dicomDescription", "dicomInstalled"},
                        why) &&
                    registerTitle(e.uniqueAeTitle, why);
    if (!ok)
      for (auto step = undo_.rbegin(); step != undo_.rend(); ++step) (*step)();
    return ok ? std::string() : why;
  }

 private:
  bool put(const DirectoryEntry& entry, const std::vector<std::string>& owned, std::string& why) {
    bool existed = false;
    return put(entry, owned, existed, why);
  }

  // Adds the entry, or replaces the attributes this writer owns in the existing one.
  bool put(const DirectoryEntry& entry, const std::vector<std::string>& owned, bool& existed, std::string& why) {
    std::optional<DirectoryEntry> before;
    std::vector<std::string> names = owned;
    session_.search(entry.dn, LDAP_SCOPE_BASE, "(objectClass=*)", names, [&](DirectoryEntry&& e) { before = std::move(e); });
    existed = before.has_value();
    if (!before) {
      const int rc = session_.add(entry);
      if (rc != LDAP_SUCCESS) return refused("adding \"" + entry.dn + "\"", rc, why);
      undo_.push_back([this, dn = entry.dn] { session_.remove(dn); });
      return true;
    }
    std::vector<Replacement> changes, restore;
    for (const auto& name : owned) {
      changes.push_back({name, entry.values(name)});
      restore.push_back({name, before->values(name)});
    }
    const int rc = session_.replace(entry.dn, changes);
    if (rc != LDAP_SUCCESS) return refused("updating \"" + entry.dn + "\"", rc, why);
    undo_.push_back([this, dn = entry.dn, restore] { session_.replace(dn, restore); });
    return true;
  }

  bool registerTitle(const DirectoryEntry& entry, std::string& why) {
    const int rc = session_.add(entry);
    if (rc == LDAP_SUCCESS || rc == LDAP_ALREADY_EXISTS) return true;  // a title in use is registered once
    return refused("registering \"" + entry.dn + "\"", rc, why);
  }

  bool refused(const std::string& what, int code, std::string& why) {
    why = what + ": " + session_.explain(code);
    return false;
  }

  LdapSession& session_;
  std::vector<std::function<void()>> undo_;
};

void ensureRoot(LdapSession& session, const std::string& dn, const char* objectClass, const char* cn) {
  DirectoryEntry entry{dn, {{"objectclass", {objectClass}}, {"cn", {cn}}}};
  const int rc = session.add(entry);
  if (rc != LDAP_SUCCESS && rc != LDAP_ALREADY_EXISTS)
    throw DirectoryError(Kind::refused, "cannot create \"" + dn + "\": " + session.explain(rc));
}

}  // namespace

std::vector<peers::PeerLoss> directoryExportLosses(std::span<const DicomNode> nodes) {
  std::vector<peers::PeerLoss> losses;
  plan(nodes, losses);
  return losses;
}

DirectoryExport exportDirectory(const DirectoryAccess& access, std::span<const DicomNode> nodes) {
  DirectoryExport result;
  const std::vector<Planned> planned = plan(nodes, result.losses);
  LdapSession session(access);
  std::string root = findConfiguration(session);
  if (root.empty()) {
    root = "cn=DICOM Configuration," + session.base();
    ensureRoot(session, root, "dicomConfigurationRoot", "DICOM Configuration");
  }
  ensureRoot(session, "cn=Devices," + root, "dicomDevicesRoot", "Devices");
  ensureRoot(session, "cn=Unique AE Titles Registry," + root, "dicomUniqueAETitlesRegistryRoot", "Unique AE Titles Registry");

  NodeWriter writer(session);
  for (std::size_t i = 0; i < planned.size(); ++i) {
    bool existed = false;
    const std::string why = writer.write(entriesForNode(planned[i].node, planned[i].deviceName, root), existed);
    if (!why.empty()) {
      result.losses.push_back({i + 1, peers::labelOf(planned[i].node), "node", why, "not written (the directory is as it was)"});
      ++result.refused;
    } else {
      ++(existed ? result.updated : result.added);
    }
  }
  return result;
}

}  // namespace telvor::ldap
