// Registration of the benchmark families, called by main before running them.
#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <string>

namespace bench {

// The catalogue sizes every JSON benchmark runs at.
inline constexpr std::array<std::size_t, 2> kCatalogueSizes = {1000, 100000};

// The catalogue sizes the property-list benchmarks run at.
inline constexpr std::array<std::size_t, 2> kPlistSizes = {1000, 20000};

// How often each compared benchmark is repeated; the summary takes the fastest run.
inline constexpr int kRepetitions = 3;

void registerJsonBenchmarks();
void registerDictionaryBenchmarks();
void registerEnumBenchmarks();
void registerTextBenchmarks();
void registerPlistBenchmarks();
// Importing 10,000 AEs from a private slapd (when the directory library is built).
void registerDirectoryBenchmarks();

class SummaryReporter;
// What is measured outside Google Benchmark, into `reporter`: Python's plistlib reading and
// writing the files the property-list benchmarks read (as "plistlib/load_FILE",
// "plistlib/dumps_xml_FILE", ...), and the peak memory of the tool's conversions of the
// largest catalogue (as counters of "memory/WAY/N"). Says what it runs on `log`.
void measurePlistBaselines(SummaryReporter& reporter, std::ostream& log);

// The wall time of `telvor-nodes echo` over a mixed catalogue of 500 nodes, most of them
// unreachable, with --jobs 64 (as counters of "echo/mixed/500"). Says what it runs on `log`.
void measureEchoDeadline(SummaryReporter& reporter, std::ostream& log);

// Decodes and encodes a catalogue every way and checks that all ways agree: the same
// nodes out of the same text, the same text out of the same nodes. Returns a description
// of the first disagreement, or the empty text.
std::string checkAgreement();

}  // namespace bench
