// Coded enumeration operations: code to case, title, hashing. Each must allocate nothing.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "alloc_counter.hpp"
#include "benches.hpp"
#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace bench {
namespace {

// Every code of both enumerations and some that no case has, in a run-time vector so
// that nothing is folded at compile time.
std::vector<std::int64_t> codes() {
  std::vector<std::int64_t> all;
  for (std::int64_t c = -3; c <= 45; ++c) all.push_back(c);
  all.push_back(INT64_MIN);
  all.push_back(INT64_MAX);
  return all;
}

void reportPerOperation(benchmark::State& state, std::uint64_t allocations, std::size_t perIteration) {
  const double operations = static_cast<double>(state.iterations()) * static_cast<double>(perIteration);
  state.counters["allocs/op"] = static_cast<double>(allocations) / operations;
  state.SetItemsProcessed(static_cast<std::int64_t>(operations));
}

void fromRawValue(benchmark::State& state) {
  const auto all = codes();
  const auto before = allocationCount();
  for (auto _ : state) {
    for (const std::int64_t code : all) {
      benchmark::DoNotOptimize(telvor::fromRawValue<telvor::TransferSyntax>(code));
      benchmark::DoNotOptimize(telvor::fromRawValue<telvor::SupportedWadoTransferSyntaxType>(code));
    }
  }
  reportPerOperation(state, allocationCount() - before, 2 * all.size());
}

void title(benchmark::State& state) {
  std::vector<telvor::TransferSyntax> cases;
  for (const auto c : telvor::allCases<telvor::TransferSyntax>()) cases.push_back(c);
  const auto before = allocationCount();
  for (auto _ : state) {
    for (const auto c : cases) benchmark::DoNotOptimize(telvor::title(c));
  }
  reportPerOperation(state, allocationCount() - before, cases.size());
}

void hashValue(benchmark::State& state) {
  std::vector<telvor::TransferSyntax> cases;
  for (const auto c : telvor::allCases<telvor::TransferSyntax>()) cases.push_back(c);
  const auto before = allocationCount();
  for (auto _ : state) {
    for (const auto c : cases) benchmark::DoNotOptimize(telvor::hashValue(c));
  }
  reportPerOperation(state, allocationCount() - before, cases.size());
}

}  // namespace

void registerEnumBenchmarks() {
  benchmark::RegisterBenchmark("enum/fromRawValue", fromRawValue)->MinTime(0.1);
  benchmark::RegisterBenchmark("enum/title", title)->MinTime(0.1);
  benchmark::RegisterBenchmark("enum/hashValue", hashValue)->MinTime(0.1);
}

}  // namespace bench
