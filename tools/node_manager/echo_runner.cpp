#include "echo_runner.hpp"

#include <QMetaObject>
#include <QPointer>

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

void EchoRunner::start(std::vector<DicomNode> nodes) {
  if (!available()) return;
  pool_.clear();  // echoes not yet begun belong to the previous run
  ++run_;
  nodes_ = std::move(nodes);
  results_.assign(nodes_.size(), DicomNodeStatus::unknown("Waiting for an answer"));
  pending_ = static_cast<int>(nodes_.size());
  if (pending_ == 0) {
    emit finished();
    return;
  }
#ifdef TELVOR_NODE_MANAGER_ECHO
  dcmtk::ProbeOptions options;
  options.callingAeTitle = callingAeTitle_.toStdString();
  options.timeout = timeout_;
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    pool_.start([this, options, node = nodes_[i], run = run_, position = static_cast<int>(i)] {
      DicomNodeStatus status = dcmtk::probe(node, options);
      // Back on the window's thread; dropped if this runner is gone by then.
      QMetaObject::invokeMethod(
          this, [this, run, position, status = std::move(status)] { deliver(run, position, status); },
          Qt::QueuedConnection);
    });
  }
#endif
}

void EchoRunner::deliver(unsigned run, int position, DicomNodeStatus status) {
  if (run != run_) return;
  results_[static_cast<std::size_t>(position)] = std::move(status);
  --pending_;
  emit answered(position);
  if (pending_ == 0) emit finished();
}

}  // namespace telvor::node_manager
