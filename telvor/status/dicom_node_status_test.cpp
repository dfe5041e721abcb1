// DicomNodeStatus: equality and what the user interface shows for each case.
#include "telvor/status/dicom_node_status.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace telvor {
namespace {

using Kind = DicomNodeStatus::Kind;

struct Presentation {
  DicomNodeStatus status;
  Kind kind;
  std::string reason;
  std::int64_t id;
  const char* title;
  const char* symbol;
  SystemColor color;
};

TEST(DicomNodeStatus, EachCaseShowsItsTitleSymbolAndColourWhateverItsReason) {
  const std::vector<Presentation> rows = {
      {DicomNodeStatus::unknown(""), Kind::unknown, "", 0, "unknown", "questionmark.diamond.fill",
       SystemColor::systemGray},
      {DicomNodeStatus::unknown("not yet checked"), Kind::unknown, "not yet checked", 0, "unknown",
       "questionmark.diamond.fill", SystemColor::systemGray},
      {DicomNodeStatus::inaccessible(""), Kind::inaccessible, "", 1, "offline", "xmark.square.fill",
       SystemColor::systemRed},
      {DicomNodeStatus::inaccessible("connection refused"), Kind::inaccessible, "connection refused", 1, "offline",
       "xmark.square.fill", SystemColor::systemRed},
      {DicomNodeStatus::accessable(), Kind::accessable, "", 2, "online", "checkmark.circle.fill",
       SystemColor::systemGreen},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.title + (": " + r.reason));
    EXPECT_EQ(r.status.kind(), r.kind);
    EXPECT_EQ(r.status.reason(), r.reason);
    EXPECT_EQ(r.status.id(), r.id);
    EXPECT_EQ(r.status.title(), r.title);
    EXPECT_EQ(r.status.image(), Image{r.symbol});
    EXPECT_EQ(r.status.color(), Color::systemColor(r.color));
  }
}

// Hands out a colour of its own and counts the requests.
struct CountingColors final : SystemColorProvider {
  mutable std::vector<SystemColor> asked;
  Color color(SystemColor name) const override {
    asked.push_back(name);
    return Color::named(name, 0.1, 0.2, 0.3);
  }
};

TEST(DicomNodeStatus, ColourComesFromTheApplicationsProviderOnEveryRequest) {
  const CountingColors provider;
  const auto status = DicomNodeStatus::inaccessible("timeout");
  EXPECT_EQ(status.color(provider), Color::named(SystemColor::systemRed, 0.1, 0.2, 0.3));
  EXPECT_EQ(status.color(provider), Color::named(SystemColor::systemRed, 0.1, 0.2, 0.3));
  EXPECT_EQ(DicomNodeStatus::accessable().color(provider).systemName, SystemColor::systemGreen);
  EXPECT_EQ(provider.asked,
            (std::vector{SystemColor::systemRed, SystemColor::systemRed, SystemColor::systemGreen}));
}

struct Pair {
  DicomNodeStatus a, b;
  bool equal;
};

TEST(DicomNodeStatus, EqualityIsTheCaseAndACanonicallyEquivalentReason) {
  const std::vector<Pair> pairs = {
      {DicomNodeStatus::unknown(""), DicomNodeStatus::unknown(""), true},
      {DicomNodeStatus::unknown(""), DicomNodeStatus::unknown("pending"), false},
      {DicomNodeStatus::unknown("x"), DicomNodeStatus::inaccessible("x"), false},
      {DicomNodeStatus::inaccessible("caf\u00e9"), DicomNodeStatus::inaccessible("cafe\u0301"), true},
      {DicomNodeStatus::unknown("caf\u00e9"), DicomNodeStatus::inaccessible("cafe\u0301"), false},
      {DicomNodeStatus::inaccessible("Timeout"), DicomNodeStatus::inaccessible("timeout"), false},
      {DicomNodeStatus::inaccessible("timeout"), DicomNodeStatus::inaccessible("timeout "), false},
      {DicomNodeStatus::accessable(), DicomNodeStatus::accessable(), true},
      {DicomNodeStatus::accessable(), DicomNodeStatus::unknown(""), false},
      {DicomNodeStatus::inaccessible(""), DicomNodeStatus::accessable(), false},
  };
  for (const auto& p : pairs) {
    SCOPED_TRACE(std::string(p.a.title()) + " '" + p.a.reason() + "' vs " + std::string(p.b.title()) + " '" +
                 p.b.reason() + "'");
    EXPECT_EQ(p.a == p.b, p.equal);
    EXPECT_EQ(p.b == p.a, p.equal);
    EXPECT_EQ(p.a != p.b, !p.equal);
  }
}

}  // namespace
}  // namespace telvor
