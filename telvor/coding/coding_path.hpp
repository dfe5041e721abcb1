// Coding paths: where in a coded value an encoder, decoder, container or error stands.
//
// A path is the list of keys from the top-level value down, outermost first; it is empty
// at the top. Keys of a record's key enumeration appear by name; positions in an array
// (used by formats and tools that hold several records) appear as index components.
//
//   CodingPath p{CodingPathComponent::index(2), CodingPathComponent::key("wadoSettings")};
//   describe(p) == "$[2].wadoSettings"
//
// `CodingPathLink` is the allocation-free form that encoders and decoders carry while
// they work: each link points to its parent, so descending a level costs nothing, and a
// `CodingPath` is only built when someone asks for it (an error, `codingPath()`).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/telvor_export.hpp"

namespace telvor {

// One step of a coding path: a key by name, or an array position.
struct TELVOR_API CodingPathComponent {
  std::string stringValue;             // the key's name; "Index N" for a position
  std::optional<std::int64_t> intValue;  // the position for an index component

  static CodingPathComponent key(std::string_view name);
  static CodingPathComponent index(std::int64_t position);

  bool isIndex() const noexcept { return intValue.has_value(); }
  friend bool operator==(const CodingPathComponent&, const CodingPathComponent&) = default;
};

using CodingPath = std::vector<CodingPathComponent>;

// Renders a path as `$`, then `[N]` for each position and `.key` for each key.
TELVOR_API std::string describe(const CodingPath& path);

// A link in a chain of path steps living on the stack of the code that walks the value.
// A link must not outlive the links it points to.
class TELVOR_API CodingPathLink {
 public:
  // The top of a value: the empty path.
  constexpr CodingPathLink() noexcept = default;
  // A step under `key` below `parent` (null parent: top level). `key` must outlive the link;
  // the names of key enumerations are static, so they always do.
  constexpr CodingPathLink(const CodingPathLink* parent, std::string_view key) noexcept
      : parent_(parent), key_(key), isStep_(true) {}
  // A step at array position `position` below `parent`.
  constexpr CodingPathLink(const CodingPathLink* parent, std::int64_t position) noexcept
      : parent_(parent), index_(position), isStep_(true), isIndex_(true) {}

  // The whole path from the top down to this link.
  CodingPath materialize() const;

 private:
  const CodingPathLink* parent_ = nullptr;
  std::string_view key_;
  std::int64_t index_ = 0;
  bool isStep_ = false;
  bool isIndex_ = false;
};

}  // namespace telvor
