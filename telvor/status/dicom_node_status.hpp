// DicomNodeStatus: a node's reachability as the application last found it, with what the
// user interface shows beside the node.
//
//   auto status = telvor::DicomNodeStatus::inaccessible("connection refused");
//   status.kind();           // DicomNodeStatus::Kind::inaccessible
//   status.reason();         // "connection refused"
//   status.title();          // "offline"
//   status.image().name;     // "xmark.square.fill"
//   status.color();          // the system red
//   telvor::json::encode(status);   // {"inaccessible":{"reason":"connection refused"}}
//
// Three cases: `unknown(reason)` (not yet known), `inaccessible(reason)` (not reachable)
// and `accessable` (reachable; spelled so in code and in stored data). The reason is free
// text from the application, possibly empty. The library finds nothing out by itself.
//
// A value: copied, compared with ==, never shared. There is no default status (say which
// case), no hashing and no ordering.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/text.hpp"
#include "telvor/platform/color.hpp"
#include "telvor/platform/image.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

class TELVOR_API DicomNodeStatus {
 public:
  // The case. Declared in the order of `id`; not persisted as a number anywhere.
  enum class Kind { unknown, inaccessible, accessable };

  // Reachability not yet known, with the application's note.
  static DicomNodeStatus unknown(std::string reason) noexcept;
  // Not reachable, with why.
  static DicomNodeStatus inaccessible(std::string reason) noexcept;
  // Reachable.
  static DicomNodeStatus accessable() noexcept;

  Kind kind() const noexcept { return kind_; }
  // The reason of unknown and inaccessible; empty for accessable.
  const std::string& reason() const noexcept { return reason_; }

  // 0 unknown, 1 inaccessible, 2 accessable; the reason plays no part.
  std::int64_t id() const noexcept;
  // "unknown", "offline" or "online"; never includes the reason.
  std::string_view title() const noexcept;
  // The symbol "questionmark.diamond.fill", "xmark.square.fill" or "checkmark.circle.fill".
  Image image() const;
  // The system grey, red or green, in the standard light appearance.
  Color color() const noexcept;
  // The same system colour as `provider` gives it; asked afresh on every call.
  Color color(const SystemColorProvider& provider) const;

  // Coded form: one entry named after the case ("unknown", "accessable", "inaccessible")
  // holding a keyed container with the "reason" text (empty for accessable). Only the
  // encoder's refusal of the reason can fail.
  void encode(Encoder& encoder) const;
  // Reads the coded form. Entries under other names are ignored; anything but exactly one
  // case entry is typeMismatch("DicomNodeStatus") at the status's own path with
  // "Invalid number of keys found, expected one.". Errors of the decoder (a missing,
  // null or non-text reason; a case entry that is not a keyed container) pass unchanged.
  static DicomNodeStatus decode(const Decoder& decoder);

  // Same case and, for unknown and inaccessible, canonically equivalent reasons.
  friend bool operator==(const DicomNodeStatus& a, const DicomNodeStatus& b) noexcept {
    return a.kind_ == b.kind_ && textEquals(a.reason_, b.reason_);  // accessable's reason is empty
  }

 private:
  DicomNodeStatus(Kind kind, std::string reason) noexcept : kind_(kind), reason_(std::move(reason)) {}

  Kind kind_;
  std::string reason_;
};

}  // namespace telvor
