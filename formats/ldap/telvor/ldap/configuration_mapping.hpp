// The DICOM configuration's entries as nodes, and nodes as entries: the mapping between a
// site's directory (devices, their network AEs and network connections) and a catalogue,
// with no directory access of its own.
//
//   telvor::ldap::ConfigurationEntries read = ...;             // from a directory
//   telvor::peers::PeerList list = telvor::ldap::nodesFromConfiguration(read);
//   for (const auto& why : list.losses) std::cerr << describe(why) << '\n';
//
//   auto entries = telvor::ldap::entriesForNode(node, "pacs1", configurationDn);
//
// Reading: one node per network AE, from the first connection it references that a
// viewer can use (in reference order); another usable connection of the same AE is a loss.
// The node's name is the AE's dicomDescription, else the device's, else "DEVICE AETITLE".
// TLS is on when the connection lists cipher suites, with the profile they stand for.
// An AE is left out, with a loss naming it and saying why, when it or its device is not
// installed (an AE or connection without dicomInstalled takes the device's), when it
// accepts no associations, and when none of its connections can be used: not installed,
// no port (outbound only), another protocol (dcm4che's dcmProtocol other than DICOM), no
// host, or not found. Web services (dcm4che's dcmWebApp) are not carried: each is a loss.
// Classes and attributes the mapping does not know are ignored.
#pragma once

#include <string>
#include <vector>

#include "telvor/ldap/directory_entry.hpp"
#include "telvor/ldap/telvor_ldap_peers_export.hpp"
#include "telvor/peers/peer_list.hpp"

namespace telvor::ldap {

// The entries of one configuration, by class; any order.
struct ConfigurationEntries {
  std::vector<DirectoryEntry> devices;              // dicomDevice
  std::vector<DirectoryEntry> applicationEntities;  // dicomNetworkAE
  std::vector<DirectoryEntry> connections;          // dicomNetworkConnection
  std::vector<DirectoryEntry> webApplications;      // dcmWebApp

  // Files `entry` under its class (an entry of none of them is dropped).
  TELVOR_LDAP_API void add(DirectoryEntry entry);
};

// The nodes of the usable AEs, ordered by device name then AE title, and a loss for every
// AE left out and every field not carried. Loss positions count the AEs in that order
// (the web applications after them). Total: never throws for any entries.
TELVOR_LDAP_API peers::PeerList nodesFromConfiguration(const ConfigurationEntries& entries);

// What one node is written as: a device holding one AE and one connection, and the AE
// title's entry in the unique AE titles registry.
struct NodeEntries {
  DirectoryEntry device, applicationEntity, connection, uniqueAeTitle;
};

// The entries of `node` as device `deviceName` under `configurationDn` (the DN of
// "cn=DICOM Configuration"). The node needs an AE title, an address and a port; the caller
// checks that (writableProblem).
TELVOR_LDAP_API NodeEntries entriesForNode(const DicomNode& node, const std::string& deviceName,
                                           const std::string& configurationDn);

// Why `node` cannot be written to a directory ("no AE title", ...), or empty when it can.
TELVOR_LDAP_API std::string writableProblem(const DicomNode& node);

// The device name a node is written under: its name, else its AE title.
TELVOR_LDAP_API std::string deviceNameFor(const DicomNode& node);

}  // namespace telvor::ldap
