// The directory's entries as nodes: what an AE becomes, what is left out and why, and
// that a node written as entries reads back as itself.
#include <gtest/gtest.h>

#include <algorithm>

#include "telvor/ldap/cipher_suites.hpp"
#include "telvor/ldap/configuration_mapping.hpp"

namespace telvor::ldap {
namespace {

const std::string kDevices = "cn=Devices,cn=DICOM Configuration,dc=example,dc=org";

DirectoryEntry entry(std::string dn, std::map<std::string, std::vector<std::string>> attributes) {
  return {std::move(dn), std::move(attributes)};
}

// One device "d" with AE "AE" over connection "c", each with the attributes given on top.
ConfigurationEntries device(std::map<std::string, std::vector<std::string>> ae,
                            std::map<std::string, std::vector<std::string>> connection,
                            std::map<std::string, std::vector<std::string>> deviceExtra = {}) {
  const std::string dn = "dicomDeviceName=d," + kDevices;
  ConfigurationEntries c;
  deviceExtra.emplace("objectclass", std::vector<std::string>{"dicomDevice"});
  deviceExtra.emplace("dicomdevicename", std::vector<std::string>{"d"});
  deviceExtra.emplace("dicominstalled", std::vector<std::string>{"TRUE"});
  c.add(entry(dn, deviceExtra));
  connection.emplace("objectclass", std::vector<std::string>{"dicomNetworkConnection"});
  connection.emplace("cn", std::vector<std::string>{"c"});
  connection.emplace("dicomhostname", std::vector<std::string>{"h"});
  connection.emplace("dicomport", std::vector<std::string>{"104"});
  c.add(entry("cn=c," + dn, connection));
  ae.emplace("objectclass", std::vector<std::string>{"dicomNetworkAE"});
  ae.emplace("dicomaetitle", std::vector<std::string>{"AE"});
  ae.emplace("dicomnetworkconnectionreference", std::vector<std::string>{"cn=c," + dn});
  c.add(entry("dicomAETitle=AE," + dn, ae));
  return c;
}

struct LeftOut {
  const char* why;
  ConfigurationEntries entries;
  const char* field;
  const char* reason;  // part of the loss's text
};

TEST(ConfigurationMapping, LeavesOutWhatAViewerCannotUseNamingTheAeAndTheReason) {
  const LeftOut cases[] = {
      {"device FALSE", device({}, {}, {{"dicominstalled", {"FALSE"}}}), "dicomInstalled", "device not installed"},
      {"AE FALSE", device({{"dicominstalled", {"FALSE"}}}, {}), "dicomInstalled", "FALSE"},
      {"acceptor FALSE", device({{"dicomassociationacceptor", {"FALSE"}}}, {}), "dicomAssociationAcceptor", "accepts no"},
      {"connection FALSE", device({}, {{"dicominstalled", {"FALSE"}}}), "dicomNetworkConnectionReference", "not installed"},
      {"no port", device({}, {{"dicomport", {}}}), "dicomNetworkConnectionReference", "no port (outbound only)"},
      {"port 0", device({}, {{"dicomport", {"0"}}}), "dicomNetworkConnectionReference", "not a number in 1-65535"},
      {"HL7", device({}, {{"dcmprotocol", {"HL7"}}}), "dicomNetworkConnectionReference", "speaks HL7"},
      {"no host", device({}, {{"dicomhostname", {""}}}), "dicomNetworkConnectionReference", "no host name"},
  };
  for (const auto& c : cases) {
    auto input = c.entries;
    // `{}` in the table means "attribute removed".
    for (auto& conn : input.connections)
      for (auto it = conn.attributes.begin(); it != conn.attributes.end();)
        it = it->second.empty() ? conn.attributes.erase(it) : std::next(it);
    const auto list = nodesFromConfiguration(input);
    EXPECT_TRUE(list.nodes.empty()) << c.why;
    ASSERT_EQ(list.losses.size(), 1u) << c.why;
    EXPECT_EQ(list.losses[0].label, "AE") << c.why;
    EXPECT_EQ(list.losses[0].field, c.field) << c.why;
    EXPECT_NE(list.losses[0].lost.find(c.reason), std::string::npos) << c.why << ": " << list.losses[0].lost;
  }
}

TEST(ConfigurationMapping, InheritsInstalledFlagsAndFollowsReferencesSpelledAnotherWay) {
  // A DN reference as an administrator may type it: other case, spaces after commas.
  auto c = device({{"dicomnetworkconnectionreference",
                    {"CN=c, dicomDeviceName=d, cn=Devices, cn=DICOM Configuration, dc=example, dc=org"}}},
                  {});
  const auto list = nodesFromConfiguration(c);
  ASSERT_EQ(list.nodes.size(), 1u);
  EXPECT_EQ(list.nodes[0].name, "d AE");  // no description: device name and AE title
  EXPECT_EQ(list.nodes[0].address, "h");
  EXPECT_EQ(list.nodes[0].port, "104");
  EXPECT_FALSE(list.nodes[0].tlsSettings->isEnabled);
}

TEST(ConfigurationMapping, CipherSuitesTurnTlsOnWithTheirProfileAndANearMatchIsALoss) {
  for (const TLSSecurityProfile profile : {TLSSecurityProfile::profile1, TLSSecurityProfile::profile2,
                                           TLSSecurityProfile::profile3, TLSSecurityProfile::profile4,
                                           TLSSecurityProfile::profile5}) {
    std::vector<std::string> suites(cipherSuitesOf(profile).begin(), cipherSuitesOf(profile).end());
    std::reverse(suites.begin(), suites.end());  // order does not matter
    const ProfileMatch match = profileOfCipherSuites(suites);
    EXPECT_EQ(match.profile, profile);
    EXPECT_TRUE(match.exact);
  }
  EXPECT_EQ(profileOfCipherSuites({"SSL_RSA_WITH_3DES_EDE_CBC_SHA"}).profile, TLSSecurityProfile::profile1);

  const auto list = nodesFromConfiguration(device(
      {}, {{"dicomtlsciphersuite", {"TLS_ECDHE_RSA_WITH_AES_128_GCM_SHA256", "TLS_ECDHE_RSA_WITH_AES_256_GCM_SHA384"}}}));
  ASSERT_EQ(list.nodes.size(), 1u);
  EXPECT_TRUE(list.nodes[0].tlsSettings->isEnabled);
  EXPECT_EQ(list.nodes[0].tlsSettings->securityProfile, TLSSecurityProfile::profile4);
  ASSERT_EQ(list.losses.size(), 1u);
  EXPECT_EQ(list.losses[0].chosen, "TLS profile 4 (the nearest)");
}

TEST(ConfigurationMapping, ANodeWrittenAsEntriesReadsBackAsItself) {
  DicomNode node;
  node.name = "Archiv, Köln + \"Süd\"";  // characters a DN must escape
  node.aetitle = "ARCH=1";
  node.address = "archive.example.org";
  node.port = "2762";
  node.tlsSettings->isEnabled = true;
  node.tlsSettings->securityProfile = TLSSecurityProfile::profile5;
  const NodeEntries e = entriesForNode(node, deviceNameFor(node), "cn=DICOM Configuration,dc=example,dc=org");
  EXPECT_EQ(parentDn(e.applicationEntity.dn), e.device.dn);
  ConfigurationEntries read;
  for (const auto& x : {e.device, e.applicationEntity, e.connection}) read.add(x);
  const auto list = nodesFromConfiguration(read);
  ASSERT_EQ(list.nodes.size(), 1u);
  EXPECT_TRUE(list.losses.empty());
  node.uniqueId = list.nodes[0].uniqueId;
  EXPECT_EQ(list.nodes[0], node);
}

}  // namespace
}  // namespace telvor::ldap
