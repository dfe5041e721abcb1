// The form beside the node table: the selected node's fields, edited through the table
// model so that the library's validation decides what is accepted.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QWidget>
#include <array>

#include "telvor/qt/node_table_model.hpp"

namespace telvor::node_manager {

class NodeForm : public QWidget {
  Q_OBJECT

 public:
  NodeForm(qt::NodeTableModel& model, QWidget* parent = nullptr);

  // Shows the node of `row` (-1: none, the form is disabled).
  void showRow(int row);
  int row() const noexcept { return row_; }

 private:
  void load();
  void commit(int column, const QVariant& value, int role = Qt::EditRole);

  qt::NodeTableModel& model_;
  int row_ = -1;
  bool loading_ = false;
  std::array<QLineEdit*, 4> texts_{};  // name, AE title, address, port: the model's first columns
  QComboBox* retrieve_;
  QComboBox* transferSyntax_;
  QCheckBox* tls_;
};

}  // namespace telvor::node_manager
