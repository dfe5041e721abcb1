// Probing nodes in the background: each node's probe (a C-ECHO, or its web service for
// a WADO node, as the DCMTK companion dispatches it) runs on a thread of a small pool,
// and each answer comes back to the window's thread as it arrives, so the window never
// waits for the network.
#pragma once

#include <QObject>
#include <QString>
#include <QThreadPool>
#include <chrono>
#include <vector>

#include "telvor/node/dicom_node.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor::node_manager {

class EchoRunner : public QObject {
  Q_OBJECT

 public:
  explicit EchoRunner(QObject* parent = nullptr);
  // Waits for the echoes under way; each ends within its timeout.
  ~EchoRunner() override;

  // Whether this build can echo (the DCMTK companion was built).
  static bool available() noexcept;

  void setCallingAeTitle(QString aeTitle) { callingAeTitle_ = std::move(aeTitle); }
  void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }

  // Starts echoing every node, at most four at a time. Answers of an earlier run that
  // arrive later are dropped. Does nothing when echoing is unavailable.
  void start(std::vector<DicomNode> nodes);
  bool running() const noexcept { return pending_ > 0; }

  // The nodes of the current run, and the status of those that have answered.
  const std::vector<DicomNode>& echoed() const noexcept { return nodes_; }
  const DicomNodeStatus& result(int position) const { return results_.at(static_cast<std::size_t>(position)); }

 signals:
  // The node at `position` of echoed() has answered; its status is result(position).
  void answered(int position);
  void finished();

 private:
  void deliver(unsigned run, int position, DicomNodeStatus status);

  QThreadPool pool_;
  QString callingAeTitle_ = QStringLiteral("TELVOR");
  std::chrono::milliseconds timeout_{5000};
  std::vector<DicomNode> nodes_;
  std::vector<DicomNodeStatus> results_;
  unsigned run_ = 0;
  int pending_ = 0;
};

}  // namespace telvor::node_manager
