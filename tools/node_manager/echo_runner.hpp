// Probing nodes in the background: each node's probe (a C-ECHO, or its web service for
// a WADO node, as the DCMTK companion dispatches it) runs on a thread of a small pool,
// and each answer comes back to the window's thread as it arrives, so the window never
// waits for the network. Where asked, an answering DICOM node is also queried and one of
// its instances retrieved, as `telvor-nodes echo --check-find --check-retrieve` does; the
// storage listener of a C-MOVE check lives only as long as that node's check.
#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QStringList>
#include <chrono>
#include <cstdint>
#include <vector>

#include "telvor/node/dicom_node.hpp"
#include "telvor/qt/node_table_model.hpp"
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
  const QString& callingAeTitle() const noexcept { return callingAeTitle_; }
  void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }
  // Whether checks begun from now on also ask a C-FIND that matches nothing.
  void setCheckFind(bool on) { checkFind_ = on; }
  bool checkFind() const noexcept { return checkFind_; }
  // Whether checks begun from now on also retrieve one instance: by C-MOVE to this
  // computer's `listenPort` (which the peer must know for the calling AE title), by
  // C-GET for nodes retrieved so. The instance is discarded in memory.
  void setCheckRetrieve(bool on) { checkRetrieve_ = on; }
  bool checkRetrieve() const noexcept { return checkRetrieve_; }
  void setListenPort(std::uint16_t port) { listenPort_ = port; }
  std::uint16_t listenPort() const noexcept { return listenPort_; }
  // Addresses besides the peer's own that a moved instance is accepted from.
  void setAcceptFrom(QStringList addresses) { acceptFrom_ = std::move(addresses); }

  // Checks each node, at most four at a time, beside any checks already under way.
  // Does nothing when checking is unavailable.
  void check(const std::vector<DicomNode>& nodes);
  bool running() const noexcept { return pending_ > 0; }
  // Checks asked for and not yet answered.
  int pending() const noexcept { return pending_; }

 signals:
  // `node`, as it was when its check began, has the status `status` as of `checkedAt`;
  // `answers` holds the query and retrieve answers asked for.
  void answered(const telvor::DicomNode& node, const telvor::DicomNodeStatus& status, const QDateTime& checkedAt,
                const telvor::qt::NodeTableModel::CheckAnswers& answers);
  // Every check asked for has answered.
  void finished();

 private:
  void deliver(const DicomNode& node, const DicomNodeStatus& status, const qt::NodeTableModel::CheckAnswers& answers);

  QThreadPool pool_;
  QString callingAeTitle_ = QStringLiteral("TELVOR");
  std::chrono::milliseconds timeout_{5000};
  bool checkFind_ = false;
  bool checkRetrieve_ = false;
  std::uint16_t listenPort_ = 0;
  QStringList acceptFrom_;
  int pending_ = 0;
};

}  // namespace telvor::node_manager
