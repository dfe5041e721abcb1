#include "telvor/qt/vocabulary_model.hpp"

namespace telvor::qt {

VocabularyModel::VocabularyModel(std::vector<Entry> entries, QObject* parent)
    : QAbstractListModel(parent), entries_(std::move(entries)) {}

int VocabularyModel::rowOf(qint64 code) const noexcept {
  for (std::size_t i = 0; i < entries_.size(); ++i)
    if (entries_[i].code == code) return static_cast<int>(i);
  return -1;
}

std::optional<qint64> VocabularyModel::codeAt(int row) const noexcept {
  if (row < 0 || static_cast<std::size_t>(row) >= entries_.size()) return std::nullopt;
  return entries_[static_cast<std::size_t>(row)].code;
}

int VocabularyModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

QVariant VocabularyModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.model() != this || index.row() >= rowCount()) return {};
  const Entry& entry = entries_[static_cast<std::size_t>(index.row())];
  if (role == Qt::DisplayRole || role == Qt::EditRole) return entry.title;
  if (role == CodeRole) return QVariant::fromValue(qlonglong{entry.code});
  return {};
}

QHash<int, QByteArray> VocabularyModel::roleNames() const {
  QHash<int, QByteArray> names = QAbstractListModel::roleNames();
  names.insert(CodeRole, "code");
  return names;
}

}  // namespace telvor::qt
