// Where the node manager's catalogue lives: a property-list or JSON file, or a group of
// a QSettings INI file. Each source saves losslessly: an edited node gets only the keys
// the edit changed, and keys the library does not know stay as they were.
#pragma once

#include <QString>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace telvor::node_manager {

// A node of the window's list and where it came from: the position it was loaded from,
// or none for a node added since.
struct CatalogueEntry {
  std::optional<std::size_t> origin;
  DicomNode node;
};

class NodeSource {
 public:
  virtual ~NodeSource() = default;
  // What the window's title shows: the file, or the settings group and file.
  virtual QString description() const = 0;
  // The stored nodes in order; the i-th has origin i. Throws std::exception with a
  // message naming the file when it cannot be read.
  virtual std::vector<DicomNode> load() = 0;
  // Stores the entries in their order: one with an origin as an edit of that stored node,
  // one without as a new node; a stored node that no entry names is removed. Afterwards
  // the stored nodes are the entries, and a later save counts origins afresh from them.
  // Throws std::exception naming the file; a file is then unchanged.
  virtual void save(const std::vector<CatalogueEntry>& entries) = 0;
};

// A catalogue file as telvor-nodes reads it: a property list (XML or binary, kept in its
// form) or the nodes' JSON form. A save refuses (naming the file) when another program
// changed the file since it was loaded, and never overwrites that change.
std::unique_ptr<NodeSource> openCatalogueFile(const QString& path);
// The nodes under `group` of a QSettings INI file (see telvor/qt/node_settings_store.hpp).
std::unique_ptr<NodeSource> openSettingsGroup(const QString& iniPath, const QString& group);

}  // namespace telvor::node_manager
