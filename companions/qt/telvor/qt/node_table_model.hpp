// Nodes and their statuses as a Qt table model, for a node list in a window.
//
//   auto* model = new telvor::qt::NodeTableModel(tableView);
//   model->setNodes(store.nodes());                  // every status: unknown, "Not checked yet"
//   tableView->setModel(model);
//   model->setStatus(2, telvor::DicomNodeStatus::accessable(), QDateTime::currentDateTime());
//   model->setData(model->index(0, NodeTableModel::port), "99999");   // false: refused
//   model->lastRefusal();                            // "Port 99999 is out of range: ..."
//
// Columns: Name, AE title, Address, Port, Retrieve, Transfer syntax, TLS, Status, Checked,
// Query / retrieve.
// - Text columns show and edit the field's text.
// - Retrieve and Transfer syntax show the case's title; CodeRole and Qt::EditRole give
//   the code, and setData takes a code (a number) or a title.
// - TLS is a check box (Qt::CheckStateRole): checked when the node has TLS settings with
//   TLS on; unchecking keeps the other TLS settings.
// - Status shows the status's title with its symbol (Qt::DecorationRole), its colour
//   (Qt::ForegroundRole) and its reason as tooltip; StatusKindRole gives the case's id.
//   Not editable: statuses come from setStatus.
// - Checked shows when the status was found (the time of day; the date and time in the
//   tooltip), empty while the node has not been checked.
// - Query / retrieve shows the titles of a check's query and retrieve answers, where they
//   were asked ("yes / no", "refused / –"), each with its reason in the tooltip
//   ("Retrieve: no: REASON"); empty when neither was asked.
// A status describes the node as it was checked: an edit that changes how the node is
// reached (AE title, address, port, retrieve mode, TLS or WADO settings) makes it
// unknown again and drops its answers; one of the name or the icon keeps them.
// An edit is refused (setData returns false, nothing changes, editRefused is emitted)
// when it would give the edited field a problem telvor::validate reports (AE title,
// port, address; a WADO retrieve mode without a WADO URL), or empty the name.
// Statuses are drawn in the colours of `PaletteColors`, by default those of the
// application's palette when the model was made.
#pragma once

#include <QAbstractTableModel>
#include <QDateTime>
#include <QIcon>
#include <QString>
#include <array>
#include <optional>
#include <vector>

#include "telvor/node/dicom_node.hpp"
#include "telvor/qt/presentation.hpp"
#include "telvor/qt/telvor_qt_export.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor::qt {

class TELVOR_QT_API NodeTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { name, aetitle, address, port, retrieve, transferSyntax, tls, status, checked, answers, columnCount_ };
  static constexpr int CodeRole = Qt::UserRole;
  static constexpr int StatusKindRole = Qt::UserRole + 1;

  // A check's answer beyond reachability: its title ("yes", "refused", "unknown", ...) and
  // what happened, empty when there is nothing to add.
  struct Answer {
    QString title;
    QString reason;
    friend bool operator==(const Answer&, const Answer&) = default;
  };
  // The query and retrieve answers of one check; absent where not asked.
  struct CheckAnswers {
    std::optional<Answer> query;
    std::optional<Answer> retrieve;
    friend bool operator==(const CheckAnswers&, const CheckAnswers&) = default;
  };

  explicit NodeTableModel(QObject* parent = nullptr);

  // Replaces every row; each status becomes unknown("Not checked yet").
  void setNodes(std::vector<DicomNode> nodes);
  const std::vector<DicomNode>& nodes() const noexcept { return nodes_; }
  // Replaces one node whole (an editor's edit); its status becomes unknown when the edit
  // changes how the node is reached. False outside the rows.
  bool setNode(int row, DicomNode node);
  // Adds a row at the end; its index.
  int appendNode(DicomNode node, DicomNodeStatus status = DicomNodeStatus::unknown("Not checked yet"));

  const DicomNodeStatus& nodeStatus(int row) const { return statuses_.at(static_cast<std::size_t>(row)); }
  // When the status was found; invalid while the node has not been checked.
  QDateTime checkedAt(int row) const { return checkedAt_.at(static_cast<std::size_t>(row)); }
  // Sets a row's status, when it was found, and the check's other answers (replacing
  // earlier ones; none when not asked).
  void setStatus(int row, DicomNodeStatus status, QDateTime checkedAt = {}, CheckAnswers found = {});
  const CheckAnswers& checkAnswers(int row) const { return answers_.at(static_cast<std::size_t>(row)); }
  void setColors(PaletteColors colors);

  // Why the last refused edit was refused; empty before any.
  const QString& lastRefusal() const noexcept { return lastRefusal_; }

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  bool removeRows(int row, int count, const QModelIndex& parent = QModelIndex()) override;

 signals:
  void editRefused(const QModelIndex& index, const QString& reason);

 private:
  bool isRow(const QModelIndex& index) const;
  QVariant statusData(const DicomNodeStatus& status, int role) const;
  QVariant answerData(const CheckAnswers& found, int role) const;
  bool refuse(const QModelIndex& index, const QString& reason);
  void replace(int row, DicomNode node);

  std::vector<DicomNode> nodes_;
  std::vector<DicomNodeStatus> statuses_;
  std::vector<QDateTime> checkedAt_;
  std::vector<CheckAnswers> answers_;
  PaletteColors colors_;
  mutable std::array<QIcon, 3> icons_;  // drawn once per status case and colours
  QString lastRefusal_;
};

}  // namespace telvor::qt
