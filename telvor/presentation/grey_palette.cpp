#include "telvor/presentation/grey_palette.hpp"

#include <array>
#include <atomic>
#include <stdexcept>
#include <utility>

namespace telvor {
namespace {

struct ShadeRow {
  GrayShade shade;
  double white;
};

// In GrayShade's declaration order.
constexpr std::array<ShadeRow, 5> kShades{{
    {GrayShade::systemGray2, 0.2},
    {GrayShade::systemGray3, 0.3},
    {GrayShade::systemGray4, 0.4},
    {GrayShade::systemGray5, 0.5},
    {GrayShade::systemGray6, 0.6},
}};

constexpr bool rowsFollowDeclarationOrder() {
  for (std::size_t i = 0; i < kShades.size(); ++i)
    if (static_cast<std::size_t>(kShades[i].shade) != i) return false;
  return true;
}
static_assert(rowsFollowDeclarationOrder(), "shade rows must follow GrayShade's order");

// Constant-initialised, so readable before and during any other static initialisation.
std::array<std::atomic<std::size_t>, kShades.size()> creations{};

std::shared_ptr<const Color> create(std::size_t index) {
  auto color = std::make_shared<const Color>(Color::colorWithWhite(kShades[index].white, 1.0));
  creations[index].fetch_add(1);
  return color;
}

// One guard and one storage per shade: the function-local static's initialisation runs
// once, other first readers wait for it, later reads only test the guard. The holder is
// never destroyed, so a read during the process's exit (from another static's destructor)
// still finds the colour.
template <std::size_t Index>
const std::shared_ptr<const Color>& stored() {
  static const auto* const holder = new std::shared_ptr<const Color>(create(Index));
  return *holder;
}

template <std::size_t... Index>
constexpr auto makeReaders(std::index_sequence<Index...>) {
  return std::array{&stored<Index>...};
}
constexpr auto kReaders = makeReaders(std::make_index_sequence<kShades.size()>{});

}  // namespace

std::shared_ptr<const Color> systemGray(GrayShade shade) {
  const auto index = static_cast<std::size_t>(shade);
  if (index >= kReaders.size()) throw std::out_of_range("telvor::systemGray: no such shade");
  return kReaders[index]();
}

std::size_t paletteCreationCount(GrayShade shade) noexcept {
  const auto index = static_cast<std::size_t>(shade);
  return index < creations.size() ? creations[index].load() : 0;
}

}  // namespace telvor
