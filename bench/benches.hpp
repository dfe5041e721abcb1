// Registration of the benchmark families, called by main before running them.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace bench {

// The catalogue sizes every JSON benchmark runs at.
inline constexpr std::array<std::size_t, 2> kCatalogueSizes = {1000, 100000};

// How often each compared benchmark is repeated; the summary takes the fastest run.
inline constexpr int kRepetitions = 3;

void registerJsonBenchmarks();
void registerDictionaryBenchmarks();
void registerEnumBenchmarks();
void registerTextBenchmarks();

// Decodes and encodes a catalogue every way and checks that all ways agree: the same
// nodes out of the same text, the same text out of the same nodes. Returns a description
// of the first disagreement, or the empty text.
std::string checkAgreement();

}  // namespace bench
