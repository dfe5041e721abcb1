#include "node_source.hpp"

#include <QSettings>
#include <boost/json.hpp>
#include <stdexcept>
#include <string>

#include "telvor/json/json.hpp"
#include "telvor/node/dictionary_edit.hpp"
#include "telvor/plist/plist.hpp"
#include "telvor/qt/node_settings_store.hpp"
#include "support/atomic_save.hpp"
#include "support/bounded_input.hpp"

namespace telvor::node_manager {

namespace {

// Throws tool::ReadError ("PATH: REASON") for a missing, unreadable or oversized file.
std::string readCatalogue(const QString& path) { return tool::readBounded(path.toStdString()); }

class PlistFile final : public NodeSource {
 public:
  explicit PlistFile(QString path) : path_(std::move(path)) {}
  QString description() const override { return path_; }

  std::vector<DicomNode> load() override {
    const std::string bytes = readCatalogue(path_);
    format_ = bytes.starts_with("bplist") ? plist::Format::binary : plist::Format::xml;
    try {
      document_ = plist::parse(bytes);
    } catch (const std::exception& e) {
      throw std::runtime_error(path_.toStdString() + ": " + e.what());
    }
    std::vector<DicomNode> nodes;
    for (const PropertyDictionary& stored : document_.dictionaries) nodes.emplace_back(stored);
    return nodes;
  }

  void save(const std::vector<CatalogueEntry>& entries) override {
    plist::PropertyListDocument saved{{}, document_.wasArray || entries.size() != 1};
    for (const CatalogueEntry& entry : entries) {
      if (entry.origin) {
        PropertyDictionary stored = document_.dictionaries.at(*entry.origin);
        const DicomNode before(stored);
        if (!applyDictionaryEdit(stored, before, entry.node).applied) refuse(entry.node);
        saved.dictionaries.push_back(std::move(stored));
      } else if (auto form = entry.node.toDictionary()) {
        saved.dictionaries.push_back(std::move(*form));
      } else {
        refuse(entry.node);
      }
    }
    std::string bytes;
    try {
      bytes = plist::serialize(saved, format_);
    } catch (const std::exception& e) {
      throw std::runtime_error(path_.toStdString() + ": " + e.what());
    }
    tool::saveAtomically(path_.toStdString(), bytes);
    document_ = std::move(saved);
  }

 private:
  [[noreturn]] void refuse(const DicomNode& node) const {
    throw std::runtime_error(path_.toStdString() + ": node \"" + node.name.value_or("") +
                             "\" needs an AE title, a name, an address and a port before it can be saved");
  }

  QString path_;
  plist::PropertyListDocument document_;
  plist::Format format_ = plist::Format::xml;
};

class JsonFile final : public NodeSource {
 public:
  explicit JsonFile(QString path) : path_(std::move(path)) {}
  QString description() const override { return path_; }

  std::vector<DicomNode> load() override {
    const std::string bytes = readCatalogue(path_);
    std::vector<DicomNode> nodes;
    try {
      const boost::json::value document = json::parse(bytes);
      wasArray_ = document.is_array();
      stored_ = wasArray_ ? document.as_array() : boost::json::array{document};
      for (std::size_t i = 0; i < stored_.size(); ++i)
        nodes.push_back(json::fromDocument<DicomNode>(
            stored_[i], wasArray_ ? CodingPathLink(nullptr, static_cast<std::int64_t>(i)) : CodingPathLink()));
    } catch (const std::exception& e) {
      throw std::runtime_error(path_.toStdString() + ": " + e.what());
    }
    return nodes;
  }

  // An edited node keeps its stored object: the members whose coded form changed are set,
  // those the new form leaves out are erased, and every other member stays.
  void save(const std::vector<CatalogueEntry>& entries) override {
    boost::json::array saved;
    try {
      for (const CatalogueEntry& entry : entries) {
        const boost::json::value after = json::toDocument(entry.node);
        if (!entry.origin) {
          saved.push_back(after);
          continue;
        }
        boost::json::value stored = stored_.at(*entry.origin);
        const boost::json::value before = json::toDocument(json::fromDocument<DicomNode>(stored));
        boost::json::object& object = stored.as_object();
        for (const auto& member : after.as_object())
          if (const auto* old = before.as_object().if_contains(member.key()); !old || *old != member.value())
            object[member.key()] = member.value();
        for (const auto& member : before.as_object())
          if (!after.as_object().contains(member.key())) object.erase(member.key());
        saved.push_back(std::move(stored));
      }
    } catch (const std::exception& e) {
      throw std::runtime_error(path_.toStdString() + ": " + e.what());
    }
    const bool single = !wasArray_ && saved.size() == 1;
    tool::saveAtomically(path_.toStdString(),
                   json::serialize(single ? saved.front() : boost::json::value(saved), {.indent = 2}) + "\n");
    stored_ = std::move(saved);
  }

 private:
  QString path_;
  boost::json::array stored_;
  bool wasArray_ = true;
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
    const std::size_t stored = store_.size();
    std::vector<bool> kept(stored, false);
    for (const CatalogueEntry& entry : entries)
      if (entry.origin && *entry.origin < stored) kept[*entry.origin] = true;
    try {
      // Removals first, from the end, so that the earlier positions stay put.
      for (std::size_t i = stored; i-- > 0;)
        if (!kept[i]) store_.remove(i);
      for (const CatalogueEntry& entry : entries) {
        if (!entry.origin) continue;
        std::size_t position = *entry.origin;
        for (std::size_t i = 0; i < *entry.origin; ++i) position -= kept[i] ? 0 : 1;
        store_.update(position, entry.node);
      }
      for (const CatalogueEntry& entry : entries)
        if (!entry.origin) store_.append(entry.node);
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

std::unique_ptr<NodeSource> openCatalogueFile(const QString& path) {
  if (path.endsWith(QStringLiteral(".json"), Qt::CaseInsensitive)) return std::make_unique<JsonFile>(path);
  return std::make_unique<PlistFile>(path);
}

std::unique_ptr<NodeSource> openSettingsGroup(const QString& iniPath, const QString& group) {
  return std::make_unique<SettingsGroup>(iniPath, group);
}

}  // namespace telvor::node_manager
