#include "telvor/catalogue/catalogue.hpp"

#include <boost/json/object.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "telvor/catalogue/atomic_save.hpp"
#include "telvor/catalogue/bounded_input.hpp"
#include "telvor/catalogue/catalogue_error.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/text.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/dictionary_edit.hpp"
#include "telvor/plist/plist.hpp"
#include "telvor/plist/plist_error.hpp"

namespace telvor::catalogue {
namespace {

using Kind = CatalogueError::Kind;
using Operation = CatalogueError::Operation;

bool hasExtension(const std::filesystem::path& path, std::string_view extension) {
  return path.extension() == extension;
}

// Writes into `stored` the members of `after` that differ from `before` (the coded form of
// the node as read from `stored`), recursing into nested objects so that their unknown
// members stay too, and takes out members `before` had and `after` has not.
void mergeCodedForm(boost::json::object& stored, const boost::json::object& before, const boost::json::object& after,
                    std::vector<std::string>& changed, const std::string& prefix) {
  for (const auto& [key, value] : after) {
    const std::string name = prefix + std::string(key);
    auto* current = stored.if_contains(key);
    const auto* old = before.if_contains(key);
    if (current && current->is_object() && value.is_object() && old && old->is_object()) {
      mergeCodedForm(current->as_object(), old->as_object(), value.as_object(), changed, name + ".");
      continue;
    }
    if (current && old && *old == value) continue;
    stored[key] = value;
    changed.push_back(name);
  }
  for (const auto& [key, value] : before) {
    if (after.contains(key) || !stored.contains(key)) continue;
    stored.stable_erase(key);
    changed.push_back(prefix + std::string(key));
  }
}

std::string label(const DicomNode& node, std::size_t index) {
  std::string text = "#" + std::to_string(index + 1) + " " + (node.name ? *node.name : "(no name)");
  if (node.aetitle) text += " (" + *node.aetitle + ")";
  return text;
}

// The fields a property-list entry cannot be without.
std::string missingKeys(const DicomNode& node) {
  std::string keys;
  const auto note = [&](bool present, const char* key) {
    if (!present) keys += (keys.empty() ? "" : ", ") + std::string(key);
  };
  note(node.aetitle.has_value(), "AETitle");
  note(node.name.has_value(), "name");
  note(node.address.has_value(), "address");
  note(node.port.has_value(), "port");
  return keys;
}

PropertyDictionary dictionaryFor(const DicomNode& node, std::optional<std::size_t> index) {
  auto dictionary = node.toDictionary();
  if (!dictionary)
    throw CatalogueError(Kind::invalidArgument, Operation::editing,
                         "a property-list catalogue holds only nodes with an AE title, a name, an address and a port; "
                         "this node has no " + missingKeys(node),
                         {}, 0, index, missingKeys(node));
  return std::move(*dictionary);
}

boost::json::object codedForm(const DicomNode& node, std::optional<std::size_t> index) {
  try {
    return json::toDocument(node).as_object();
  } catch (const CodingError& e) {
    throw CatalogueError(Kind::unrepresentable, Operation::editing, e.what(), {}, 0, index);
  }
}

// Errors of reading a file: what the caller fixes is the input, unless the system failed.
Kind readFailureKind(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case EISDIR:
    case EFBIG:
    case ELOOP:
    case ENAMETOOLONG: return Kind::invalidInput;
    default: return Kind::storage;
  }
}

// The file's bytes; when `missing` is given, a file that does not exist sets it instead.
std::string readFile(const std::filesystem::path& path, std::uint64_t limit, bool* missing) {
  try {
    return readBounded(path.string(), limit);
  } catch (const ReadError& e) {
    if (missing && e.errorNumber() == ENOENT) {
      *missing = true;
      return {};
    }
    const std::string what = e.what();
    const std::string prefix = e.path() + ": ";
    const std::string reason = what.starts_with(prefix) ? what.substr(prefix.size()) : what;
    throw CatalogueError(readFailureKind(e.errorNumber()), Operation::reading, reason,
                         path, e.errorNumber());
  }
}

// Parses a file's bytes; a catalogue that cannot be read is named by its path.
Catalogue parseFile(const std::filesystem::path& path, std::string_view bytes) {
  try {
    return Catalogue::parse(bytes, Catalogue::formatOf(path, bytes));
  } catch (const CatalogueError& e) {
    throw e.inFile(path);
  }
}

}  // namespace

std::string Selector::describe() const {
  switch (by) {
    case By::index: return "position " + value;
    case By::name: return "the name \"" + value + "\"";
    case By::aetitle: return "the AE title \"" + value + "\"";
    case By::id: return "the identifier " + value;
  }
  return value;
}

FileFormat Catalogue::formatOf(const std::filesystem::path& path, std::string_view bytes) {
  if (bytes.starts_with("bplist")) return FileFormat::binaryPropertyList;
  if (hasExtension(path, ".json")) return FileFormat::json;
  if (hasExtension(path, ".plist")) return FileFormat::xmlPropertyList;
  const auto start = bytes.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return FileFormat::xmlPropertyList;
  return bytes[start] == '<' ? FileFormat::xmlPropertyList : FileFormat::json;
}

Catalogue Catalogue::empty(FileFormat format) { return Catalogue(format); }

void Catalogue::requireEditable() const {
  if (viewOnly_)
    throw CatalogueError(Kind::invalidArgument, Operation::editing,
                         "the catalogue was read for viewing only; read it for editing to change it");
}

Catalogue Catalogue::parse(std::string_view bytes, FileFormat format, Purpose purpose) {
  Catalogue catalogue(format);
  catalogue.viewOnly_ = purpose == Purpose::viewing;
  if (format == FileFormat::json) {
    try {
      auto document = json::parse(bytes);
      if (auto* array = document.if_array()) {
        catalogue.objects_ = std::move(*array);
      } else {
        catalogue.wasArray_ = false;
        catalogue.objects_.push_back(std::move(document));
      }
      catalogue.nodes_.reserve(catalogue.objects_.size());
      for (std::size_t i = 0; i < catalogue.objects_.size(); ++i) {
        const auto at = catalogue.wasArray_ ? CodingPathLink(nullptr, static_cast<std::int64_t>(i)) : CodingPathLink();
        catalogue.nodes_.push_back(json::fromDocument<DicomNode>(catalogue.objects_[i], at));
      }
    } catch (const CodingError& e) {
      throw CatalogueError(Kind::invalidInput, Operation::reading, e.what());
    }
    return catalogue;
  }
  try {
    if (catalogue.viewOnly_) {
      // Each node is made as soon as its dictionary is read; no dictionary outlives it.
      // Room for all nodes at once, where the form tells their number: growing would
      // touch twice the memory. A lying count costs no more than a bounded reservation.
      const auto expect = [&](std::size_t count) { catalogue.nodes_.reserve(std::min<std::size_t>(count, 1 << 20)); };
      catalogue.wasArray_ = plist::parseEach(bytes, expect, [&](PropertyDictionary&& dictionary) {
        catalogue.nodes_.emplace_back(dictionary);
        catalogue.nodes_.back().uniqueId.reset();
      });
      return catalogue;
    }
    auto document = plist::parse(bytes);
    catalogue.wasArray_ = document.wasArray;
    catalogue.dictionaries_ = std::move(document.dictionaries);
  } catch (const plist::PlistError& e) {
    throw CatalogueError(Kind::invalidInput, Operation::reading, std::string("dataCorrupted at $: ") + e.what());
  }
  catalogue.nodes_.reserve(catalogue.dictionaries_.size());
  for (const auto& dictionary : catalogue.dictionaries_) {
    catalogue.nodes_.emplace_back(dictionary);
    catalogue.nodes_.back().uniqueId.reset();  // drawn at random by the read; not the file's
  }
  return catalogue;
}

Catalogue Catalogue::load(const std::filesystem::path& path, std::uint64_t maxInputBytes) {
  return parseFile(path, readFile(path, maxInputBytes, nullptr));
}

std::optional<WadoSettings> Catalogue::savedWadoSettings(std::size_t index) const {
  requireEditable();
  if (format_ == FileFormat::json) return std::nullopt;
  PropertyDictionary asWado = dictionaries_.at(index);
  asWado.setValue("retrieveMode", PropertyValue::numberObject(rawValue(RetrieveModeType::wado)));
  return DicomNode(asWado).wadoSettings;
}

std::vector<std::size_t> Catalogue::matches(const Selector& selector) const {
  std::vector<std::size_t> found;
  switch (selector.by) {
    case Selector::By::index: {
      std::size_t position = 0;
      const bool digits = !selector.value.empty() && selector.value.size() < 10 &&
                          std::all_of(selector.value.begin(), selector.value.end(),
                                      [](char c) { return c >= '0' && c <= '9'; });
      if (digits) position = std::stoul(selector.value);
      if (position < 1 || position > size())
        throw CatalogueError(Kind::invalidArgument, Operation::editing,
                             "no node at " + selector.describe() + ": the catalogue holds " + std::to_string(size()) +
                                 " node(s), numbered from 1");
      found.push_back(position - 1);
      return found;
    }
    case Selector::By::id:
      if (!storesIdentifiers())
        throw CatalogueError(Kind::invalidArgument, Operation::editing,
                             "a property list stores no node identifiers (each read draws new ones); "
                             "select by position, name or AE title");
      {
        // Identifiers are written in upper case; accept what a user types in lower case.
        std::string upper = selector.value;
        std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
        for (std::size_t i = 0; i < size(); ++i)
          if (nodes_[i].uniqueId && nodes_[i].id() == upper) found.push_back(i);
      }
      return found;
    case Selector::By::name:
      for (std::size_t i = 0; i < size(); ++i)
        if (nodes_[i].name && textEquals(*nodes_[i].name, selector.value)) found.push_back(i);
      return found;
    case Selector::By::aetitle:
      for (std::size_t i = 0; i < size(); ++i)
        if (nodes_[i].aetitle && textEquals(*nodes_[i].aetitle, selector.value)) found.push_back(i);
      return found;
  }
  return found;
}

std::size_t Catalogue::selectOne(const Selector& selector) const {
  const auto found = matches(selector);
  if (found.size() == 1) return found.front();
  std::string message;
  std::vector<std::size_t> candidates = found;
  if (found.empty()) {
    message = "no node matches " + selector.describe();
    for (std::size_t i = 0; i < size(); ++i) candidates.push_back(i);
    message += candidates.empty() ? "; the catalogue is empty" : "; the nodes are:";
  } else {
    message = std::to_string(found.size()) + " nodes match " + selector.describe() + "; select one by position:";
  }
  for (const std::size_t i : candidates) message += "\n  " + label(nodes_[i], i);
  throw CatalogueError(Kind::invalidArgument, Operation::editing, message);
}

std::vector<std::string> Catalogue::replace(std::size_t index, const DicomNode& after) {
  requireEditable();
  std::vector<std::string> changed;
  if (format_ == FileFormat::json) {
    const auto before = codedForm(nodes_.at(index), index);
    const auto next = codedForm(after, index);
    auto& stored = objects_.at(index);
    if (!stored.is_object()) stored = boost::json::object();
    mergeCodedForm(stored.as_object(), before, next, changed, "");
  } else {
    dictionaryFor(after, index);  // refuses before anything changes
    auto& stored = dictionaries_.at(index);
    const DicomNode before(stored);
    const auto edit = applyDictionaryEdit(stored, before, after);
    changed = edit.written;
    changed.insert(changed.end(), edit.removed.begin(), edit.removed.end());
  }
  nodes_[index] = after;
  if (!storesIdentifiers()) nodes_[index].uniqueId.reset();
  return changed;
}

void Catalogue::append(const DicomNode& node) {
  requireEditable();
  if (format_ == FileFormat::json) objects_.push_back(codedForm(node, size()));
  else dictionaries_.push_back(dictionaryFor(node, size()));
  nodes_.push_back(node);
  if (!storesIdentifiers()) nodes_.back().uniqueId.reset();
  wasArray_ = wasArray_ || nodes_.size() > 1;
}

void Catalogue::remove(std::size_t index) {
  requireEditable();
  if (index >= size())
    throw CatalogueError(Kind::invalidArgument, Operation::editing, "no node #" + std::to_string(index + 1),
                         {}, 0, index);
  const auto at = static_cast<std::ptrdiff_t>(index);
  if (format_ == FileFormat::json) objects_.erase(objects_.begin() + at);
  else dictionaries_.erase(dictionaries_.begin() + at);
  nodes_.erase(nodes_.begin() + at);
}

std::string Catalogue::serialize() const {
  requireEditable();
  // A single record stays a single record; anything else is an array.
  const bool asArray = wasArray_ || size() != 1;
  if (format_ == FileFormat::json) {
    if (asArray) return json::serialize(objects_, {.indent = 2}) + "\n";
    return json::serialize(objects_.front(), {.indent = 2}) + "\n";
  }
  try {
    return plist::serialize(plist::PropertyListDocument{dictionaries_, asArray},
                            format_ == FileFormat::binaryPropertyList ? plist::Format::binary : plist::Format::xml);
  } catch (const plist::PlistError& e) {
    const std::string at = e.path().empty() ? "$" : e.path();
    throw CatalogueError(Kind::unrepresentable, Operation::saving, "invalidValue at " + at + ": " + e.what(),
                         {}, 0, std::nullopt, at);
  }
}

CatalogueEditor CatalogueEditor::open(const std::filesystem::path& path, const Options& options) {
  // Through a followed link, the lock belongs to the file that is replaced, so that editors
  // reaching it by the link and by its own name exclude each other.
  std::error_code ec;
  const auto target = options.followSymlinks ? std::filesystem::weakly_canonical(path, ec) : path;
  auto lock = CatalogueLock::acquire(ec ? path : target, options.wait);
  bool missing = false;
  const std::string bytes = readFile(path, options.maxInputBytes, options.createIfMissing ? &missing : nullptr);
  // An empty file (made by `touch`, say) is an empty catalogue too.
  const bool blank = bytes.find_first_not_of(" \t\r\n") == std::string::npos;
  auto catalogue = missing || (options.createIfMissing && blank) ? Catalogue::empty(Catalogue::formatOf(path, {}))
                                                                 : parseFile(path, bytes);
  return CatalogueEditor(path, options, std::move(lock), std::move(catalogue));
}

void CatalogueEditor::save() {
  std::string bytes;
  try {
    bytes = catalogue_.serialize();
  } catch (const CatalogueError& e) {
    throw e.inFile(path_);
  }
  try {
    saveAtomically(path_, bytes, {.followSymlinks = options_.followSymlinks});
  } catch (const SaveError& e) {
    const std::string what = e.what();
    const std::string prefix = e.path().string() + ": ";
    throw CatalogueError(Kind::storage, Operation::saving, what.starts_with(prefix) ? what.substr(prefix.size()) : what,
                         path_, e.errorNumber());
  }
}

}  // namespace telvor::catalogue
