#include "echo_runner.hpp"

#include <QMetaObject>
#include <optional>
#include <string_view>

#ifdef TELVOR_NODE_MANAGER_ECHO
#include "telvor/dcmtk/node_probe.hpp"
#endif

namespace telvor::node_manager {

#ifdef TELVOR_NODE_MANAGER_ECHO
namespace {

template <class Answer>
std::optional<qt::NodeTableModel::Answer> shown(const std::optional<Answer>& answer) {
  if (!answer) return std::nullopt;
  const std::string_view title = dcmtk::title(answer->outcome);
  return qt::NodeTableModel::Answer{QString::fromUtf8(title.data(), static_cast<qsizetype>(title.size())),
                                    QString::fromStdString(answer->reason)};
}

}  // namespace
#endif

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
  options.checkFind = checkFind_;
  options.checkRetrieve = checkRetrieve_;
  options.listenPort = listenPort_;
  for (const QString& address : acceptFrom_) options.acceptFrom.push_back(address.toStdString());
  for (const DicomNode& node : nodes) {
    pool_.start([this, options, node] {
      const dcmtk::EchoResult result = dcmtk::echoNode(node, options);
      qt::NodeTableModel::CheckAnswers answers{shown(result.query), shown(result.retrieve)};
      // Back on the window's thread. The destructor waits for this task, so `this` lives.
      QMetaObject::invokeMethod(
          this,
          [this, node, status = dcmtk::toStatus(result), answers = std::move(answers)] {
            deliver(node, status, answers);
          },
          Qt::QueuedConnection);
    });
  }
#endif
}

void EchoRunner::deliver(const DicomNode& node, const DicomNodeStatus& status,
                         const qt::NodeTableModel::CheckAnswers& answers) {
  --pending_;
  emit answered(node, status, QDateTime::currentDateTime(), answers);
  if (pending_ == 0) emit finished();
}

}  // namespace telvor::node_manager
