#include "telvor/qt/node_settings_store.hpp"

#include <stdexcept>
#include <string>

#include "telvor/qt/settings_value.hpp"
#include "telvor/qt/variant_map.hpp"

namespace telvor::qt {

SettingsValueForm defaultValueForm([[maybe_unused]] const QSettings& settings) noexcept {
#ifdef Q_OS_DARWIN
  if (settings.format() == QSettings::NativeFormat) return SettingsValueForm::variant;
#endif
  return SettingsValueForm::tagged;
}

NodeSettingsStore::NodeSettingsStore(QSettings& settings, QString group)
    : NodeSettingsStore(settings, std::move(group), defaultValueForm(settings)) {}

NodeSettingsStore::NodeSettingsStore(QSettings& settings, QString group, SettingsValueForm form)
    : settings_(settings), group_(std::move(group)), form_(form) {}

std::size_t NodeSettingsStore::size() const {
  bool ok = false;
  const int count = settings_.value(group_ + QStringLiteral("/size")).toInt(&ok);
  return ok && count > 0 ? static_cast<std::size_t>(count) : 0;
}

QString NodeSettingsStore::nodeGroup(std::size_t index) const {
  return group_ + '/' + QString::number(index + 1) + '/';
}

void NodeSettingsStore::checkIndex(std::size_t index) const {
  if (index >= size())
    throw std::out_of_range("settings group " + group_.toStdString() + " holds " + std::to_string(size()) +
                            " nodes; there is no node " + std::to_string(index + 1));
}

QStringList NodeSettingsStore::keysOf(std::size_t index) const {
  settings_.beginGroup(nodeGroup(index).chopped(1));
  QStringList keys = settings_.allKeys();
  settings_.endGroup();
  return keys;
}

PropertyDictionary NodeSettingsStore::dictionary(std::size_t index) const {
  checkIndex(index);
  PropertyDictionary dictionary;
  const QString prefix = nodeGroup(index);
  for (const QString& key : keysOf(index)) {
    const QVariant stored = settings_.value(prefix + key);
    const QString path = settings_.group().isEmpty() ? prefix + key : settings_.group() + '/' + prefix + key;
    dictionary.setValue(key.toStdString(), form_ == SettingsValueForm::tagged ? fromSettingsValue(stored, path)
                                                                              : fromVariant(stored, path));
  }
  return dictionary;
}

std::vector<PropertyDictionary> NodeSettingsStore::dictionaries() const {
  std::vector<PropertyDictionary> all;
  for (std::size_t i = 0, n = size(); i < n; ++i) all.push_back(dictionary(i));
  return all;
}

std::vector<DicomNode> NodeSettingsStore::nodes() const {
  std::vector<DicomNode> all;
  for (const PropertyDictionary& stored : dictionaries()) all.emplace_back(stored);
  return all;
}

void NodeSettingsStore::writeValue(const QString& key, const PropertyValue& value) {
  if (form_ == SettingsValueForm::tagged) {
    settings_.setValue(key, toSettingsValue(value));
  } else if (const auto number = value.numberObjectValue()) {
    settings_.setValue(key, QVariant::fromValue(qlonglong{*number}));
  } else {
    settings_.setValue(key, toVariant(value));
  }
}

DictionaryEdit NodeSettingsStore::update(std::size_t index, const DicomNode& after) {
  PropertyDictionary stored = dictionary(index);
  const DicomNode before(stored);
  DictionaryEdit edit = applyDictionaryEdit(stored, before, after);
  const QString prefix = nodeGroup(index);
  for (const std::string& key : edit.written) writeValue(prefix + QString::fromStdString(key), *stored.find(key));
  for (const std::string& key : edit.removed) settings_.remove(prefix + QString::fromStdString(key));
  return edit;
}

void NodeSettingsStore::append(const DicomNode& node) {
  const auto form = node.toDictionary();
  if (!form)
    throw std::invalid_argument("a node needs an AE title, a name, an address and a port before it can be stored");
  const std::size_t index = size();
  const QString prefix = nodeGroup(index);
  for (const auto& [key, value] : *form) writeValue(prefix + QString::fromStdString(key), value);
  settings_.setValue(group_ + QStringLiteral("/size"), static_cast<int>(index + 1));
}

void NodeSettingsStore::remove(std::size_t index) {
  checkIndex(index);
  const std::size_t count = size();
  for (std::size_t i = index; i + 1 < count; ++i) {
    settings_.remove(nodeGroup(i).chopped(1));
    const QString from = nodeGroup(i + 1);
    const QString to = nodeGroup(i);
    for (const QString& key : keysOf(i + 1)) settings_.setValue(to + key, settings_.value(from + key));
  }
  settings_.remove(nodeGroup(count - 1).chopped(1));
  settings_.setValue(group_ + QStringLiteral("/size"), static_cast<int>(count - 1));
}

}  // namespace telvor::qt
