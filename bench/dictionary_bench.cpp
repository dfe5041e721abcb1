// The node's dictionary form: toDictionary() and the dictionary constructor per node.
#include <benchmark/benchmark.h>

#include <vector>

#include "alloc_counter.hpp"
#include "benches.hpp"
#include "catalogue.hpp"

namespace bench {
namespace {

constexpr std::size_t kCount = 1000;

void toDictionary(benchmark::State& state) {
  const Catalogue& c = catalogue(kCount);
  const auto before = allocationCount();
  for (auto _ : state) {
    for (const auto& node : c.nodes) {
      auto dictionary = node.toDictionary();
      benchmark::DoNotOptimize(dictionary);
    }
  }
  const double nodes = static_cast<double>(state.iterations()) * kCount;
  state.counters["allocs/node"] = static_cast<double>(allocationCount() - before) / nodes;
  state.counters["nodes/s"] = benchmark::Counter(nodes, benchmark::Counter::kIsRate);
}

// Includes drawing a new random identifier per node, which the dictionary form requires.
void fromDictionary(benchmark::State& state) {
  const Catalogue& c = catalogue(kCount);
  std::vector<telvor::PropertyDictionary> dictionaries;
  for (const auto& node : c.nodes) dictionaries.push_back(*node.toDictionary());
  const auto before = allocationCount();
  for (auto _ : state) {
    for (const auto& dictionary : dictionaries) {
      telvor::DicomNode node(dictionary);
      benchmark::DoNotOptimize(node);
    }
  }
  const double nodes = static_cast<double>(state.iterations()) * kCount;
  state.counters["allocs/node"] = static_cast<double>(allocationCount() - before) / nodes;
  state.counters["nodes/s"] = benchmark::Counter(nodes, benchmark::Counter::kIsRate);
}

}  // namespace

void registerDictionaryBenchmarks() {
  benchmark::RegisterBenchmark("dictionary/toDictionary/1000", toDictionary)->MinTime(0.2);
  benchmark::RegisterBenchmark("dictionary/fromDictionary/1000", fromDictionary)->MinTime(0.2);
}

}  // namespace bench
