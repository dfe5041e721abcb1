// telvor-bench: the library against hand-written nlohmann::json, direct Boost.JSON and
// simdjson, its property lists against Python's plistlib, plus the dictionary form,
// enumerations and text equality; a summary of the targets follows the usual table. Google Benchmark's flags apply
// (--benchmark_filter=encode, --benchmark_out=results.json, ...).
#include <benchmark/benchmark.h>

#include <fstream>
#include <iostream>
#include <string>

#include "benches.hpp"
#include "catalogue.hpp"
#include "summary.hpp"

namespace {

// The machine's load averages, so that a run on a busy machine says so.
std::string loadAverage() {
  std::ifstream in("/proc/loadavg");
  std::string one, five, fifteen;
  if (!(in >> one >> five >> fifteen)) return "unknown";
  return one + " " + five + " " + fifteen;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  if (const std::string disagreement = bench::checkAgreement(); !disagreement.empty()) {
    std::cerr << "telvor-bench: the codecs disagree (" << disagreement << "); nothing measured\n";
    return 1;
  }
  for (const std::size_t count : bench::kCatalogueSizes) {
    const auto& c = bench::catalogue(count);
    std::cout << "catalogue of " << count << " nodes: " << c.json.size() << " bytes of JSON\n";
  }
  const std::string loadBefore = loadAverage();

  bench::registerJsonBenchmarks();
  bench::registerDictionaryBenchmarks();
  bench::registerEnumBenchmarks();
  bench::registerTextBenchmarks();
#ifdef TELVOR_BENCH_PLIST
  bench::registerPlistBenchmarks();
#endif
#ifdef TELVOR_BENCH_LDAP
  bench::registerDirectoryBenchmarks();
#endif
  bench::SummaryReporter reporter;
  const std::string filter = benchmark::GetBenchmarkFilter();
  benchmark::RunSpecifiedBenchmarks(&reporter);
#ifdef TELVOR_BENCH_PLIST
  if (filter != "echo") bench::measurePlistBaselines(reporter, std::cout);
#endif
  // --benchmark_filter=echo measures only the echo row.
  if (filter == "echo" || filter.empty() || filter == "." || filter == "all")
    bench::measureEchoDeadline(reporter, std::cout);
  reporter.printSummary(std::cout);
  std::cout << "\nload average (1, 5, 15 min) before: " << loadBefore << ", after: " << loadAverage() << "\n";
  benchmark::Shutdown();
  return 0;
}
