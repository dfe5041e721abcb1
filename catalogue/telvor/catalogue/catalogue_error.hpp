// The one error type of the catalogue library. Its kind says what the caller does next; the
// rest says what happened in the data's terms: the file, the node, the field.
//
//   try {
//     auto editor = telvor::catalogue::CatalogueEditor::open(path, {});
//     ...
//   } catch (const telvor::catalogue::CatalogueError& e) {
//     if (e.kind() == telvor::catalogue::CatalogueError::Kind::unavailable) retryLater();
//     else show(e.what());   // "nodes.plist: cannot lock it: another editor holds the lock"
//   }
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "telvor/catalogue/telvor_catalogue_export.hpp"

namespace telvor::catalogue {

class TELVOR_CATALOGUE_API CatalogueError : public std::runtime_error {
 public:
  // Chosen by what the caller does next.
  enum class Kind {
    unavailable,      // retry later: another editor holds the lock
    invalidArgument,  // change the request: no such node, several, a node the format cannot take
    invalidInput,     // fix the input: missing, not a catalogue, larger than the limit
    storage,          // fix the disk or the permissions: the file or its lock cannot be read or written
    unrepresentable,  // the format cannot hold a value: change the value or the format
  };
  // What the library was doing.
  enum class Operation { reading, locking, editing, saving };

  // `file` empty: bytes the caller gave; `node` 0-based; `field` a coding path ("$[2].port")
  // or keys, where known; `errorNumber` the system's errno behind it, where there is one.
  CatalogueError(Kind kind, Operation operation, std::string description, std::filesystem::path file = {},
                 int errorNumber = 0, std::optional<std::size_t> node = {}, std::string field = {});

  Kind kind() const noexcept { return kind_; }
  Operation operation() const noexcept { return operation_; }
  // The message without the file: what happened, in the data's terms.
  const std::string& description() const noexcept { return description_; }
  const std::filesystem::path& file() const noexcept { return file_; }
  const std::optional<std::size_t>& node() const noexcept { return node_; }
  const std::string& field() const noexcept { return field_; }
  // ENOENT, EACCES, ENOSPC...; EFBIG above the size limit, ELOOP for a symbolic link not to
  // be followed, EWOULDBLOCK while another editor holds the lock; 0 when no call failed.
  int errorNumber() const noexcept { return errorNumber_; }

  // The same error naming `file` (what() becomes "FILE: DESCRIPTION").
  CatalogueError inFile(const std::filesystem::path& file) const;

 private:
  Kind kind_;
  Operation operation_;
  std::string description_;
  std::filesystem::path file_;
  int errorNumber_;
  std::optional<std::size_t> node_;
  std::string field_;
};

}  // namespace telvor::catalogue
