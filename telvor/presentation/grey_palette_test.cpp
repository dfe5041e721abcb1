// The grey palette: its values, the identity of its shared shades, and once-only creation
// under concurrent first reads. Suites are named so that `ctest -R "Concurrency|Palette"`
// runs them under ThreadSanitizer.
#include "telvor/presentation/grey_palette.hpp"

#include <gtest/gtest.h>

#include <array>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

namespace telvor {
namespace {

constexpr std::array kAllShades{GrayShade::systemGray2, GrayShade::systemGray3, GrayShade::systemGray4,
                                GrayShade::systemGray5, GrayShade::systemGray6};

std::array<std::size_t, 5> creationCounts() {
  std::array<std::size_t, 5> counts{};
  for (std::size_t i = 0; i < kAllShades.size(); ++i) counts[i] = paletteCreationCount(kAllShades[i]);
  return counts;
}

// Reads `read` on `threads` threads released together, `reads` times each; every colour
// object seen.
template <class Read>
std::vector<const Color*> readTogether(Read read, int threads, int reads) {
  std::vector<const Color*> seen(static_cast<std::size_t>(threads * reads));
  std::latch start(threads);
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) {
    pool.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int i = 0; i < reads; ++i) seen[static_cast<std::size_t>(t * reads + i)] = read().get();
    });
  }
  for (auto& thread : pool) thread.join();
  return seen;
}

TEST(PaletteConcurrency, ManyThreadsRacingForTheFirstReadCreateTheShadeOnce) {
  if (paletteCreationCount(GrayShade::systemGray2) != 0)
    GTEST_SKIP() << "systemGray2 was already read in this process";
  const auto others = creationCounts();
  const auto seen = readTogether(systemGray2, 16, 50);
  EXPECT_EQ(paletteCreationCount(GrayShade::systemGray2), 1u);
  for (const Color* c : seen) ASSERT_EQ(c, seen.front());
  EXPECT_EQ(seen.front(), systemGray2().get());
  auto after = creationCounts();
  after[0] = others[0];
  EXPECT_EQ(after, others) << "reading systemGray2 created another shade";
}

TEST(GreyPalette, EachReadIsTheCallersOwnReferenceToTheOneObject) {
  auto first = systemGray4();
  const auto second = systemGray4();
  EXPECT_EQ(first.get(), second.get());
  const auto held = second.use_count();
  first.reset();  // dropping one reference leaves the shade to everyone else
  EXPECT_EQ(second.use_count(), held - 1);
  EXPECT_EQ(systemGray4().get(), second.get());
}

TEST(GreyPalette, ReadingOneShadeCreatesThatShadeOnly) {
  const auto before = creationCounts();
  systemGray3();
  auto after = creationCounts();
  EXPECT_EQ(after[1], 1u);
  after[1] = before[1];
  EXPECT_EQ(after, before);
}

TEST(GreyPalette, ShadesAreOpaqueGreysOfRisingWhiteLevel) {
  const std::array levels{0.2, 0.3, 0.4, 0.5, 0.6};
  const std::array named{systemGray2(), systemGray3(), systemGray4(), systemGray5(), systemGray6()};
  for (std::size_t i = 0; i < kAllShades.size(); ++i) {
    const auto shade = systemGray(kAllShades[i]);
    SCOPED_TRACE(i + 2);
    EXPECT_EQ(shade.get(), named[i].get());
    EXPECT_EQ(*shade, Color::colorWithWhite(levels[i], 1.0));
  }
}

TEST(GreyPalette, AValueNamingNoShadeIsRefused) {
  EXPECT_THROW(systemGray(static_cast<GrayShade>(5)), std::out_of_range);
  EXPECT_EQ(paletteCreationCount(static_cast<GrayShade>(-1)), 0u);
}

}  // namespace
}  // namespace telvor
