#include "telvor/status/dicom_node_status.hpp"

#include <array>
#include <cstddef>

namespace telvor {
namespace {

// What the user interface shows for each case.
struct StatusRow {
  DicomNodeStatus::Kind kind;
  std::int64_t id;
  std::string_view title;
  std::string_view symbol;
  SystemColor color;
};

// In Kind's declaration order.
constexpr std::array<StatusRow, 3> kStatusRows{{
    {DicomNodeStatus::Kind::unknown, 0, "unknown", "questionmark.diamond.fill", SystemColor::systemGray},
    {DicomNodeStatus::Kind::inaccessible, 1, "offline", "xmark.square.fill", SystemColor::systemRed},
    {DicomNodeStatus::Kind::accessable, 2, "online", "checkmark.circle.fill", SystemColor::systemGreen},
}};

constexpr bool rowsFollowDeclarationOrder() {
  for (std::size_t i = 0; i < kStatusRows.size(); ++i)
    if (static_cast<std::size_t>(kStatusRows[i].kind) != i) return false;
  return true;
}
static_assert(rowsFollowDeclarationOrder(), "status rows must follow Kind's order");

constexpr const StatusRow& rowOf(DicomNodeStatus::Kind kind) noexcept {
  return kStatusRows[static_cast<std::size_t>(kind)];
}

}  // namespace

DicomNodeStatus DicomNodeStatus::unknown(std::string reason) noexcept {
  return DicomNodeStatus(Kind::unknown, std::move(reason));
}

DicomNodeStatus DicomNodeStatus::inaccessible(std::string reason) noexcept {
  return DicomNodeStatus(Kind::inaccessible, std::move(reason));
}

DicomNodeStatus DicomNodeStatus::accessable() noexcept { return DicomNodeStatus(Kind::accessable, {}); }

std::int64_t DicomNodeStatus::id() const noexcept { return rowOf(kind_).id; }

std::string_view DicomNodeStatus::title() const noexcept { return rowOf(kind_).title; }

Image DicomNodeStatus::image() const { return Image{std::string(rowOf(kind_).symbol)}; }

Color DicomNodeStatus::color() const noexcept { return Color::systemColor(rowOf(kind_).color); }

Color DicomNodeStatus::color(const SystemColorProvider& provider) const {
  return provider.color(rowOf(kind_).color);
}

}  // namespace telvor
