#include "ini_settings_file.hpp"

#include <QFile>
#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "telvor/peers/peer_list.hpp"

namespace telvor::qt::detail {
namespace {

// Qt reports what it could not decode through its message handler; a library must not
// print, so while a file is open its messages are kept here.
std::mutex gOpenFile;
QString gFirstMessage;
std::atomic<QtMessageHandler> gPrevious = nullptr;
std::atomic<std::thread::id> gOwner;  // the thread that opened the file: other threads' messages pass on

void keepMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (std::this_thread::get_id() != gOwner) {
    if (const QtMessageHandler previous = gPrevious) previous(type, context, message);
    return;
  }
  if (gFirstMessage.isEmpty()) gFirstMessage = message;
}

}  // namespace

IniSettingsFile::IniSettingsFile(std::string_view text) {
  gOpenFile.lock();
  gOwner = std::this_thread::get_id();
  gFirstMessage.clear();
  gPrevious = qInstallMessageHandler(keepMessage);
  try {
    if (!dir_.isValid()) throw std::runtime_error("cannot make a temporary folder: " + dir_.errorString().toStdString());
    path_ = dir_.filePath(QStringLiteral("settings.ini"));
    QFile file(path_);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size()) || !file.flush())
      throw std::runtime_error("cannot write a temporary file: " + file.errorString().toStdString());
    file.close();
    settings_.emplace(path_, QSettings::IniFormat);
    if (settings_->status() != QSettings::NoError)
      throw peers::PeerFormatError("the settings file", "QSettings cannot read it as INI (an unclosed [section]?)");
  } catch (...) {
    qInstallMessageHandler(gPrevious);
    gOpenFile.unlock();
    throw;
  }
}

IniSettingsFile::~IniSettingsFile() {
  settings_.reset();
  qInstallMessageHandler(gPrevious);
  gOpenFile.unlock();
}

QString IniSettingsFile::firstMessage() const { return gFirstMessage; }

std::string IniSettingsFile::text() {
  settings_->sync();
  if (settings_->status() != QSettings::NoError) throw std::runtime_error("QSettings could not write the settings");
  QFile file(path_);
  if (!file.open(QIODevice::ReadOnly))
    throw std::runtime_error("cannot read back a temporary file: " + file.errorString().toStdString());
  return file.readAll().toStdString();
}

}  // namespace telvor::qt::detail
