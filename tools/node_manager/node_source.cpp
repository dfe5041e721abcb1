#include "node_source.hpp"

#include <QSettings>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "telvor/catalogue/catalogue.hpp"
#include "telvor/catalogue/catalogue_error.hpp"
#include "telvor/qt/node_settings_store.hpp"

namespace telvor::node_manager {

namespace {

// What a store does for one save: replace the node stored at a position, remove one,
// append one.
struct StoreEdits {
  std::function<void(std::size_t, const DicomNode&)> replace;
  std::function<void(std::size_t)> remove;
  std::function<void(const DicomNode&)> append;
};

// Makes `stored` nodes the entries: edits first, while every position is still the one
// loaded; then removals from the end, so earlier positions stay put; then new nodes.
void reconcile(const std::vector<CatalogueEntry>& entries, std::size_t stored, const StoreEdits& store) {
  std::vector<bool> kept(stored, false);
  std::size_t next = 0;  // entries keep the loaded order: edited ones first, new ones after
  for (const CatalogueEntry& entry : entries) {
    if (!entry.origin) continue;
    if (*entry.origin < next || *entry.origin >= stored) throw std::logic_error("entries out of order");
    next = *entry.origin + 1;
    kept[*entry.origin] = true;
    store.replace(*entry.origin, entry.node);
  }
  for (std::size_t i = stored; i-- > 0;)
    if (!kept[i]) store.remove(i);
  for (const CatalogueEntry& entry : entries)
    if (!entry.origin) store.append(entry.node);
}

// A property list (XML or binary) or JSON file, through the catalogue library: edits
// change only what they must, and a save takes the catalogue lock and replaces the file
// atomically, like telvor-nodes does.
class CatalogueFile final : public NodeSource {
 public:
  explicit CatalogueFile(QString path) : path_(std::move(path)) {}
  QString description() const override { return path_; }

  std::vector<DicomNode> load() override {
    loaded_ = catalogue::Catalogue::load(path_.toStdString());
    std::vector<DicomNode> nodes = loaded_->nodes();
    // The window tells nodes apart by identifier; a property list stores none.
    for (DicomNode& node : nodes)
      if (!node.uniqueId) node.uniqueId = UUID::random();
    return nodes;
  }

  void save(const std::vector<CatalogueEntry>& entries) override {
    if (!loaded_) throw std::logic_error("save before load");
    auto editor = catalogue::CatalogueEditor::open(path_.toStdString(), {});
    catalogue::Catalogue& stored = editor.catalogue();
    // The window's positions are those of the file as loaded: another program's save since
    // then would make them point at other nodes.
    if (stored.serialize() != loaded_->serialize())
      throw std::runtime_error(path_.toStdString() +
                               ": changed by another program since it was opened; nothing saved (reopen it to "
                               "see its changes, or save under another name)");
    reconcile(entries, stored.size(),
              {[&](std::size_t at, const DicomNode& node) { edit(node, [&] { stored.replace(at, node); }); },
               [&](std::size_t at) { stored.remove(at); },
               [&](const DicomNode& node) { edit(node, [&] { stored.append(node); }); }});
    editor.save();
    loaded_ = std::move(stored);
  }

 private:
  template <class Edit>
  void edit(const DicomNode& node, Edit apply) const {
    try {
      apply();
    } catch (const catalogue::CatalogueError& e) {
      if (e.kind() != catalogue::CatalogueError::Kind::invalidArgument &&
          e.kind() != catalogue::CatalogueError::Kind::unrepresentable)
        throw;
      throw std::runtime_error(path_.toStdString() + ": node \"" + node.name.value_or("") + "\": " + e.what());
    }
  }

  QString path_;
  std::optional<catalogue::Catalogue> loaded_;
};

class SettingsGroup final : public NodeSource {
 public:
  SettingsGroup(const QString& path, QString group)
      : settings_(path, QSettings::IniFormat), group_(std::move(group)), store_(settings_, group_) {}
  QString description() const override { return group_ + QStringLiteral(" in ") + settings_.fileName(); }

  std::vector<DicomNode> load() override {
    settings_.sync();
    check();
    try {
      return store_.nodes();
    } catch (const std::exception& e) {
      throw std::runtime_error(settings_.fileName().toStdString() + ": " + e.what());
    }
  }

  void save(const std::vector<CatalogueEntry>& entries) override {
    try {
      reconcile(entries, store_.size(),
                {[&](std::size_t at, const DicomNode& node) { store_.update(at, node); },
                 [&](std::size_t at) { store_.remove(at); }, [&](const DicomNode& node) { store_.append(node); }});
    } catch (const std::exception& e) {
      throw std::runtime_error(settings_.fileName().toStdString() + ": " + e.what());
    }
    settings_.sync();  // QSettings replaces an INI file in one step
    check();
  }

 private:
  void check() const {
    if (settings_.status() == QSettings::AccessError)
      throw std::runtime_error(settings_.fileName().toStdString() + ": cannot be read or written");
    if (settings_.status() == QSettings::FormatError)
      throw std::runtime_error(settings_.fileName().toStdString() + ": not an INI file QSettings can read");
  }

  QSettings settings_;
  QString group_;
  qt::NodeSettingsStore store_;
};

}  // namespace

std::unique_ptr<NodeSource> openCatalogueFile(const QString& path) { return std::make_unique<CatalogueFile>(path); }

std::unique_ptr<NodeSource> openSettingsGroup(const QString& iniPath, const QString& group) {
  return std::make_unique<SettingsGroup>(iniPath, group);
}

}  // namespace telvor::node_manager
