// A titled vocabulary as a Qt list model, for pickers.
//
//   auto* modes = telvor::qt::VocabularyModel::of<telvor::RetrieveModeType>(comboBox);
//   comboBox->setModel(modes);                                   // shows "CMOVE", "CGET", "WADO"
//   comboBox->setCurrentIndex(modes->rowOf(telvor::rawValue(node.retrieveMode)));
//   auto mode = telvor::fromRawValue<telvor::RetrieveModeType>(
//       comboBox->currentData(telvor::qt::VocabularyModel::CodeRole).toLongLong());
//
// One row per case in allCases order: Qt::DisplayRole is the title, CodeRole the code
// (a qlonglong). Read-only; the rows never change.
#pragma once

#include <QAbstractListModel>
#include <QString>
#include <optional>
#include <vector>

#include "telvor/coding/coded_enum.hpp"
#include "telvor/qt/telvor_qt_export.hpp"

namespace telvor::qt {

class TELVOR_QT_API VocabularyModel : public QAbstractListModel {
  Q_OBJECT

 public:
  static constexpr int CodeRole = Qt::UserRole;

  struct Entry {
    qint64 code;
    QString title;
  };

  explicit VocabularyModel(std::vector<Entry> entries, QObject* parent = nullptr);

  // The model of a vocabulary that has every case and a title for each.
  template <EnumWithAllCases E>
    requires EnumWithTitle<E>
  static VocabularyModel* of(QObject* parent = nullptr) {
    std::vector<Entry> entries;
    for (const E value : allCases<E>()) {
      const std::string_view text = title(value);
      entries.push_back({static_cast<qint64>(rawValue(value)),
                         QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))});
    }
    return new VocabularyModel(std::move(entries), parent);
  }

  // The row holding `code`, or -1.
  int rowOf(qint64 code) const noexcept;
  // The code of a row, or absent outside the rows.
  std::optional<qint64> codeAt(int row) const noexcept;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QHash<int, QByteArray> roleNames() const override;

 private:
  std::vector<Entry> entries_;
};

}  // namespace telvor::qt
