// Importing a site's directory: 10,000 network AEs (each with its device and connection)
// read from a private slapd on loopback with paged searches, and mapped to nodes.
#include <benchmark/benchmark.h>

#include <chrono>
#include <optional>
#include <string>

#include "benches.hpp"
#include "support/slapd.hpp"
#include "telvor/ldap/directory.hpp"

namespace bench {
namespace {

constexpr int kAes = 10000;

std::string siteLdif() {
  const std::string config = "cn=DICOM Configuration,dc=example,dc=org";
  std::string out = "dn: " + config + "\nobjectClass: dicomConfigurationRoot\ncn: DICOM Configuration\n\n" +
                    "dn: cn=Devices," + config + "\nobjectClass: dicomDevicesRoot\ncn: Devices\n\n";
  out.reserve(std::size_t{kAes} * 900);
  for (int i = 0; i < kAes; ++i) {
    const std::string name = "device-" + std::to_string(i);
    const std::string dn = "dicomDeviceName=" + name + ",cn=Devices," + config;
    out += "dn: " + dn + "\nobjectClass: dicomDevice\ndicomDeviceName: " + name + "\ndicomInstalled: TRUE\n\n";
    out += "dn: cn=dicom," + dn + "\nobjectClass: dicomNetworkConnection\ncn: dicom\ndicomHostname: host-" +
           std::to_string(i) + ".example.org\ndicomPort: 11112\n\n";
    out += "dn: dicomAETitle=AE" + std::to_string(i) + "," + dn + "\nobjectClass: dicomNetworkAE\ndicomAETitle: AE" +
           std::to_string(i) + "\ndicomAssociationInitiator: TRUE\ndicomAssociationAcceptor: TRUE\n" +
           "dicomDescription: Modality " + std::to_string(i) + "\ndicomNetworkConnectionReference: cn=dicom," + dn + "\n\n";
  }
  return out;
}

void importDirectory(benchmark::State& state) {
  // Started on first use, so that a filtered run starts no server.
  static std::optional<telvor::testing_support::Slapd> server;
  if (!server) server.emplace(siteLdif());
  if (!server->ready()) {
    state.SkipWithError(server->problem().c_str());
    return;
  }
  telvor::ldap::DirectoryAccess access;
  access.url = server->url();
  double seconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    auto list = telvor::ldap::importDirectory(access);
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (list.nodes.size() != static_cast<std::size_t>(kAes)) {
      state.SkipWithError("the directory gave another number of nodes");
      return;
    }
    benchmark::DoNotOptimize(list);
  }
  state.counters["wall seconds"] = benchmark::Counter(seconds, benchmark::Counter::kAvgIterations);
}

}  // namespace

void registerDirectoryBenchmarks() {
  benchmark::RegisterBenchmark("ldap/import/10000", importDirectory)
      ->Iterations(3)
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace bench
