#include "main_window.hpp"

#include <QCloseEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QInputDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <algorithm>
#ifdef TELVOR_NODE_MANAGER_DIRECTORY
#include "directory_source.hpp"
#endif

namespace telvor::node_manager {

using qt::NodeTableModel;

namespace {

QString nodeCount(int count) {
  return count == 1 ? QObject::tr("1 node") : QObject::tr("%1 nodes").arg(count);
}

QString nameOf(const DicomNode& node) {
  return node.name ? QString::fromStdString(*node.name) : QObject::tr("the unnamed node");
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
  // One line per node: long answers are cut with an ellipsis and whole in their tooltip.
  table_->setWordWrap(false);
  table_->setIconSize(QSize(16, 16));

  editor_ = new qt::NodeEditor(this);
  editor_->setObjectName("nodeEditor");
  auto* editorPanel = new QWidget(this);
  auto* editorLayout = new QVBoxLayout(editorPanel);
  editorLayout->addWidget(new QLabel(tr("<b>Selected node</b>"), editorPanel));
  editorLayout->addWidget(editor_);
  auto* scroll = new QScrollArea(this);
  scroll->setWidget(editorPanel);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setMinimumWidth(380);

  auto* splitter = new QSplitter(this);
  splitter->addWidget(table_);
  splitter->addWidget(scroll);
  splitter->setStretchFactor(0, 1);
  splitter->setStretchFactor(1, 0);
  splitter->setCollapsible(0, false);
  splitter->setSizes({880, 400});
  setCentralWidget(splitter);
  setTabOrder(table_, editor_);

  const auto action = [this](const QString& text, const char* name, QKeySequence key, auto slot) {
    auto* made = new QAction(text, this);
    made->setObjectName(name);
    made->setShortcut(key);
    connect(made, &QAction::triggered, this, slot);
    return made;
  };
  auto* openAction = action(tr("&Open…"), "openAction", QKeySequence::Open, [this] {
    if (!mayLeaveEditor()) return;
    const QString path = QFileDialog::getOpenFileName(this, tr("Open a node catalogue"), {},
                                                      tr("Node catalogues (*.plist *.json);;All files (*)"));
    if (!path.isEmpty()) open(openCatalogueFile(path));
  });
  saveAction_ = action(tr("&Save"), "saveAction", QKeySequence::Save, [this] { save(); });
  auto* quitAction = action(tr("&Quit"), "quitAction", QKeySequence::Quit, [this] { close(); });
  auto* addAction = action(tr("&Add node"), "addAction", QKeySequence::New, [this] { addNode(); });
  removeAction_ = action(tr("&Remove node…"), "removeAction", QKeySequence(Qt::Key_Delete), [this] { removeSelectedNode(); });
  // Delete removes a node only from the table; in the editor's fields it deletes text.
  removeAction_->setShortcutContext(Qt::WidgetShortcut);
  table_->addAction(removeAction_);
  testAction_ = action(tr("&Test"), "testAction", QKeySequence(tr("Ctrl+T")), [this] { testSelectedNode(); });
  testAllAction_ = action(tr("Test &all"), "testAllAction", QKeySequence(tr("Ctrl+Shift+T")), [this] { testAllNodes(); });
#ifdef TELVOR_NODE_MANAGER_DIRECTORY
  auto* openDirectoryAction = action(tr("Open &directory…"), "openDirectoryAction", QKeySequence(), [this] {
    DirectoryDialog dialog(this);
    if (dialog.exec() == QDialog::Accepted) open(openDirectory(dialog.access()));
  });
#endif
  const auto option = [this](const QString& text, const char* name, const QString& tip, auto onToggle) {
    auto* made = new QAction(text, this);
    made->setObjectName(name);
    made->setCheckable(true);
    made->setStatusTip(tip);
    connect(made, &QAction::toggled, this, onToggle);
    return made;
  };
  checkFindAction_ = option(tr("Also &query"), "checkFindAction",
                            tr("Tests also ask each answering node a query (a C-FIND that matches nothing)"),
                            [this](bool on) { echo_.setCheckFind(on); });
  checkRetrieveAction_ = option(tr("Also retrie&ve"), "checkRetrieveAction",
                                tr("Tests also retrieve one instance from each answering node (C-MOVE to the listen "
                                   "port, or C-GET) and discard it"),
                                [this](bool on) { echo_.setCheckRetrieve(on); });
  // Chosen by the user with no port yet: C-MOVE nodes need one.
  connect(checkRetrieveAction_, &QAction::triggered, this, [this](bool on) {
    if (on && echo_.listenPort() == 0) askListenPort();
  });
  listenPortAction_ = action(tr("&Listen port…"), "listenPortAction", {}, [this] { askListenPort(); });

  auto* file = menuBar()->addMenu(tr("&File"));
  file->addAction(openAction);
#ifdef TELVOR_NODE_MANAGER_DIRECTORY
  file->addAction(openDirectoryAction);
#endif
  file->addAction(saveAction_);
  file->addSeparator();
  file->addAction(quitAction);
  auto* nodes = menuBar()->addMenu(tr("&Node"));
  nodes->addActions({addAction, removeAction_});
  nodes->addSeparator();
  nodes->addActions({testAction_, testAllAction_});
  nodes->addSeparator();
  nodes->addActions({checkFindAction_, checkRetrieveAction_, listenPortAction_});

  auto* tools = addToolBar(tr("Catalogue"));
  tools->setObjectName("toolBar");
  tools->setMovable(false);
  tools->addAction(openAction);
#ifdef TELVOR_NODE_MANAGER_DIRECTORY
  tools->addAction(openDirectoryAction);
#endif
  tools->addAction(saveAction_);
  tools->addSeparator();
  tools->addActions({addAction, removeAction_});
  tools->addSeparator();
  tools->addActions({testAction_, testAllAction_});
  if (!EchoRunner::available()) {
    for (QAction* test : {testAction_, testAllAction_})
      test->setToolTip(tr("This build has no DICOM networking (the DCMTK companion was not built)"));
    for (QAction* option : {checkFindAction_, checkRetrieveAction_, listenPortAction_}) option->setEnabled(false);
  }

  message_ = new QLabel(this);
  message_->setObjectName("messageLabel");
  message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  unsaved_ = new QLabel(tr("Unsaved changes"), this);
  unsaved_->setObjectName("unsavedLabel");
  unsaved_->hide();
  progress_ = new QProgressBar(this);
  progress_->setObjectName("checkProgress");
  progress_->setFormat(tr("%v of %m answered"));
  progress_->setMinimumWidth(progress_->fontMetrics().horizontalAdvance(tr("%1 of %1 answered").arg(9999)) + 48);
  progress_->hide();
  statusBar()->addWidget(message_, 1);
  statusBar()->addPermanentWidget(unsaved_);
  statusBar()->addPermanentWidget(progress_);

  connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this](const QModelIndex& current) {
    if (keepingRow_) return;
    if (editorRow_ < 0 || current.row() == editorRow_ || !editor_->hasRefusedInput()) {
      selectRow(current.row());
      return;
    }
    // Asked once the click that changed the row is done with, never inside it.
    QTimer::singleShot(0, this, [this, row = current.row()] {
      if (mayLeaveEditor())
        selectRow(row);
      else
        keepEditorRow();
    });
  });
  connect(editor_, &qt::NodeEditor::edited, this, [this] {
    if (editorRow_ >= 0) model_.setNode(editorRow_, editor_->node());
  });
  connect(editor_, &qt::NodeEditor::problemsChanged, this, [this] {
    if (editor_->hasRefusedInput())
      showMessage(editor_->problems().join(' '), true);
    else if (message_->property("problem").toBool())
      showMessage(QString());  // the input it was about is fixed
  });
  connect(&model_, &QAbstractItemModel::dataChanged, this, [this](const QModelIndex& first, const QModelIndex& last) {
    // Statuses come from checks and are not stored.
    if (first.column() >= NodeTableModel::status) return;
    setModified(true);
    // An edit in the table itself shows in the editor; the editor's own edits are there already.
    if (editorRow_ >= first.row() && editorRow_ <= last.row() &&
        !(model_.nodes()[static_cast<std::size_t>(editorRow_)] == editor_->node()))
      editor_->setNode(model_.nodes()[static_cast<std::size_t>(editorRow_)]);
  });
  connect(&model_, &NodeTableModel::editRefused, this,
          [this](const QModelIndex&, const QString& reason) { showMessage(reason, true); });
  connect(&echo_, &EchoRunner::answered, this, &MainWindow::onAnswer);
  connect(&echo_, &EchoRunner::finished, this, [this] {
    progress_->hide();
    int online = 0;
    for (int row = 0; row < model_.rowCount(); ++row)
      online += model_.nodeStatus(row).kind() == DicomNodeStatus::Kind::accessable ? 1 : 0;
    showMessage(tr("Checked: %1 of %2 online.").arg(online).arg(nodeCount(model_.rowCount())));
  });
  resize(1280, 820);
  selectRow(-1);
  updateTitle();
}

void MainWindow::updateTitle() {
  setWindowTitle(source_ ? tr("%1[*] — Telvor node manager").arg(source_->description())
                         : tr("Telvor node manager"));
}

void MainWindow::updateActions() {
  const bool selected = editorRow_ >= 0;
  removeAction_->setEnabled(selected);
  testAction_->setEnabled(selected && EchoRunner::available());
  testAllAction_->setEnabled(model_.rowCount() > 0 && EchoRunner::available());
  saveAction_->setEnabled(source_ != nullptr);
}

void MainWindow::showMessage(const QString& text, bool problem) {
  message_->setText(text);
  message_->setStyleSheet(problem ? QStringLiteral("color: #d70015") : QString());
  message_->setProperty("problem", problem);
}

void MainWindow::setModified(bool modified) {
  setWindowModified(modified);
  unsaved_->setVisible(modified);
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
  editorRow_ = -1;  // the editor's node is gone with the old list
  model_.setNodes(std::move(nodes));
  table_->resizeColumnsToContents();
  setModified(false);
  updateTitle();
  showMessage(nodeCount(model_.rowCount()) + tr(" loaded from %1.").arg(source_->description()));
  selectRow(model_.rowCount() > 0 ? 0 : -1);
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
  setModified(false);
  showMessage(tr("Saved %1 to %2.").arg(nodeCount(model_.rowCount()), source_->description()));
  return true;
}

void MainWindow::addNode() {
  if (!mayLeaveEditor()) return;
  DicomNode node(104);
  node.name = "New node";
  node.aetitle = "NEWNODE";
  node.address = "127.0.0.1";
  origins_.emplace_back(std::nullopt);
  const int row = model_.appendNode(std::move(node));
  setModified(true);
  showMessage(tr("Added a node: fill in its fields beside the table."));
  selectRow(row);
  editor_->findChild<QWidget*>("nameEdit")->setFocus();
}

void MainWindow::removeSelectedNode() {
  const int row = currentRow();
  if (row < 0) return;
  const QString name = nameOf(model_.nodes()[static_cast<std::size_t>(row)]);
  const auto answer = QMessageBox::question(this, tr("Remove node"),
                                            tr("Remove “%1” from the list? It leaves the file when you save.").arg(name),
                                            QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel);
  if (answer != QMessageBox::Yes) return;
  editorRow_ = -1;  // whatever the editor held of it goes with it
  model_.removeRows(row, 1);
  origins_.erase(origins_.begin() + row);
  setModified(true);
  showMessage(tr("Removed “%1”.").arg(name));
  selectRow(std::min(row, model_.rowCount() - 1));
}

void MainWindow::setQueryCheck(bool on) { checkFindAction_->setChecked(on); }

void MainWindow::setRetrieveCheck(bool on, std::uint16_t listenPort) {
  if (listenPort != 0) echo_.setListenPort(listenPort);
  checkRetrieveAction_->setChecked(on);
}

void MainWindow::testSelectedNode() {
  if (currentRow() >= 0) test({currentRow()});
}

void MainWindow::testAllNodes() {
  std::vector<int> rows(static_cast<std::size_t>(model_.rowCount()));
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = static_cast<int>(i);
  test(rows);
}

void MainWindow::test(const std::vector<int>& rows) {
  if (!EchoRunner::available() || rows.empty()) return;
  std::vector<DicomNode> nodes;
  for (const int row : rows) {
    model_.setStatus(row, DicomNodeStatus::unknown("Waiting for an answer"));
    nodes.push_back(model_.nodes()[static_cast<std::size_t>(row)]);
  }
  const int total = (echo_.running() ? progress_->maximum() : 0) + static_cast<int>(rows.size());
  echo_.check(nodes);
  progress_->setRange(0, total);
  progress_->setValue(total - echo_.pending());
  progress_->show();
  showMessage(tr("Checking %1…").arg(nodeCount(static_cast<int>(rows.size()))));
}

void MainWindow::onAnswer(const DicomNode& checked, const DicomNodeStatus& status, const QDateTime& at,
                          const qt::NodeTableModel::CheckAnswers& answers) {
  progress_->setValue(progress_->maximum() - echo_.pending());
  // The node may have been edited, moved or removed since its check began; the answer
  // belongs to the row that still holds the very node that was checked.
  for (int row = 0; row < model_.rowCount(); ++row) {
    const DicomNode& node = model_.nodes()[static_cast<std::size_t>(row)];
    if (node.id() != checked.id()) continue;
    // An edit that changes how the node is reached has made its status unknown already;
    // one of its name or icon leaves the answer true.
    if (node == checked || model_.nodeStatus(row) == DicomNodeStatus::unknown("Waiting for an answer"))
      model_.setStatus(row, status, at, answers);
  }
}

int MainWindow::currentRow() const { return editorRow_; }

bool MainWindow::mayLeaveEditor() {
  if (editorRow_ < 0 || editorRow_ >= model_.rowCount() || !editor_->hasRefusedInput()) return true;
  const QString name = nameOf(model_.nodes()[static_cast<std::size_t>(editorRow_)]);
  const auto answer = QMessageBox::warning(
      this, tr("Input not taken"),
      tr("What was typed for “%1” was not taken: %2\n\nDiscard it and keep the node as it was?")
          .arg(name, editor_->problems().join(' ')),
      QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel);
  if (answer != QMessageBox::Discard) {
    showMessage(tr("Still editing “%1”: correct the marked input, or discard it.").arg(name), true);
    return false;
  }
  editor_->setNode(model_.nodes()[static_cast<std::size_t>(editorRow_)]);
  showMessage(tr("Discarded the input not taken for “%1”.").arg(name));
  return true;
}

void MainWindow::keepEditorRow() {
  if (editorRow_ < 0) return;
  keepingRow_ = true;
  table_->setCurrentIndex(model_.index(editorRow_, 0));
  table_->selectRow(editorRow_);
  keepingRow_ = false;
  editor_->setFocus();
}

void MainWindow::askListenPort() {
  bool ok = false;
  const int port = QInputDialog::getInt(
      this, tr("Listen port"),
      tr("Port of this computer where retrieve checks by C-MOVE receive the instance\n"
         "(the port the peers know for the calling AE title %1):")
          .arg(echo_.callingAeTitle()),
      echo_.listenPort() != 0 ? echo_.listenPort() : 11112, 1, 65535, 1, &ok);
  if (ok) echo_.setListenPort(static_cast<std::uint16_t>(port));
}

void MainWindow::selectRow(int row) {
  row = row >= 0 && row < model_.rowCount() ? row : -1;
  if (row >= 0 && table_->currentIndex().row() != row) {
    table_->setCurrentIndex(model_.index(row, 0));  // comes back here through currentRowChanged
    table_->selectRow(row);
    return;
  }
  editorRow_ = row;
  editor_->setEnabled(row >= 0);
  if (row >= 0) editor_->setNode(model_.nodes()[static_cast<std::size_t>(row)]);
  updateActions();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (!mayLeaveEditor()) {
    event->ignore();
    return;
  }
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
