// The one error type of the catalogue library. Its kind says what the caller can do about
// it; the message names the path and what to do.
//
//   try { auto editor = telvor::catalogue::CatalogueEditor::open(path, {}); ... }
//   catch (const telvor::catalogue::CatalogueError& e) {
//     if (e.kind() == telvor::catalogue::CatalogueError::Kind::notSaved) retryLater();
//   }
#pragma once

#include <stdexcept>
#include <string>

namespace telvor::catalogue {

class CatalogueError : public std::runtime_error {
 public:
  enum class Kind {
    unusableInput,  // the file cannot be read or does not hold a catalogue
    selection,      // a selector matched no node or several, or an edit cannot be expressed
    notSaved,       // the lock was not obtained or the file could not be written
  };
  CatalogueError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  Kind kind() const noexcept { return kind_; }

 private:
  Kind kind_;
};

}  // namespace telvor::catalogue
