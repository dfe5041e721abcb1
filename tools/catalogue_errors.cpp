#include "catalogue_errors.hpp"

#include <cerrno>
#include <optional>

namespace telvor::tool {
namespace {

using Kind = catalogue::CatalogueError::Kind;
using Operation = catalogue::CatalogueError::Operation;

struct Row {
  Kind kind;
  std::optional<Operation> operation;  // any when absent
  int errorNumber;                     // any when 0
  ExitStatus status;
  const char* hint;                    // appended to the message
};

// The first matching row decides.
constexpr Row kRows[] = {
    {Kind::unavailable, std::nullopt, 0, kNotSaved, " Try again, or wait longer with --wait SECONDS."},
    {Kind::invalidInput, std::nullopt, EFBIG, kUnusableInput, " (raise it with --max-input-size BYTES)"},
    {Kind::invalidInput, std::nullopt, 0, kUnusableInput, ""},
    {Kind::storage, Operation::reading, 0, kUnusableInput, ""},
    {Kind::storage, Operation::saving, ELOOP, kNotSaved, " (--follow-symlinks replaces the file it points to)"},
    {Kind::storage, std::nullopt, 0, kNotSaved, ""},
    {Kind::invalidArgument, std::nullopt, 0, kUsage, ""},
    {Kind::unrepresentable, std::nullopt, 0, kUsage, ""},
};

const Row& rowOf(Kind kind, Operation operation, int errorNumber) {
  for (const Row& row : kRows)
    if (row.kind == kind && (!row.operation || *row.operation == operation) &&
        (row.errorNumber == 0 || row.errorNumber == errorNumber))
      return row;
  static constexpr Row kFallback{Kind::invalidInput, std::nullopt, 0, kUnusableInput, ""};
  return kFallback;
}

}  // namespace

ExitStatus exitStatusOf(Kind kind, Operation operation, int errorNumber) {
  return rowOf(kind, operation, errorNumber).status;
}

std::string withHint(const std::string& message, Kind kind, Operation operation, int errorNumber) {
  return message + rowOf(kind, operation, errorNumber).hint;
}

void throwToolError(const catalogue::CatalogueError& error, const std::string& context, const std::string& suffix) {
  const std::string message =
      withHint(context + error.what() + suffix, error.kind(), error.operation(), error.errorNumber());
  switch (exitStatusOf(error.kind(), error.operation(), error.errorNumber())) {
    case kUsage: throw UsageError(message);
    case kNotSaved: throw SaveFailure(message);
    default: throw InputError(message);
  }
}

}  // namespace telvor::tool
