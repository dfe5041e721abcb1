// The node manager driven through its widgets, against real files, a real QSettings INI
// file and a real storescp on loopback.
#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QSpinBox>
#include <QCheckBox>
#include <QTimer>
#include <QProcess>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>
#include <fstream>
#include <sstream>

#include "main_window.hpp"
#include "telvor/json/json.hpp"
#include "telvor/plist/plist.hpp"
#include "telvor/qt/node_settings_store.hpp"
#include "telvor/qt/vocabulary_model.hpp"
#ifdef TELVOR_NODE_MANAGER_ECHO
#include "testing/local_peers.hpp"
#endif

using telvor::DicomNode;
using telvor::DicomNodeStatus;
using telvor::PropertyDictionary;
using telvor::PropertyValue;
using telvor::RetrieveModeType;
using telvor::node_manager::MainWindow;
using telvor::qt::NodeTableModel;

namespace {

std::string readFile(const QString& path) {
  std::ifstream in(path.toStdString(), std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void writeFile(const QString& path, const std::string& bytes) {
  std::ofstream(path.toStdString(), std::ios::binary) << bytes;
}

std::vector<PropertyDictionary> sampleDictionaries() {
  return telvor::plist::parse(readFile(TELVOR_SOURCE_DIR "/examples/nodes.plist")).dictionaries;
}

enum class Kind { plist, json, settings };

// The sample catalogue in one of the three stores, with another application's key on
// the second node; the source that opens it.
std::unique_ptr<telvor::node_manager::NodeSource> sampleSource(Kind kind, const QTemporaryDir& dir) {
  std::vector<PropertyDictionary> dictionaries = sampleDictionaries();
  dictionaries[1].setValue("org.example.note", PropertyValue::text("keep me"));
  switch (kind) {
    case Kind::plist: {
      const QString path = dir.filePath("nodes.plist");
      writeFile(path, telvor::plist::serialize(telvor::plist::PropertyListDocument{dictionaries, true}));
      return telvor::node_manager::openCatalogueFile(path);
    }
    case Kind::json: {
      boost::json::array array;
      for (const auto& dictionary : dictionaries) array.push_back(telvor::json::toDocument(DicomNode(dictionary)));
      array[1].as_object()["org.example.note"] = "keep me";
      const QString path = dir.filePath("nodes.json");
      writeFile(path, telvor::json::serialize(array));
      return telvor::node_manager::openCatalogueFile(path);
    }
    case Kind::settings: {
      const QString path = dir.filePath("viewer.ini");
      {
        QSettings settings(dir.filePath("written.ini"), QSettings::IniFormat);
        telvor::qt::NodeSettingsStore store(settings, "DicomNodes");
        for (const auto& dictionary : sampleDictionaries()) store.append(DicomNode(dictionary));
        settings.setValue("DicomNodes/2/org.example.note", "keep me");
      }
      QFile::copy(dir.filePath("written.ini"), path);  // a fresh read, not QSettings' cache
      return telvor::node_manager::openSettingsGroup(path, "DicomNodes");
    }
  }
  return nullptr;
}

// Whether the first stored node (the second until the first was removed) still carries
// the other application's key.
bool noteKept(Kind kind, const QTemporaryDir& dir) {
  switch (kind) {
    case Kind::plist: {
      const auto document = telvor::plist::parse(readFile(dir.filePath("nodes.plist")));
      return document.dictionaries[0].readString("org.example.note") == "keep me";
    }
    case Kind::json: {
      const QJsonArray array = QJsonDocument::fromJson(QByteArray::fromStdString(readFile(dir.filePath("nodes.json")))).array();
      return array[0].toObject().value("org.example.note").toString() == "keep me";
    }
    case Kind::settings:
      return QSettings(dir.filePath("viewer.ini"), QSettings::IniFormat).value("DicomNodes/1/org.example.note") ==
             "keep me";
  }
  return false;
}

template <class T>
T* child(MainWindow& window, const char* name) {
  T* found = window.findChild<T*>(name);
  if (found == nullptr) qFatal("no widget %s", name);
  return found;
}

// Picks the entry with the given title in one of the editor's pickers, as a user would.
void pick(MainWindow& window, const char* name, const QString& title) {
  auto* picker = child<QComboBox>(window, name);
  QVERIFY2(picker->findText(title) >= 0, qPrintable(title));
  picker->setCurrentIndex(picker->findText(title));
}

void pickRetrieveMode(MainWindow& window, const QString& title) { pick(window, "retrievePicker", title); }

void type(MainWindow& window, const char* name, const QString& text) {
  auto* edit = child<QLineEdit>(window, name);
  edit->setFocus();
  edit->selectAll();
  QTest::keyClick(edit, Qt::Key_Delete);
  QTest::keyClicks(edit, text);
  QTest::keyClick(edit, Qt::Key_Return);
}

// A property-list catalogue of `nodes` in `dir`; its path.
QString writeCatalogue(const QTemporaryDir& dir, const std::vector<DicomNode>& nodes) {
  std::vector<PropertyDictionary> dictionaries;
  for (const DicomNode& node : nodes) dictionaries.push_back(*node.toDictionary());
  const QString path = dir.filePath("local.plist");
  writeFile(path, telvor::plist::serialize(telvor::plist::PropertyListDocument{dictionaries, true}));
  return path;
}

DicomNode localNode(const char* name, const char* aetitle, std::uint16_t port,
                    RetrieveModeType mode = RetrieveModeType::cmove) {
  DicomNode node(port);
  node.name = name;
  node.aetitle = aetitle;
  node.address = "127.0.0.1";
  node.retrieveMode = mode;
  return node;
}

// Answers the next message box with `button` once it shows; whether one showed.
std::shared_ptr<bool> answerNextDialog(QMessageBox::StandardButton button) {
  auto shown = std::make_shared<bool>(false);
  QTimer::singleShot(0, [button, shown] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr) return;
    *shown = true;
    box->button(button)->click();
  });
  return shown;
}

}  // namespace

class WindowTest : public QObject {
  Q_OBJECT

 private slots:
  // Change the second node's retrieve mode in the picker, remove the first node, add one,
  // save; reopen: the edit and the new node are there, the other application's key too.
  void editAddRemoveSave_data() {
    QTest::addColumn<int>("kind");
    QTest::newRow("property list") << int(Kind::plist);
    QTest::newRow("JSON") << int(Kind::json);
    QTest::newRow("QSettings INI") << int(Kind::settings);
  }
  void editAddRemoveSave() {
    QFETCH(int, kind);
    QTemporaryDir dir;
    MainWindow window;
    QVERIFY2(window.open(sampleSource(Kind(kind), dir)), qPrintable(window.message()));
    const std::size_t count = sampleDictionaries().size();
    QCOMPARE(window.model().rowCount(), int(count));

    auto* table = child<QTableView>(window, "nodeTable");
    table->selectRow(1);
    const DicomNode second = window.model().nodes()[1];
    const QString newMode = second.retrieveMode == RetrieveModeType::cmove ? "CGET" : "CMOVE";
    pickRetrieveMode(window, newMode);
    QCOMPARE(window.model().index(1, NodeTableModel::retrieve).data().toString(), newMode);
    QVERIFY(window.isWindowModified());

    table->selectRow(0);
    const auto confirmed = answerNextDialog(QMessageBox::Yes);
    child<QAction>(window, "removeAction")->trigger();
    QVERIFY(*confirmed);
    child<QAction>(window, "addAction")->trigger();
    child<QAction>(window, "saveAction")->trigger();
    QVERIFY2(!window.isWindowModified(), qPrintable(window.message()));

    QVERIFY(noteKept(Kind(kind), dir));
    std::unique_ptr<telvor::node_manager::NodeSource> again =
        Kind(kind) == Kind::settings ? telvor::node_manager::openSettingsGroup(dir.filePath("viewer.ini"), "DicomNodes")
        : Kind(kind) == Kind::json   ? telvor::node_manager::openCatalogueFile(dir.filePath("nodes.json"))
                                     : telvor::node_manager::openCatalogueFile(dir.filePath("nodes.plist"));
    const std::vector<DicomNode> saved = again->load();
    QCOMPARE(saved.size(), count);
    QCOMPARE(saved[0].aetitle, second.aetitle);
    QCOMPARE(QString::fromUtf8(telvor::title(saved[0].retrieveMode).data()), newMode);
    QCOMPARE(saved.back().name, std::optional<std::string>("New node"));
  }

  // Another program saves the file while the window has it open: the window's save is
  // refused and that program's change survives.
  void saveRefusedAfterAnotherProgramsChange() {
    QTemporaryDir dir;
    MainWindow window;
    QVERIFY(window.open(sampleSource(Kind::plist, dir)));
    QProcess tool;
    tool.start(TELVOR_NODES_TOOL, {"set", "--index", "1", "--port", "4243", dir.filePath("nodes.plist")});
    QVERIFY(tool.waitForFinished(30000));
    QCOMPARE(tool.exitCode(), 0);
    const std::string theirs = readFile(dir.filePath("nodes.plist"));
    child<QTableView>(window, "nodeTable")->selectRow(2);
    pickRetrieveMode(window, "CMOVE");
    child<QAction>(window, "saveAction")->trigger();
    QVERIFY(window.isWindowModified());
    QVERIFY2(window.message().contains("changed by another program"), qPrintable(window.message()));
    QCOMPARE(readFile(dir.filePath("nodes.plist")), theirs);
  }

  // A refused port stays as typed in the editor, the node keeps its port and the window
  // says why; the file is not marked changed.
  void editorKeepsRefusedInput() {
    QTemporaryDir dir;
    MainWindow window;
    QVERIFY(window.open(sampleSource(Kind::plist, dir)));
    child<QTableView>(window, "nodeTable")->selectRow(0);
    const QString before = window.model().index(0, NodeTableModel::port).data().toString();
    type(window, "portEdit", "99999");
    QCOMPARE(child<QLineEdit>(window, "portEdit")->text(), QString("99999"));
    QCOMPARE(window.model().index(0, NodeTableModel::port).data().toString(), before);
    QVERIFY2(window.message().contains("99999"), qPrintable(window.message()));
    QVERIFY(!window.isWindowModified());
  }

  // Refused input is never dropped unasked: choosing another row (or adding a node) asks
  // first; Cancel keeps the row and the typed text, Discard moves on and the node is as it was.
  void refusedInputAsksBeforeItIsDropped() {
    QTemporaryDir dir;
    MainWindow window;
    QVERIFY(window.open(sampleSource(Kind::plist, dir)));
    auto* table = child<QTableView>(window, "nodeTable");
    table->selectRow(0);
    const DicomNode first = window.model().nodes()[0];
    type(window, "portEdit", "99999");
    const int rows = window.model().rowCount();

    const auto moved = [&](QMessageBox::StandardButton button) {
      table->selectRow(1);  // the question comes once the selection change is done with
      const auto shown = answerNextDialog(button);
      QTRY_VERIFY_WITH_TIMEOUT(*shown, 5000);
      QTest::qWait(20);
    };
    moved(QMessageBox::Cancel);
    QCOMPARE(table->currentIndex().row(), 0);
    QCOMPARE(child<QLineEdit>(window, "portEdit")->text(), QString("99999"));
    QVERIFY2(window.message().contains("Still editing"), qPrintable(window.message()));

    const auto asked = answerNextDialog(QMessageBox::Cancel);
    child<QAction>(window, "addAction")->trigger();
    QVERIFY(*asked);
    QCOMPARE(window.model().rowCount(), rows);
    QCOMPARE(child<QLineEdit>(window, "portEdit")->text(), QString("99999"));

    moved(QMessageBox::Discard);
    QCOMPARE(table->currentIndex().row(), 1);
    QCOMPARE(child<QLineEdit>(window, "portEdit")->text(),
             QString::fromStdString(window.model().nodes()[1].port.value_or("")));
    QVERIFY(window.model().nodes()[0] == first);
    QVERIFY(!window.isWindowModified());
  }

  // Delete in the table asks first: Cancel keeps the node, Yes removes it; Delete in an
  // editor field only deletes text.
  void deleteKeyAsksBeforeRemoving() {
    if (QGuiApplication::platformName() == "offscreen")
      QSKIP("key presses do not reach the window's shortcuts on the offscreen platform; "
            "telvor_node_manager_xvfb_test runs this on Xvfb");
    QTemporaryDir dir;
    MainWindow window;
    QVERIFY(window.open(sampleSource(Kind::plist, dir)));
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const int count = window.model().rowCount();
    auto* table = child<QTableView>(window, "nodeTable");
    table->selectRow(1);
    auto* name = child<QLineEdit>(window, "nameEdit");
    name->setFocus();
    QTest::keyClick(name, Qt::Key_Home);
    QTest::keyClick(window.windowHandle(), Qt::Key_Delete);
    QTest::keyClick(name, Qt::Key_Return);
    QCOMPARE(window.model().rowCount(), count);
    const QString second = window.model().index(1, NodeTableModel::name).data().toString();
    QCOMPARE(second, name->text());

    // Through the window, where shortcuts are looked up, with the focus in the table.
    table->setFocus();
    auto shown = answerNextDialog(QMessageBox::Cancel);
    QTest::keyClick(window.windowHandle(), Qt::Key_Delete);
    QVERIFY(*shown);
    QCOMPARE(window.model().rowCount(), count);
    shown = answerNextDialog(QMessageBox::Yes);
    QTest::keyClick(window.windowHandle(), Qt::Key_Delete);
    QVERIFY(*shown);
    QCOMPARE(window.model().rowCount(), count - 1);
    QVERIFY(window.isWindowModified());
    QVERIFY(child<QLabel>(window, "unsavedLabel")->isVisible());
    QVERIFY(window.message().contains(second));
  }

  // A web node with TLS made from nothing through the editor's widgets, saved, read back.
  void makesWadoNodeWithTlsFromScratch() {
    QTemporaryDir dir;
    const QString path = dir.filePath("nodes.plist");
    writeFile(path, telvor::plist::serialize(telvor::plist::PropertyListDocument{{}, true}));
    MainWindow window;
    QVERIFY2(window.open(telvor::node_manager::openCatalogueFile(path)), qPrintable(window.message()));
    child<QAction>(window, "addAction")->trigger();
    type(window, "nameEdit", "Web archive");
    type(window, "aetitleEdit", "WEBPACS");
    type(window, "addressEdit", "pacs.example.org");
    type(window, "portEdit", "4242");
    pickRetrieveMode(window, "WADO");
    type(window, "wadoUrlEdit", "https://pacs.example.org/dicom-web");
    child<QSpinBox>(window, "wadoPortSpin")->setValue(443);
    child<QCheckBox>(window, "wadoHttpsCheck")->click();
    type(window, "wadoUserEdit", "viewer");
    type(window, "wadoPasswordEdit", "s3cret");
    pick(window, "wadoSyntaxPicker", "JPEG 2000 Lossless");
    child<QCheckBox>(window, "tlsCheck")->click();
    pick(window, "tlsProfilePicker", "Profile 2");
    child<QCheckBox>(window, "verifyPeerCheck")->click();
    QVERIFY(window.isWindowModified());
    child<QAction>(window, "saveAction")->trigger();
    QVERIFY2(!window.isWindowModified(), qPrintable(window.message()));

    const std::vector<DicomNode> saved = telvor::node_manager::openCatalogueFile(path)->load();
    QCOMPARE(saved.size(), std::size_t{1});
    const DicomNode& node = saved[0];
    QCOMPARE(node.name, std::optional<std::string>("Web archive"));
    QCOMPARE(node.aetitle, std::optional<std::string>("WEBPACS"));
    QCOMPARE(node.port, std::optional<std::string>("4242"));
    QCOMPARE(node.retrieveMode, RetrieveModeType::wado);
    QCOMPARE(node.wadoSettings.url, std::optional<std::string>("https://pacs.example.org/dicom-web"));
    QCOMPARE(node.wadoSettings.port, std::optional<std::int64_t>(443));
    QVERIFY(node.wadoSettings.https);
    QCOMPARE(node.wadoSettings.username, std::optional<std::string>("viewer"));
    QCOMPARE(node.wadoSettings.password, std::optional<std::string>("s3cret"));
    QCOMPARE(node.wadoSettings.retrieveSyntax, telvor::SupportedWadoTransferSyntaxType::jpeg2000Lossless);
    QVERIFY(node.tlsSettings && node.tlsSettings->isEnabled && node.tlsSettings->verifyPeerCertificate);
    QCOMPARE(node.tlsSettings->securityProfile, telvor::TLSSecurityProfile::profile2);
  }

  // A file that is not a catalogue: the window says which and why, and shows nothing.
  void unreadableCatalogueIsReported() {
    QTemporaryDir dir;
    writeFile(dir.filePath("broken.plist"), "<plist><array><dict><key>Port</key></dict></array></plist>");
    MainWindow window;
    QVERIFY(!window.open(telvor::node_manager::openCatalogueFile(dir.filePath("broken.plist"))));
    QVERIFY2(window.message().contains("broken.plist"), qPrintable(window.message()));
    QCOMPARE(window.model().rowCount(), 0);
  }

  // Echo all against storescp on loopback and a port where nothing listens: the status
  // cells change as the answers arrive, while the event loop keeps running.
  void echoUpdatesStatusCells() {
#ifndef TELVOR_NODE_MANAGER_ECHO
    QSKIP("built without the DCMTK companion: no echo");
#else
    namespace peers = telvor::dcmtk::test_peers;
    if (peers::findProgram("storescp").empty()) QSKIP("storescp is not installed");
    peers::TempDir scratch;
    peers::ServerProcess scp({peers::findProgram("storescp"), "-od", scratch.path().string()},
                             scratch / "storescp.log");
    QVERIFY(scp.ready());
    QTemporaryDir dir;
    const QString catalogue = writeCatalogue(
        dir, {localNode("Listening", "STORESCP", scp.port()), localNode("Silent", "STORESCP", peers::freePort())});
    MainWindow window;
    window.echoRunner().setTimeout(std::chrono::seconds(5));
    QVERIFY(window.open(telvor::node_manager::openCatalogueFile(catalogue)));
    child<QAction>(window, "testAllAction")->trigger();
    QCOMPARE(window.model().index(0, NodeTableModel::status).data().toString(), QString("unknown"));
    QTRY_COMPARE_WITH_TIMEOUT(window.model().index(0, NodeTableModel::status).data().toString(), QString("online"),
                              20000);
    QTRY_COMPARE_WITH_TIMEOUT(window.model().index(1, NodeTableModel::status).data().toString(), QString("offline"),
                              20000);
    QVERIFY(!window.model().index(1, NodeTableModel::status).data(Qt::ToolTipRole).toString().isEmpty());
    QVERIFY(window.model().checkedAt(0).isValid());
    QVERIFY(!window.model().index(0, NodeTableModel::checked).data().toString().isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!window.echoRunner().running(), 20000);
    QVERIFY(!window.isWindowModified());  // statuses are not stored

    // The silent node moved to the listening port: its old status goes, a test finds it.
    child<QTableView>(window, "nodeTable")->selectRow(1);
    type(window, "portEdit", QString::number(scp.port()));
    QCOMPARE(window.model().index(1, NodeTableModel::status).data().toString(), QString("unknown"));
    QVERIFY(!window.model().checkedAt(1).isValid());
    child<QAction>(window, "testAction")->trigger();
    QTRY_COMPARE_WITH_TIMEOUT(window.model().index(1, NodeTableModel::status).data().toString(), QString("online"),
                              20000);
#endif
  }

  // The query and retrieve checks chosen in the Node menu reach dcmqrscp and their answers
  // the Query / retrieve column: none before they are chosen, yes where the archive holds
  // an instance (by C-MOVE to the window's listener, and by C-GET), unknown where it holds
  // none. The listener is closed once the checks are over.
  void queryAndRetrieveAnswersReachTheColumn() {
#ifndef TELVOR_NODE_MANAGER_ECHO
    QSKIP("built without the DCMTK companion: no checks");
#else
    namespace peers = telvor::dcmtk::test_peers;
    for (const char* program : {"dcmqrscp", "storescu", "dump2dcm"})
      if (peers::findProgram(program).empty()) QSKIP(qPrintable(QString("%1 is not installed (dcmtk)").arg(program)));
    peers::TempDir scratch;
    const std::uint16_t listenPort = peers::freePort();
    const auto instance = peers::makeTestInstance(scratch);
    QVERIFY(!instance.empty());
    const auto archive = peers::startArchive(scratch, "TELVOR", listenPort, instance);
    QVERIFY2(archive, "dcmqrscp did not start or take the instance (see its log in the scratch folder)");
    struct Row {
      DicomNode node;
      QString shown, told;  // the cell, and what its tooltip says
    };
    const std::vector<Row> expected{
        {localNode("By C-MOVE", "ARCHIVE", archive->port()), "yes / yes", "Query: yes\nRetrieve: yes"},
        {localNode("By C-GET", "ARCHIVE", archive->port(), RetrieveModeType::cget), "yes / yes",
         "Query: yes\nRetrieve: yes"},
        {localNode("Empty", "EMPTY", archive->port()), "yes / unknown", "Retrieve: unknown: "},
    };
    std::vector<DicomNode> nodes;
    for (const auto& row : expected) nodes.push_back(row.node);
    QTemporaryDir dir;
    MainWindow window;
    window.echoRunner().setTimeout(std::chrono::seconds(10));
    QVERIFY(window.open(telvor::node_manager::openCatalogueFile(writeCatalogue(dir, nodes))));
    const auto answersOf = [&](int row, int role = Qt::DisplayRole) {
      return window.model().index(row, NodeTableModel::answers).data(role).toString();
    };

    child<QAction>(window, "testAllAction")->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(!window.echoRunner().running(), 30000);
    for (int row = 0; row < int(expected.size()); ++row) {
      QCOMPARE(window.model().index(row, NodeTableModel::status).data().toString(), QString("online"));
      QVERIFY2(answersOf(row).isEmpty(), qPrintable(answersOf(row)));
    }

    window.echoRunner().setListenPort(listenPort);
    child<QAction>(window, "checkFindAction")->trigger();
    child<QAction>(window, "checkRetrieveAction")->trigger();
    child<QAction>(window, "testAllAction")->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(!window.echoRunner().running(), 60000);
    for (int row = 0; row < int(expected.size()); ++row) {
      const Row& want = expected[static_cast<std::size_t>(row)];
      QCOMPARE(answersOf(row), want.shown);
      const QString told = answersOf(row, Qt::ToolTipRole);
      // A reason follows where the answer is not plainly yes.
      QVERIFY2(want.told.endsWith(": ") ? told.contains(want.told) && !told.endsWith(want.told) : told == want.told,
               qPrintable(told));
    }
    QVERIFY(!peers::isListening(listenPort));
#endif
  }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
