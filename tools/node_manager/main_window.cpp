#include "main_window.hpp"

#include <QCloseEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>
#ifdef TELVOR_NODE_MANAGER_DIRECTORY
#include "directory_source.hpp"
#endif

namespace telvor::node_manager {

using qt::NodeTableModel;

namespace {

QString nodeCount(int count) {
  return count == 1 ? QObject::tr("1 node") : QObject::tr("%1 nodes").arg(count);
}

}  // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), model_(this), echo_(this) {
  table_ = new QTableView(this);
  table_->setObjectName("nodeTable");
  table_->setModel(&model_);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->setAlternatingRowColors(true);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->setIconSize(QSize(16, 16));

  form_ = new NodeForm(model_, this);
  form_->setObjectName("nodeForm");
  message_ = new QLabel(this);
  message_->setObjectName("messageLabel");
  message_->setTextInteractionFlags(Qt::TextSelectableByMouse);

  auto* formPanel = new QWidget(this);
  auto* formLayout = new QVBoxLayout(formPanel);
  auto* heading = new QLabel(tr("<b>Selected node</b>"), formPanel);
  formLayout->addWidget(heading);
  formLayout->addWidget(form_);
  formLayout->addStretch();
  formPanel->setMinimumWidth(300);

  auto* splitter = new QSplitter(this);
  splitter->addWidget(table_);
  splitter->addWidget(formPanel);
  splitter->setStretchFactor(0, 1);
  splitter->setStretchFactor(1, 0);
  splitter->setCollapsible(0, false);
  splitter->setSizes({900, 340});
  setCentralWidget(splitter);

  auto* tools = addToolBar(tr("Catalogue"));
  tools->setObjectName("toolBar");
  tools->setMovable(false);
  auto* openAction = tools->addAction(tr("Open…"), this, [this] {
    const QString path = QFileDialog::getOpenFileName(this, tr("Open a node catalogue"), {},
                                                      tr("Node catalogues (*.plist *.json);;All files (*)"));
    if (!path.isEmpty()) open(openCatalogueFile(path));
  });
  openAction->setShortcut(QKeySequence::Open);
#ifdef TELVOR_NODE_MANAGER_DIRECTORY
  tools->addAction(tr("Open directory…"), this, [this] {
         DirectoryDialog dialog(this);
         if (dialog.exec() == QDialog::Accepted) open(openDirectory(dialog.access()));
       })->setObjectName("openDirectoryAction");
#endif
  saveAction_ = tools->addAction(tr("Save"), this, [this] { save(); });
  saveAction_->setObjectName("saveAction");
  saveAction_->setShortcut(QKeySequence::Save);
  tools->addSeparator();
  tools->addAction(tr("Add node"), this, [this] { addNode(); })->setObjectName("addAction");
  tools->addAction(tr("Remove node"), this, [this] { removeSelectedNode(); })->setObjectName("removeAction");
  tools->addSeparator();
  echoAction_ = tools->addAction(tr("Echo all"), this, [this] { echoAll(); });
  echoAction_->setObjectName("echoAction");
  if (!EchoRunner::available()) {
    echoAction_->setEnabled(false);
    echoAction_->setToolTip(tr("This build has no DICOM networking (the DCMTK companion was not built)"));
  }

  progress_ = new QProgressBar(this);
  progress_->setObjectName("echoProgress");
  progress_->setMaximumWidth(220);
  progress_->setFormat(tr("%v of %m answered"));
  progress_->hide();
  statusBar()->addWidget(message_, 1);
  statusBar()->addPermanentWidget(progress_);

  connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this](const QModelIndex& current) { form_->showRow(current.row()); });
  connect(&model_, &QAbstractItemModel::dataChanged, this,
          [this](const QModelIndex& first, const QModelIndex& last) {
            // Statuses come from echoes and are not stored.
            if (first.column() != NodeTableModel::status || last.column() != NodeTableModel::status)
              setWindowModified(true);
          });
  connect(&model_, &NodeTableModel::editRefused, this,
          [this](const QModelIndex&, const QString& reason) { showMessage(reason, true); });
  connect(&echo_, &EchoRunner::answered, this, [this](int position) { onAnswer(position); });
  connect(&echo_, &EchoRunner::finished, this, [this] {
    progress_->hide();
    echoAction_->setEnabled(true);
    int online = 0;
    for (int row = 0; row < model_.rowCount(); ++row)
      online += model_.nodeStatus(row).kind() == DicomNodeStatus::Kind::accessable ? 1 : 0;
    showMessage(tr("Echo finished: %1 of %2 nodes online.").arg(online).arg(model_.rowCount()));
  });
  resize(1240, 520);
  updateTitle();
}

void MainWindow::updateTitle() {
  setWindowTitle(source_ ? tr("%1[*] — Telvor node manager").arg(source_->description())
                         : tr("Telvor node manager"));
}

void MainWindow::showMessage(const QString& text, bool problem) {
  message_->setText(text);
  message_->setStyleSheet(problem ? QStringLiteral("color: #d70015") : QString());
}

bool MainWindow::open(std::unique_ptr<NodeSource> source) {
  std::vector<DicomNode> nodes;
  try {
    nodes = source->load();
  } catch (const std::exception& e) {
    showMessage(QString::fromStdString(e.what()), true);
    return false;
  }
  source_ = std::move(source);
  origins_.clear();
  for (std::size_t i = 0; i < nodes.size(); ++i) origins_.emplace_back(i);
  model_.setNodes(std::move(nodes));
  table_->resizeColumnsToContents();
  setWindowModified(false);
  updateTitle();
  showMessage(nodeCount(model_.rowCount()) + tr(" loaded from %1.").arg(source_->description()));
  if (model_.rowCount() > 0) selectRow(0);
  return true;
}

bool MainWindow::save() {
  if (!source_) return false;
  std::vector<CatalogueEntry> entries;
  for (int row = 0; row < model_.rowCount(); ++row)
    entries.push_back({origins_[static_cast<std::size_t>(row)], model_.nodes()[static_cast<std::size_t>(row)]});
  try {
    source_->save(entries);
  } catch (const std::exception& e) {
    showMessage(QString::fromStdString(e.what()), true);
    return false;
  }
  for (std::size_t i = 0; i < origins_.size(); ++i) origins_[i] = i;
  setWindowModified(false);
  showMessage(tr("Saved %1 to %2.").arg(nodeCount(model_.rowCount()), source_->description()));
  return true;
}

void MainWindow::addNode() {
  DicomNode node(104);
  node.name = "New node";
  node.aetitle = "NEWNODE";
  node.address = "127.0.0.1";
  origins_.emplace_back(std::nullopt);
  const int row = model_.appendNode(std::move(node));
  setWindowModified(true);
  selectRow(row);
}

void MainWindow::removeSelectedNode() {
  const int row = table_->currentIndex().row();
  if (row < 0) return;
  model_.removeRows(row, 1);
  origins_.erase(origins_.begin() + row);
  setWindowModified(true);
  selectRow(std::min(row, model_.rowCount() - 1));
}

void MainWindow::echoAll() {
  if (!EchoRunner::available() || model_.rowCount() == 0) return;
  for (int row = 0; row < model_.rowCount(); ++row)
    model_.setStatus(row, DicomNodeStatus::unknown("Waiting for an answer"));
  progress_->setRange(0, model_.rowCount());
  progress_->setValue(0);
  progress_->show();
  echoAction_->setEnabled(false);
  showMessage(tr("Echoing %1…").arg(nodeCount(model_.rowCount())));
  echo_.start(model_.nodes());
}

void MainWindow::onAnswer(int position) {
  progress_->setValue(progress_->value() + 1);
  // The node may have been edited, moved or removed since the echo began; the answer
  // belongs to the row that still holds the very node that was echoed.
  const DicomNode& echoed = echo_.echoed()[static_cast<std::size_t>(position)];
  for (int row = 0; row < model_.rowCount(); ++row) {
    const DicomNode& node = model_.nodes()[static_cast<std::size_t>(row)];
    if (node.id() != echoed.id()) continue;
    model_.setStatus(row, node == echoed ? echo_.result(position)
                                         : DicomNodeStatus::unknown("Edited while it was being echoed; echo again"));
  }
}

void MainWindow::selectRow(int row) {
  if (row < 0) {
    form_->showRow(-1);
    return;
  }
  table_->setCurrentIndex(model_.index(row, 0));
  table_->selectRow(row);
  form_->showRow(row);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (isWindowModified()) {
    const auto answer = QMessageBox::question(this, tr("Unsaved changes"), tr("Save the changes before closing?"),
                                              QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    if (answer == QMessageBox::Cancel || (answer == QMessageBox::Save && !save())) {
      event->ignore();
      return;
    }
  }
  event->accept();
}

}  // namespace telvor::node_manager
