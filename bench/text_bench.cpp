// Text equality: telvor::textEquals against std::string's operator== on the same pairs.
#include <benchmark/benchmark.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "alloc_counter.hpp"
#include "benches.hpp"
#include "catalogue.hpp"
#include "telvor/coding/text.hpp"

namespace bench {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

bool isAscii(const std::string& text) {
  for (const char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

// The catalogue's ASCII texts by field (AE titles, names, addresses, WADO URLs), node
// by node.
std::vector<std::vector<std::string>> asciiFields() {
  std::vector<std::vector<std::string>> fields(4);
  for (const auto& node : catalogue(1000).nodes) {
    const std::optional<std::string>* values[] = {&node.aetitle, &node.name, &node.address, &node.wadoSettings.url};
    for (std::size_t f = 0; f < fields.size(); ++f)
      if (*values[f] && isAscii(**values[f])) fields[f].push_back(**values[f]);
  }
  return fields;
}

// Each text against a copy of itself: byte-equal, in separate buffers. What comparing a
// record with an unchanged copy does field by field.
Pairs asciiEqualPairs() {
  Pairs pairs;
  for (const auto& texts : asciiFields())
    for (const auto& text : texts) pairs.emplace_back(text, std::string(text.data(), text.size()));
  return pairs;
}

// Each text against the same field of the next node, when they differ: common prefixes
// ("ARCHIVE_00", "https://pacs-") are frequent. `sameLength` picks the pairs whose sizes
// match (std::string compares their bytes too) or those whose sizes differ
// (std::string answers from the sizes alone, which canonical equivalence cannot).
Pairs asciiUnequalPairs(bool sameLength) {
  Pairs pairs;
  for (const auto& texts : asciiFields()) {
    for (std::size_t i = 0; i + 1 < texts.size(); ++i) {
      const auto& a = texts[i];
      const auto& b = texts[i + 1];
      if (a != b && (a.size() == b.size()) == sameLength) pairs.emplace_back(a, b);
    }
  }
  return pairs;
}
Pairs asciiUnequalSameLength() { return asciiUnequalPairs(true); }
Pairs asciiUnequalOtherLength() { return asciiUnequalPairs(false); }

// Precomposed against decomposed spellings of the same texts.
Pairs canonicalPairs() {
  return {
      {"Kinderklinik Z\xC3\xBCrich", "Kinderklinik Zu\xCC\x88rich"},
      {"H\xC3\xB4pital Nord", "Ho\xCC\x82pital Nord"},
      {"Caf\xC3\xA9", "Cafe\xCC\x81"},
      {"\xC3\x85ngstr\xC3\xB6m Imaging", "A\xCC\x8Angstro\xCC\x88m Imaging"},
      {"Se\xC3\xB1or Radiolog\xC3\xAD" "a", "Sen\xCC\x83or Radiologi\xCC\x81" "a"},
  };
}

template <class Equal>
void compare(benchmark::State& state, const Pairs& pairs, Equal equal) {
  const auto before = allocationCount();
  for (auto _ : state) {
    std::size_t equalCount = 0;
    for (const auto& [a, b] : pairs) equalCount += equal(a, b) ? 1 : 0;
    benchmark::DoNotOptimize(equalCount);
  }
  const double comparisons = static_cast<double>(state.iterations()) * static_cast<double>(pairs.size());
  state.counters["allocs/op"] = static_cast<double>(allocationCount() - before) / comparisons;
  state.SetItemsProcessed(static_cast<std::int64_t>(comparisons));
}

// Distinct closure types, so that each comparison is inlined into its own loop.
constexpr auto viaTextEquals = [](const std::string& a, const std::string& b) { return telvor::textEquals(a, b); };
constexpr auto viaStdString = [](const std::string& a, const std::string& b) { return a == b; };

void registerPair(const char* name, Pairs (*make)()) {
  const std::string base = std::string("text/") + name;
  benchmark::RegisterBenchmark((base + "/textEquals").c_str(),
                               [make](benchmark::State& s) { compare(s, make(), viaTextEquals); })
      ->MinTime(0.1)
      ->Repetitions(kRepetitions);
  benchmark::RegisterBenchmark((base + "/std_string").c_str(),
                               [make](benchmark::State& s) { compare(s, make(), viaStdString); })
      ->MinTime(0.1)
      ->Repetitions(kRepetitions);
}

}  // namespace

void registerTextBenchmarks() {
  registerPair("ascii_equal", asciiEqualPairs);
  registerPair("ascii_unequal_same_length", asciiUnequalSameLength);
  registerPair("ascii_unequal_other_length", asciiUnequalOtherLength);
  benchmark::RegisterBenchmark("text/canonical_equal/textEquals",
                               [](benchmark::State& s) { compare(s, canonicalPairs(), viaTextEquals); })
      ->MinTime(0.1);
}

}  // namespace bench
