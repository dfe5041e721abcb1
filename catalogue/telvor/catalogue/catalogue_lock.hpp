// The advisory lock that keeps two editors of one catalogue from losing each other's edits.
//
//   auto lock = telvor::catalogue::CatalogueLock::acquire("nodes.plist", std::chrono::seconds(10));
//   // read, edit, save atomically ... then `lock` goes out of scope
//
// The lock is flock(2) on a sidecar file "NAME.lock" beside the catalogue, not on the
// catalogue itself: an atomic save renames a new file over the old one, so a lock on the
// catalogue's inode would be left on the replaced file while the next editor locks the new
// one. The sidecar is created 0600 on first use and never removed (removing it would let
// two editors hold locks on two different sidecars). Advisory: only editors that take it
// are kept apart; readers never wait. The sidecar's descriptor is never 0 to 2.
#pragma once

#include <chrono>
#include <filesystem>

#include "telvor/catalogue/telvor_catalogue_export.hpp"

namespace telvor::catalogue {

class TELVOR_CATALOGUE_API CatalogueLock {
 public:
  // Takes the exclusive lock for `catalogue`, waiting up to `wait` for another holder.
  // Throws CatalogueError: unavailable when the wait ends with another holder, storage when
  // the sidecar cannot be opened or locked.
  static CatalogueLock acquire(const std::filesystem::path& catalogue, std::chrono::milliseconds wait);

  CatalogueLock(CatalogueLock&& other) noexcept;
  CatalogueLock& operator=(CatalogueLock&& other) noexcept;
  CatalogueLock(const CatalogueLock&) = delete;
  CatalogueLock& operator=(const CatalogueLock&) = delete;
  ~CatalogueLock();

  // The sidecar's path for `catalogue`.
  static std::filesystem::path sidecarOf(const std::filesystem::path& catalogue);

 private:
  explicit CatalogueLock(int fd) noexcept : fd_(fd) {}
  int fd_ = -1;
};

}  // namespace telvor::catalogue
