#include "echo_runner.hpp"

#include <QMetaObject>

#ifdef TELVOR_NODE_MANAGER_ECHO
#include "telvor/dcmtk/node_probe.hpp"
#endif

namespace telvor::node_manager {

EchoRunner::EchoRunner(QObject* parent) : QObject(parent) { pool_.setMaxThreadCount(4); }

EchoRunner::~EchoRunner() {
  pool_.clear();
  pool_.waitForDone();
}

bool EchoRunner::available() noexcept {
#ifdef TELVOR_NODE_MANAGER_ECHO
  return true;
#else
  return false;
#endif
}

void EchoRunner::check(const std::vector<DicomNode>& nodes) {
  if (!available() || nodes.empty()) return;
  pending_ += static_cast<int>(nodes.size());
#ifdef TELVOR_NODE_MANAGER_ECHO
  dcmtk::ProbeOptions options;
  options.callingAeTitle = callingAeTitle_.toStdString();
  options.timeout = timeout_;
  for (const DicomNode& node : nodes) {
    pool_.start([this, options, node] {
      DicomNodeStatus status = dcmtk::probe(node, options);
      // Back on the window's thread. The destructor waits for this task, so `this` lives.
      QMetaObject::invokeMethod(
          this, [this, node, status = std::move(status)] { deliver(node, status); }, Qt::QueuedConnection);
    });
  }
#endif
}

void EchoRunner::deliver(const DicomNode& node, const DicomNodeStatus& status) {
  --pending_;
  emit answered(node, status, QDateTime::currentDateTime());
  if (pending_ == 0) emit finished();
}

}  // namespace telvor::node_manager
