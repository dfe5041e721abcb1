// telvor-node-manager: a window over a DICOM node catalogue.
//
//   telvor-node-manager nodes.plist
//   telvor-node-manager --settings ~/.config/Example/Viewer.conf --group DicomNodes
//   telvor-node-manager --test-all --screenshot window.png nodes.plist
//   telvor-node-manager --check-find --check-retrieve --listen-port 11112 nodes.plist
#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QTimer>
#include <cstdio>

#include "main_window.hpp"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("telvor-node-manager");
  QApplication::setApplicationVersion(TELVOR_VERSION_TEXT);
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/telvor/node-manager/telvor-node-manager.svg")));

  QCommandLineParser parser;
  parser.setApplicationDescription("Edit and check the DICOM nodes of a catalogue.");
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addPositionalArgument("catalogue", "A node catalogue: a property list (.plist) or JSON (.json) file.");
  const QCommandLineOption settings("settings", "Open the nodes kept in this QSettings INI file instead.", "ini-file");
  const QCommandLineOption group("group", "The settings group holding the nodes (default DicomNodes).", "group",
                                 "DicomNodes");
  const QCommandLineOption callingAe("calling-ae", "The AE title checks call from (default TELVOR).", "aetitle",
                                     "TELVOR");
  const QCommandLineOption timeout("timeout", "Seconds each check may wait (default 5).", "seconds", "5");
  const QCommandLineOption testAll("test-all", "Check every node once the catalogue is open.");
  const QCommandLineOption screenshot(
      "screenshot", "Write a picture of the window to this PNG file and quit (after the checks of --test-all).", "png");
  const QCommandLineOption checkFind("check-find", "Tests also ask each answering node a query (C-FIND).");
  const QCommandLineOption checkRetrieve(
      "check-retrieve", "Tests also retrieve one instance from each answering node (C-MOVE to --listen-port, or C-GET).");
  const QCommandLineOption listenPort(
      "listen-port", "Port of this computer's storage listener for C-MOVE retrieve checks (the port the peers know "
                     "for --calling-ae).", "port");
  const QCommandLineOption acceptFrom(
      "accept-from", "Also accept a moved instance from this address (archives that send from another host); "
                     "repeatable.", "host");
  parser.addOptions({settings, group, callingAe, timeout, testAll, screenshot, checkFind, checkRetrieve, listenPort,
                     acceptFrom});
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
  int port = 0;
  if (parser.isSet(listenPort)) {
    port = parser.value(listenPort).toInt(&ok);
    if (!ok || port < 1 || port > 65535) {
      std::fputs("telvor-node-manager: --listen-port takes a port from 1 to 65535\n", stderr);
      return 2;
    }
  }
  window.echoRunner().setAcceptFrom(parser.values(acceptFrom));
  window.setQueryCheck(parser.isSet(checkFind));
  window.setRetrieveCheck(parser.isSet(checkRetrieve), static_cast<std::uint16_t>(port));

  const QStringList paths = parser.positionalArguments();
  bool opened = true;
  if (parser.isSet(settings))
    opened = window.open(telvor::node_manager::openSettingsGroup(parser.value(settings), parser.value(group)));
  else if (!paths.isEmpty())
    opened = window.open(telvor::node_manager::openCatalogueFile(paths.front()));
  window.show();

  if (parser.isSet(screenshot)) {
    if (!opened) {
      std::fprintf(stderr, "telvor-node-manager: %s\n", qPrintable(window.message()));
      return 3;
    }
    const QString path = parser.value(screenshot);
    const auto take = [&window, path] {
      // Let the last answers paint first.
      QTimer::singleShot(300, &window, [&window, path] {
        const bool saved = window.grab().save(path, "PNG");
        if (!saved) std::fprintf(stderr, "telvor-node-manager: cannot write %s\n", qPrintable(path));
        QApplication::exit(saved ? 0 : 3);
      });
    };
    if (parser.isSet(testAll) && window.model().rowCount() > 0 && telvor::node_manager::EchoRunner::available())
      QObject::connect(&window.echoRunner(), &telvor::node_manager::EchoRunner::finished, &window, take);
    else
      take();
  }
  if (parser.isSet(testAll)) window.testAllNodes();
  return QApplication::exec();
}
