// The node's dictionary form: toDictionary() and the dictionary constructor per node.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "alloc_counter.hpp"
#include "benches.hpp"
#include "catalogue.hpp"

namespace bench {
namespace {

constexpr std::size_t kCount = 1000;

// The keys and texts of a dictionary too long for the small-string buffer: each costs an
// allocation whatever the dictionary's own layout.
std::size_t longTexts(const telvor::PropertyDictionary& d) {
  const std::size_t small = std::string().capacity();
  std::size_t n = 0;
  for (const auto& [key, value] : d) {
    n += key.size() > small;
    if (const std::string* text = value.textValue()) n += text->size() > small;
  }
  return n;
}

void toDictionary(benchmark::State& state) {
  const Catalogue& c = catalogue(kCount);
  double perNode = 0;
  for (const auto& node : c.nodes) perNode += static_cast<double>(longTexts(*node.toDictionary()));
  perNode /= kCount;
  const auto before = allocationCount();
  for (auto _ : state) {
    for (const auto& node : c.nodes) {
      auto dictionary = node.toDictionary();
      benchmark::DoNotOptimize(dictionary);
    }
  }
  const double nodes = static_cast<double>(state.iterations()) * kCount;
  state.counters["allocs/node"] = static_cast<double>(allocationCount() - before) / nodes;
  state.counters["allocs/node beyond long texts"] = state.counters["allocs/node"] - perNode;
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
