// An INI text opened with QSettings itself, which alone reads its escaping right: the text
// goes to a private temporary file, QSettings reads (and may rewrite) it, and the file's
// text comes back. Private to the CTK peer format.
#pragma once

#include <QSettings>
#include <QString>
#include <QTemporaryDir>
#include <optional>
#include <string>
#include <string_view>

namespace telvor::qt::detail {

class IniSettingsFile {
 public:
  // Opens `text` as QSettings' INI format. While the object lives, Qt's messages from this
  // thread go to this object instead of standard error; other threads' messages go to the
  // handler installed before (one file at a time: a process-wide lock).
  // Throws peers::PeerFormatError when QSettings cannot read the text as INI, and
  // std::runtime_error when no temporary file can be made.
  explicit IniSettingsFile(std::string_view text);
  ~IniSettingsFile();
  IniSettingsFile(const IniSettingsFile&) = delete;
  IniSettingsFile& operator=(const IniSettingsFile&) = delete;

  QSettings& settings() { return *settings_; }

  // Qt's first complaint since the file was opened (e.g. a value it could not decode), or empty.
  QString firstMessage() const;

  // Lets QSettings write its changes and returns the file's text. Throws std::runtime_error
  // when QSettings cannot write it.
  std::string text();

 private:
  QTemporaryDir dir_;
  QString path_;
  std::optional<QSettings> settings_;
};

}  // namespace telvor::qt::detail
