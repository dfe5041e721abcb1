#include "node_form.hpp"

#include <QFormLayout>

#include "telvor/qt/vocabulary_model.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor::node_manager {

using qt::NodeTableModel;
using qt::VocabularyModel;

NodeForm::NodeForm(NodeTableModel& model, QWidget* parent) : QWidget(parent), model_(model) {
  auto* layout = new QFormLayout(this);
  const std::array<const char*, 4> labels{"Name", "AE title", "Address", "Port"};
  const std::array<const char*, 4> names{"nameEdit", "aetitleEdit", "addressEdit", "portEdit"};
  for (int column = 0; column < 4; ++column) {
    auto* edit = new QLineEdit(this);
    edit->setObjectName(names[static_cast<std::size_t>(column)]);
    layout->addRow(tr(labels[static_cast<std::size_t>(column)]), edit);
    texts_[static_cast<std::size_t>(column)] = edit;
    connect(edit, &QLineEdit::editingFinished, this, [this, edit, column] { commit(column, edit->text()); });
  }
  const auto picker = [this, layout](const char* label, const char* name, VocabularyModel* vocabulary, int column) {
    auto* box = new QComboBox(this);
    box->setObjectName(name);
    box->setModel(vocabulary);
    // Some titles are long; the picker shows them whole when it opens.
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(14);
    vocabulary->setParent(box);
    layout->addRow(tr(label), box);
    connect(box, &QComboBox::currentIndexChanged, this,
            [this, box, column] { commit(column, box->currentData(VocabularyModel::CodeRole)); });
    return box;
  };
  retrieve_ = picker("Retrieve", "retrievePicker", VocabularyModel::of<RetrieveModeType>(), NodeTableModel::retrieve);
  transferSyntax_ = picker("Transfer syntax", "transferSyntaxPicker", VocabularyModel::of<TransferSyntax>(),
                           NodeTableModel::transferSyntax);
  tls_ = new QCheckBox(tr("Connect over TLS"), this);
  tls_->setObjectName("tlsCheck");
  layout->addRow(tr("TLS"), tls_);
  connect(tls_, &QCheckBox::toggled, this,
          [this](bool on) { commit(NodeTableModel::tls, on ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole); });

  // Whatever changes the row (the table's own editor, a refused edit) shows here too.
  connect(&model_, &QAbstractItemModel::dataChanged, this, [this](const QModelIndex& first, const QModelIndex& last) {
    // Echo answers touch only the status column; reloading then would undo typing.
    if (first.column() == NodeTableModel::status && last.column() == NodeTableModel::status) return;
    if (row_ >= first.row() && row_ <= last.row()) load();
  });
  connect(&model_, &QAbstractItemModel::modelReset, this, [this] { showRow(-1); });
  showRow(-1);
}

void NodeForm::showRow(int row) {
  row_ = row >= 0 && row < model_.rowCount() ? row : -1;
  setEnabled(row_ >= 0);
  load();
}

void NodeForm::load() {
  loading_ = true;
  for (int column = 0; column < 4; ++column)
    texts_[static_cast<std::size_t>(column)]->setText(row_ < 0 ? QString() : model_.index(row_, column).data().toString());
  const auto pick = [this](QComboBox* box, int column) {
    const auto* vocabulary = static_cast<const VocabularyModel*>(box->model());
    box->setCurrentIndex(row_ < 0 ? -1 : vocabulary->rowOf(model_.index(row_, column).data(NodeTableModel::CodeRole).toLongLong()));
  };
  pick(retrieve_, NodeTableModel::retrieve);
  pick(transferSyntax_, NodeTableModel::transferSyntax);
  tls_->setChecked(row_ >= 0 && model_.index(row_, NodeTableModel::tls).data(Qt::CheckStateRole).toInt() == Qt::Checked);
  loading_ = false;
}

void NodeForm::commit(int column, const QVariant& value, int role) {
  if (loading_ || row_ < 0) return;
  if (model_.index(row_, column).data(role == Qt::EditRole ? Qt::EditRole : role) == value) return;
  if (!model_.setData(model_.index(row_, column), value, role)) load();  // refused: show the stored value again
}

}  // namespace telvor::node_manager
