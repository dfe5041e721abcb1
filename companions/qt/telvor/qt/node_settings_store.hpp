// A node catalogue kept in QSettings: a list of node dictionaries under a group of the
// application's choosing, edited without losing what the edit did not touch.
//
//   QSettings settings("Example", "Viewer");
//   telvor::qt::NodeSettingsStore store(settings, "DicomNodes");
//   std::vector<telvor::DicomNode> nodes = store.nodes();
//   telvor::DicomNode edited = nodes[0];
//   edited.port = "11112";
//   store.update(0, edited);      // writes DicomNodes/1/Port and nothing else
//   store.append(newNode);
//   store.remove(1);
//   settings.sync();              // the application decides when to write to disk
//
// Layout: QSettings' own array layout, so that beginReadArray("DicomNodes") reads it too:
// "<group>/size" holds the count, "<group>/<n>/<key>" the n-th node's entries (n from 1).
//
// Lossless: `update` writes only the keys whose values the edit changed (see
// dictionary_edit.hpp) and removes only "isQueryable" and "icon" when the edit drops them;
// every other key under the node's group, other applications' keys included, is left as
// it is. `remove` moves the later nodes' stored values down one place unchanged.
//
// Values are written in one of two forms, chosen once per store:
// - `tagged` (the default everywhere but macOS' native format): the tagged texts of
//   settings_value.hpp, because QSettings' INI form keeps nothing but text; every kind
//   round-trips, number objects and unsigned integers beyond Int64 included.
// - `variant`: the variants of variant_map.hpp, for formats that keep types (macOS'
//   native format is a property list). A number object is written as a qlonglong there,
//   as a property list has no boxed number apart from its integers, and reads back as an
//   integer; PropertyDictionary::readInt accepts both.
#pragma once

#include <QSettings>
#include <QString>
#include <QStringList>
#include <cstddef>
#include <vector>

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/node/dictionary_edit.hpp"
#include "telvor/qt/telvor_qt_export.hpp"

namespace telvor::qt {

enum class SettingsValueForm { tagged, variant };

// `variant` for QSettings::NativeFormat on macOS, `tagged` for every other format.
TELVOR_QT_API SettingsValueForm defaultValueForm(const QSettings& settings) noexcept;

class TELVOR_QT_API NodeSettingsStore {
 public:
  // A store over `settings` (which must outlive it) under `group`, relative to the
  // settings' current group.
  NodeSettingsStore(QSettings& settings, QString group);
  NodeSettingsStore(QSettings& settings, QString group, SettingsValueForm form);

  // The number of nodes ("<group>/size"; 0 when absent or not a number).
  std::size_t size() const;

  // The n-th node's stored dictionary (from 0), every key under its group included.
  // Throws std::out_of_range past the end, VariantError for a value that is not a
  // property value (the error names the key's full path).
  PropertyDictionary dictionary(std::size_t index) const;
  std::vector<PropertyDictionary> dictionaries() const;
  // The nodes read from their dictionaries (lenient: never fails for a missing field).
  std::vector<DicomNode> nodes() const;

  // Writes into the n-th node the keys that differ between its stored node and `after`
  // (see applyDictionaryEdit, with `before` read from the store now). Throws as
  // `dictionary` does; writes nothing when `after` has no dictionary form.
  DictionaryEdit update(std::size_t index, const DicomNode& after);

  // Adds a node at the end with every key of its dictionary form. Throws
  // std::invalid_argument when it has none (AE title, name, address or port missing).
  void append(const DicomNode& node);

  // Removes the n-th node; the nodes after it move down one place with their stored
  // values unchanged. Throws std::out_of_range past the end.
  void remove(std::size_t index);

 private:
  QString nodeGroup(std::size_t index) const;
  QStringList keysOf(std::size_t index) const;
  void writeValue(const QString& key, const PropertyValue& value);
  void checkIndex(std::size_t index) const;

  QSettings& settings_;
  QString group_;
  SettingsValueForm form_;
};

}  // namespace telvor::qt
