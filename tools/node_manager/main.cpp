// telvor-node-manager: a window over a DICOM node catalogue.
//
//   telvor-node-manager nodes.plist
//   telvor-node-manager --settings ~/.config/Example/Viewer.conf --group DicomNodes
#include <QApplication>
#include <QCommandLineParser>
#include <cstdio>

#include "main_window.hpp"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("telvor-node-manager");
  QApplication::setApplicationVersion(TELVOR_VERSION_TEXT);

  QCommandLineParser parser;
  parser.setApplicationDescription("Edit and echo the DICOM nodes of a catalogue.");
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addPositionalArgument("catalogue", "A node catalogue: a property list (.plist) or JSON (.json) file.");
  const QCommandLineOption settings("settings", "Open the nodes kept in this QSettings INI file instead.", "ini-file");
  const QCommandLineOption group("group", "The settings group holding the nodes (default DicomNodes).", "group",
                                 "DicomNodes");
  const QCommandLineOption callingAe("calling-ae", "The AE title echoes call from (default TELVOR).", "aetitle",
                                     "TELVOR");
  const QCommandLineOption timeout("timeout", "Seconds each step of an echo may wait (default 5).", "seconds", "5");
  parser.addOptions({settings, group, callingAe, timeout});
  parser.process(app);

  telvor::node_manager::MainWindow window;
  window.echoRunner().setCallingAeTitle(parser.value(callingAe));
  bool ok = false;
  const double seconds = parser.value(timeout).toDouble(&ok);
  if (!ok || seconds <= 0 || seconds > 3600) {
    std::fputs("telvor-node-manager: --timeout takes a number of seconds above 0, at most 3600\n", stderr);
    return 2;
  }
  window.echoRunner().setTimeout(std::chrono::milliseconds(static_cast<long long>(seconds * 1000)));

  const QStringList paths = parser.positionalArguments();
  if (parser.isSet(settings))
    window.open(telvor::node_manager::openSettingsGroup(parser.value(settings), parser.value(group)));
  else if (!paths.isEmpty())
    window.open(telvor::node_manager::openCatalogueFile(paths.front()));
  window.show();
  return QApplication::exec();
}
