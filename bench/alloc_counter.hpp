// Heap allocations made on the calling thread, counted by the benchmark binary's own
// replacement of the global `operator new` (alloc_counter.cpp). Every allocation through
// `new` counts, including those the libraries under test make; `malloc` does not.
//
//   const auto before = bench::allocationCount();
//   work();
//   const auto made = bench::allocationCount() - before;
#pragma once

#include <cstdint>

namespace bench {

// How many times `operator new` (any form) has run on this thread so far.
std::uint64_t allocationCount() noexcept;

}  // namespace bench
