// The node manager's window: the node table with each node's checked status, the selected
// node's editor beside it, and the actions to open, add, remove, check and save.
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QTableView>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "echo_runner.hpp"
#include "node_source.hpp"
#include "telvor/qt/node_editor.hpp"
#include "telvor/qt/node_table_model.hpp"

namespace telvor::node_manager {

class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit MainWindow(QWidget* parent = nullptr);

  // Shows the source's nodes; false (and the reason in the message line) when it cannot
  // be read, and the window keeps what it showed.
  bool open(std::unique_ptr<NodeSource> source);
  // Stores the nodes; false with the reason shown when that fails.
  bool save();
  // Adds a node and selects it for editing.
  void addNode();
  // Removes the selected node once the user confirms it in a dialog.
  void removeSelectedNode();
  // Checks the selected node, or every node, in the background (with the query and
  // retrieve checks chosen in the Node menu, or set on echoRunner()).
  void testSelectedNode();
  void testAllNodes();
  // What tests ask besides the echo, as the Node menu's options do: a query, and a
  // retrieve (by C-MOVE to `listenPort`, kept when 0, or by C-GET).
  void setQueryCheck(bool on);
  void setRetrieveCheck(bool on, std::uint16_t listenPort = 0);

  qt::NodeTableModel& model() noexcept { return model_; }
  EchoRunner& echoRunner() noexcept { return echo_; }
  // The last message shown under the table.
  QString message() const { return message_->text(); }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void showMessage(const QString& text, bool problem = false);
  void setModified(bool modified);
  void selectRow(int row);
  void test(const std::vector<int>& rows);
  void onAnswer(const DicomNode& checked, const DicomNodeStatus& status, const QDateTime& at,
                const qt::NodeTableModel::CheckAnswers& answers);
  // Whether the editor may stop showing its node: input it refused would be lost, so the
  // user is asked first; on yes that input is dropped.
  bool mayLeaveEditor();
  void keepEditorRow();
  void askListenPort();
  void updateTitle();
  void updateActions();
  int currentRow() const;

  qt::NodeTableModel model_;
  std::unique_ptr<NodeSource> source_;
  std::vector<std::optional<std::size_t>> origins_;  // per row: the stored position, or new
  EchoRunner echo_;
  QTableView* table_;
  qt::NodeEditor* editor_;
  QProgressBar* progress_;
  QLabel* message_;
  QLabel* unsaved_;
  QAction* saveAction_;
  QAction* removeAction_;
  QAction* testAction_;
  QAction* testAllAction_;
  QAction* checkFindAction_;
  QAction* checkRetrieveAction_;
  QAction* listenPortAction_;
  int editorRow_ = -1;
  bool keepingRow_ = false;  // putting the table's selection back on the edited row
};

}  // namespace telvor::node_manager
