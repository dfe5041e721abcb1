// A node catalogue as a document: the file's entries exactly as read, the nodes read from
// them, and edits that change only what they must.
//
//   auto editor = telvor::catalogue::CatalogueEditor::open("nodes.plist", {});   // locks
//   auto& c = editor.catalogue();
//   const std::size_t i = c.selectOne(telvor::catalogue::Selector::byName("Archive"));
//   telvor::DicomNode node = c.node(i);
//   node.port = "11113";
//   c.replace(i, node);      // writes "Port" only; every other key and node stays
//   editor.save();           // one atomic save; the lock ends with `editor`
//
// A property-list catalogue keeps its dictionaries, unknown keys and other applications'
// entries included; an edit goes through applyDictionaryEdit. A JSON catalogue keeps its
// objects, members the coded form does not know included; an edit replaces only the
// members whose coded value changed. The file keeps its format (XML or binary property
// list, or JSON) and its shape (one record, or an array). JSON is written again indented
// by two spaces: values stay, layout does not.
#pragma once

#include <boost/json/array.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/catalogue/catalogue_lock.hpp"
#include "telvor/catalogue/limits.hpp"
#include "telvor/catalogue/selector.hpp"
#include "telvor/catalogue/telvor_catalogue_export.hpp"
#include "telvor/coding/property_dictionary.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor::catalogue {

enum class FileFormat { xmlPropertyList, binaryPropertyList, json };

class TELVOR_CATALOGUE_API Catalogue {
 public:
  // The format of a catalogue, the one rule every reader follows: a binary property list by
  // its signature (whatever the name), else the extension (.json, .plist), else what the
  // bytes look like. For a file that does not exist yet, pass empty bytes: .json gives
  // JSON, anything else an XML property list.
  static FileFormat formatOf(const std::filesystem::path& path, std::string_view bytes);

  // What a read is for: `viewing` keeps only the nodes (a property list's dictionaries are
  // dropped as each node is made, so a large catalogue takes less memory and time), and
  // every edit, serialize() and savedWadoSettings() of such a catalogue throw
  // CatalogueError (invalidArgument).
  enum class Purpose { editing, viewing };

  // Reads a catalogue. Throws CatalogueError (invalidInput) whose message is the
  // "KIND at PATH: DESCRIPTION" of the failing record.
  static Catalogue parse(std::string_view bytes, FileFormat format, Purpose purpose = Purpose::editing);
  // Reads the file (no lock), refusing one larger than `maxInputBytes`. Throws
  // CatalogueError naming the file, "FILE: KIND at PATH: DESCRIPTION": invalidInput for a
  // missing, oversized or unreadable catalogue, storage when the system cannot read it.
  static Catalogue load(const std::filesystem::path& path, std::uint64_t maxInputBytes = kDefaultMaxInputBytes);
  // A catalogue with no node, to be saved in `format`.
  static Catalogue empty(FileFormat format);

  FileFormat format() const noexcept { return format_; }
  // True for JSON: only there does a node keep its identifier between reads.
  bool storesIdentifiers() const noexcept { return format_ == FileFormat::json; }

  std::size_t size() const noexcept { return nodes_.size(); }
  // The nodes as read, in file order. Nodes of a property list have no identifier.
  const std::vector<DicomNode>& nodes() const noexcept { return nodes_; }
  const DicomNode& node(std::size_t index) const { return nodes_.at(index); }

  // The WADO settings that a property-list entry keeps for a node that is not retrieved
  // over WADO (its keys are read only for WADO nodes); absent for JSON. An edit that turns
  // such a node into a WADO node starts from these rather than from defaults.
  std::optional<WadoSettings> savedWadoSettings(std::size_t index) const;

  // Every index that the selector matches, in file order. An index selector out of range,
  // or an identifier selector on a property list, throws CatalogueError (invalidArgument).
  std::vector<std::size_t> matches(const Selector& selector) const;
  // The one index that the selector matches; throws CatalogueError (invalidArgument) listing
  // the candidates when there is none or more than one.
  std::size_t selectOne(const Selector& selector) const;

  // Replaces node `index` by `after`, changing only the keys (or JSON members) whose
  // values differ. A property list cannot hold a node without AE title, name, address and
  // port: throws CatalogueError (invalidArgument) and changes nothing; a value the JSON coded
  // form cannot hold throws unrepresentable. Returns the keys written
  // or removed.
  std::vector<std::string> replace(std::size_t index, const DicomNode& after);
  // Appends `node` (same requirement as replace for property lists).
  void append(const DicomNode& node);
  // Removes node `index`; the others keep their entries and order.
  void remove(std::size_t index);

  // The whole file in its format. Throws CatalogueError (unrepresentable) for a value the
  // format cannot hold, naming the field.
  std::string serialize() const;

 private:
  explicit Catalogue(FileFormat format) : format_(format) {}
  void requireEditable() const;

  FileFormat format_;
  bool viewOnly_ = false;
  bool wasArray_ = true;
  std::vector<PropertyDictionary> dictionaries_;  // property lists: one per node
  boost::json::array objects_;                    // JSON: one per node
  std::vector<DicomNode> nodes_;
};

// A catalogue open for editing: the lock is taken before the file is read and held until
// the editor is destroyed, so the atomic rename of save() happens under it.
class TELVOR_CATALOGUE_API CatalogueEditor {
 public:
  struct Options {
    std::chrono::milliseconds wait{10'000};  // how long to wait for another editor
    bool createIfMissing = false;            // an absent file is an empty catalogue
    bool followSymlinks = false;             // passed to the atomic save
    std::uint64_t maxInputBytes = kDefaultMaxInputBytes;
  };

  // Locks, then reads. Throws CatalogueError: unavailable while another editor holds the
  // lock, and as load() when the file cannot be read.
  static CatalogueEditor open(const std::filesystem::path& path, const Options& options);

  Catalogue& catalogue() noexcept { return catalogue_; }
  const std::filesystem::path& path() const noexcept { return path_; }

  // Writes the catalogue through the atomic save. Throws CatalogueError: storage (the
  // errorNumber() says why; ELOOP for a symbolic link not to be followed), unrepresentable.
  void save();

 private:
  CatalogueEditor(std::filesystem::path path, Options options, CatalogueLock lock, Catalogue catalogue)
      : path_(std::move(path)), options_(options), lock_(std::move(lock)), catalogue_(std::move(catalogue)) {}
  std::filesystem::path path_;
  Options options_;
  CatalogueLock lock_;
  Catalogue catalogue_;
};

}  // namespace telvor::catalogue
