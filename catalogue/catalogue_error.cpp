#include "telvor/catalogue/catalogue_error.hpp"

namespace telvor::catalogue {
namespace {

std::string messageOf(const std::filesystem::path& file, const std::string& description) {
  return file.empty() ? description : file.string() + ": " + description;
}

}  // namespace

CatalogueError::CatalogueError(Kind kind, Operation operation, std::string description, std::filesystem::path file,
                               int errorNumber, std::optional<std::size_t> node, std::string field)
    : std::runtime_error(messageOf(file, description)),
      kind_(kind),
      operation_(operation),
      description_(std::move(description)),
      file_(std::move(file)),
      errorNumber_(errorNumber),
      node_(node),
      field_(std::move(field)) {}

CatalogueError CatalogueError::inFile(const std::filesystem::path& file) const {
  return CatalogueError(kind_, operation_, description_, file, errorNumber_, node_, field_);
}

}  // namespace telvor::catalogue
