// Probing nodes in the background: each node's probe (a C-ECHO, or its web service for
// a WADO node, as the DCMTK companion dispatches it) runs on a thread of a small pool,
// and each answer comes back to the window's thread as it arrives, so the window never
// waits for the network.
#pragma once

#include <QDateTime>
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
  // Drops the checks not yet begun and waits for those under way; each ends within its
  // timeout.
  ~EchoRunner() override;

  // Whether this build can check nodes (the DCMTK companion was built).
  static bool available() noexcept;

  void setCallingAeTitle(QString aeTitle) { callingAeTitle_ = std::move(aeTitle); }
  void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }

  // Checks each node, at most four at a time, beside any checks already under way.
  // Does nothing when checking is unavailable.
  void check(const std::vector<DicomNode>& nodes);
  bool running() const noexcept { return pending_ > 0; }
  // Checks asked for and not yet answered.
  int pending() const noexcept { return pending_; }

 signals:
  // `node`, as it was when its check began, has the status `status` as of `checkedAt`.
  void answered(const telvor::DicomNode& node, const telvor::DicomNodeStatus& status, const QDateTime& checkedAt);
  // Every check asked for has answered.
  void finished();

 private:
  void deliver(const DicomNode& node, const DicomNodeStatus& status);

  QThreadPool pool_;
  QString callingAeTitle_ = QStringLiteral("TELVOR");
  std::chrono::milliseconds timeout_{5000};
  int pending_ = 0;
};

}  // namespace telvor::node_manager
