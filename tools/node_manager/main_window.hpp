// The node manager's window: the node table, the selected node's form, and the actions
// to open, add, remove, echo and save.
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QTableView>
#include <memory>
#include <optional>
#include <vector>

#include "echo_runner.hpp"
#include "node_form.hpp"
#include "node_source.hpp"
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
  void addNode();
  void removeSelectedNode();
  void echoAll();

  qt::NodeTableModel& model() noexcept { return model_; }
  EchoRunner& echoRunner() noexcept { return echo_; }
  // The last message shown under the table.
  QString message() const { return message_->text(); }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void showMessage(const QString& text, bool problem = false);
  void selectRow(int row);
  void onAnswer(int position);
  void updateTitle();

  qt::NodeTableModel model_;
  std::unique_ptr<NodeSource> source_;
  std::vector<std::optional<std::size_t>> origins_;  // per row: the stored position, or new
  EchoRunner echo_;
  QTableView* table_;
  NodeForm* form_;
  QProgressBar* progress_;
  QLabel* message_;
  QAction* saveAction_;
  QAction* echoAction_;
};

}  // namespace telvor::node_manager
