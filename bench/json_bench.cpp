// JSON benchmarks: the catalogue decoded and encoded by the library, by hand-written
// nlohmann::json code and by Boost.JSON directly; simdjson reading the same bytes.
#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <cstdint>
#include <string>

#include "alloc_counter.hpp"
#include "benches.hpp"
#include "catalogue.hpp"
#include "codecs.hpp"

namespace bench {
namespace {

using DecodeFn = std::vector<telvor::DicomNode> (*)(std::string_view);
using EncodeFn = std::string (*)(std::span<const telvor::DicomNode>);

void reportPerNode(benchmark::State& state, std::uint64_t allocations, std::size_t count, std::size_t bytes) {
  const double nodes = static_cast<double>(state.iterations()) * static_cast<double>(count);
  state.counters["allocs/node"] = static_cast<double>(allocations) / nodes;
  state.counters["nodes/s"] = benchmark::Counter(nodes, benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
}

void decode(benchmark::State& state, DecodeFn fn, std::size_t count) {
  const Catalogue& c = catalogue(count);
  const auto before = allocationCount();
  for (auto _ : state) {
    auto nodes = fn(c.json);
    benchmark::DoNotOptimize(nodes.data());
  }
  reportPerNode(state, allocationCount() - before, count, c.json.size());
}

void encode(benchmark::State& state, EncodeFn fn, std::size_t count) {
  const Catalogue& c = catalogue(count);
  const auto before = allocationCount();
  for (auto _ : state) {
    auto text = fn(c.nodes);
    benchmark::DoNotOptimize(text.data());
  }
  reportPerNode(state, allocationCount() - before, count, c.json.size());
}

// Parsing and validating the text, nothing extracted: the cost of merely reading it.
void simdjsonParse(benchmark::State& state, std::size_t count) {
  const Catalogue& c = catalogue(count);
  const simdjson::padded_string padded(c.json);
  simdjson::dom::parser parser;
  const auto before = allocationCount();
  for (auto _ : state) {
    simdjson::dom::element document;
    if (parser.parse(padded).get(document) != simdjson::SUCCESS) {
      state.SkipWithError("simdjson refused the catalogue");
      break;
    }
    benchmark::DoNotOptimize(document);
  }
  reportPerNode(state, allocationCount() - before, count, c.json.size());
}

}  // namespace

void registerJsonBenchmarks() {
  for (const std::size_t count : kCatalogueSizes) {
    // The large catalogue runs only a few iterations per repetition.
    const double minTime = count <= 1000 ? 0.25 : 0.6;
    const auto add = [&](std::string name, auto fn, auto... args) {
      name += '/';
      name += std::to_string(count);
      benchmark::RegisterBenchmark(name.c_str(), fn, args..., count)->MinTime(minTime)->Repetitions(kRepetitions);
    };
    add("decode/library", decode, &library::decode);
    add("decode/library_boost", decode, &library_boost::decode);
    add("decode/boost_direct", decode, &direct::decode);
    add("decode/nlohmann", decode, &nlohmann_json::decode);
    add("decode/nlohmann_ordered", decode, &nlohmann_ordered::decode);
    add("decode/simdjson_parse_only", simdjsonParse);
    add("decode/simdjson_direct", decode, &simdjson_direct::decode);
    add("encode/library", encode, &library::encode);
    add("encode/boost_direct", encode, &direct::encode);
    add("encode/nlohmann", encode, &nlohmann_json::encode);
    add("encode/nlohmann_ordered", encode, &nlohmann_ordered::encode);
  }
}

}  // namespace bench
