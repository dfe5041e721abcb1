// The node editor driven through its widgets as a user would: typing, picking, checking.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <QSpinBox>
#include <QtTest>

#include "telvor/node/node_validation.hpp"
#include "telvor/qt/node_editor.hpp"
#include "telvor/qt/vocabulary_model.hpp"

using telvor::DicomNode;
using telvor::qt::NodeEditor;

namespace {

template <class T>
T* child(NodeEditor& editor, const char* name) {
  T* found = editor.findChild<T*>(name);
  if (found == nullptr) qFatal("no widget %s", name);
  return found;
}

void type(NodeEditor& editor, const char* name, const QString& text) {
  auto* edit = child<QLineEdit>(editor, name);
  edit->selectAll();
  QTest::keyClick(edit, Qt::Key_Delete);
  QTest::keyClicks(edit, text);
  QTest::keyClick(edit, Qt::Key_Return);
}

void pick(NodeEditor& editor, const char* name, qint64 code) {
  auto* box = child<QComboBox>(editor, name);
  box->setCurrentIndex(box->findData(code, telvor::qt::VocabularyModel::CodeRole));
}

// Every field away from its default.
DicomNode populated() {
  DicomNode node(4242);
  node.aetitle = "WEBPACS";
  node.name = "Web archive";
  node.address = "pacs.example.org";
  node.transferSyntax = telvor::TransferSyntax::EXS_JPEG2000;
  node.retrieveMode = telvor::RetrieveModeType::wado;
  node.isDicomNode = false;
  node.isQueryable = false;
  node.icon = "server.rack";
  node.wadoSettings.url = "https://pacs.example.org/dicom-web";
  node.wadoSettings.port = 8443;
  node.wadoSettings.https = true;
  node.wadoSettings.username = "viewer";
  node.wadoSettings.password = "s3cret";
  node.wadoSettings.retrieveSyntax = telvor::SupportedWadoTransferSyntaxType::jpeg2000LSLossyLowQuality;
  node.tlsSettings->isEnabled = true;
  node.tlsSettings->securityProfile = telvor::TLSSecurityProfile::profile4;
  node.tlsSettings->verifyPeerCertificate = true;
  node.tlsSettings->authenticateWithCertificate = true;
  return node;
}

// The message telvor::validate gives for a node with one field changed.
QString validationMessage(void (*change)(DicomNode&)) {
  DicomNode node = populated();
  change(node);
  const auto problems = telvor::validate(node);
  return problems.empty() ? QString() : QString::fromStdString(problems.front().message);
}

}  // namespace

class NodeEditorTest : public QObject {
  Q_OBJECT

 private slots:
  // Shown unedited, every node comes back equal, absences included; nothing is emitted.
  void unEditedNodeComesBackEqual_data() {
    QTest::addColumn<int>("which");
    QTest::newRow("fully populated") << 0;
    QTest::newRow("every optional absent") << 1;
    QTest::newRow("out-of-range WADO port, invalid AE title") << 2;
  }
  void unEditedNodeComesBackEqual() {
    QFETCH(int, which);
    DicomNode node = populated();
    if (which == 1) {
      node = DicomNode();
      node.uniqueId.reset();
      node.tlsSettings.reset();
    } else if (which == 2) {
      node.wadoSettings.port = 700000;
      node.aetitle = "has\\backslash";
    }
    NodeEditor editor;
    QSignalSpy edited(&editor, &NodeEditor::edited);
    editor.setNode(node);
    QVERIFY(editor.node() == node);
    QCOMPARE(edited.count(), 0);
    QVERIFY(!editor.hasRefusedInput());
    // An unrelated edit leaves the absent fields absent.
    type(editor, "iconEdit", "folder");
    DicomNode expected = node;
    expected.icon = "folder";
    QVERIFY(editor.node() == expected);
    QVERIFY(edited.count() > 0);
  }

  // A new node made into the fully populated one through the widgets alone, and the
  // populated one shown: every value on screen, the password masked.
  void populatedThroughWidgets() {
    const DicomNode target = populated();
    DicomNode start;
    start.uniqueId = target.uniqueId;
    NodeEditor editor;
    editor.setApplicationIdentifier("org.example.viewer");
    editor.setNode(start);
    QVERIFY(child<QGroupBox>(editor, "wadoGroup")->isHidden());
    type(editor, "nameEdit", "Web archive");
    type(editor, "aetitleEdit", "WEBPACS");
    type(editor, "addressEdit", "pacs.example.org");
    type(editor, "portEdit", "4242");
    type(editor, "iconEdit", "server.rack");
    child<QCheckBox>(editor, "dicomNodeCheck")->click();
    child<QCheckBox>(editor, "queryableCheck")->setCheckState(Qt::Unchecked);
    pick(editor, "transferSyntaxPicker", telvor::rawValue(target.transferSyntax));
    pick(editor, "retrievePicker", telvor::rawValue(target.retrieveMode));
    QVERIFY(!child<QGroupBox>(editor, "wadoGroup")->isHidden());
    type(editor, "wadoUrlEdit", "https://pacs.example.org/dicom-web");
    child<QSpinBox>(editor, "wadoPortSpin")->setValue(8443);
    child<QCheckBox>(editor, "wadoHttpsCheck")->click();
    type(editor, "wadoUserEdit", "viewer");
    type(editor, "wadoPasswordEdit", "s3cret");
    pick(editor, "wadoSyntaxPicker", telvor::rawValue(target.wadoSettings.retrieveSyntax));
    child<QCheckBox>(editor, "tlsCheck")->click();
    pick(editor, "tlsProfilePicker", 4);
    child<QCheckBox>(editor, "verifyPeerCheck")->click();
    child<QCheckBox>(editor, "authenticateCheck")->click();
    QVERIFY2(editor.problems().isEmpty(), qPrintable(editor.problems().join('\n')));
    QVERIFY(editor.node() == target);
    QCOMPARE(child<QLineEdit>(editor, "certificateIdEdit")->text(),
             QString("org.example.viewer.dicomtlsclient.pacs.example.org.4242.WEBPACS"));

    NodeEditor shown;
    shown.setNode(target);
    QCOMPARE(child<QLineEdit>(shown, "aetitleEdit")->text(), QString("WEBPACS"));
    QCOMPARE(child<QSpinBox>(shown, "wadoPortSpin")->value(), 8443);
    QCOMPARE(child<QComboBox>(shown, "wadoSyntaxPicker")->currentText(), QString("JPEG LS Lossy - Low Quality"));
    QCOMPARE(child<QComboBox>(shown, "tlsProfilePicker")->currentText(), QString("Profile 4"));
    QCOMPARE(child<QCheckBox>(shown, "queryableCheck")->checkState(), Qt::Unchecked);
    QCOMPARE(child<QLineEdit>(shown, "wadoPasswordEdit")->echoMode(), QLineEdit::Password);
  }

  // Each picker offers its vocabulary's cases, in declaration order, under their titles.
  void pickersListEveryCaseInOrder() {
    NodeEditor editor;
    const auto check = [&](const char* name, auto cases, auto label) {
      auto* box = child<QComboBox>(editor, name);
      QCOMPARE(box->count(), static_cast<int>(cases.size()));
      for (int row = 0; row < box->count(); ++row) {
        const auto value = cases[static_cast<std::size_t>(row)];
        QCOMPARE(box->itemData(row, telvor::qt::VocabularyModel::CodeRole).toLongLong(), telvor::rawValue(value));
        QCOMPARE(box->itemText(row), label(value));
      }
    };
    const auto titled = [](auto value) { return QString::fromUtf8(telvor::title(value).data()); };
    check("retrievePicker", telvor::allCases<telvor::RetrieveModeType>(), titled);
    check("transferSyntaxPicker", telvor::allCases<telvor::TransferSyntax>(), titled);
    check("wadoSyntaxPicker", telvor::allCases<telvor::SupportedWadoTransferSyntaxType>(), titled);
    check("tlsProfilePicker", telvor::allCases<telvor::TLSSecurityProfile>(),
          [](auto value) { return QString("Profile %1").arg(telvor::rawValue(value)); });
  }

  // Refused input stays in its widget, marked with the validation's own words, and does
  // not reach node(); a valid value then replaces it.
  void invalidInputKeptAndRefused_data() {
    QTest::addColumn<QString>("widget");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("valid");
    QTest::newRow("port out of range") << "portEdit" << "99999"
        << validationMessage([](DicomNode& n) { n.port = "99999"; }) << "11112";
    QTest::newRow("AE title too long") << "aetitleEdit" << "ARCHIVE_OF_THE_NORTH"
        << validationMessage([](DicomNode& n) { n.aetitle = "ARCHIVE_OF_THE_NORTH"; }) << "NORTH";
    QTest::newRow("address with a port") << "addressEdit" << "pacs.example.org:104"
        << validationMessage([](DicomNode& n) { n.address = "pacs.example.org:104"; }) << "10.0.0.5";
    QTest::newRow("WADO URL cleared") << "wadoUrlEdit" << ""
        << validationMessage([](DicomNode& n) { n.wadoSettings.url.reset(); }) << "https://10.0.0.5/wado";
    QTest::newRow("empty name") << "nameEdit" << "  " << "The name is empty: give the node a name to show in lists."
        << "Renamed";
  }
  void invalidInputKeptAndRefused() {
    QFETCH(QString, widget);
    QFETCH(QString, typed);
    QFETCH(QString, reason);
    QFETCH(QString, valid);
    QVERIFY(!reason.isEmpty());
    const DicomNode node = populated();
    NodeEditor editor;
    editor.setNode(node);
    QSignalSpy edited(&editor, &NodeEditor::edited);
    const QByteArray name = widget.toUtf8();
    type(editor, name.constData(), typed);
    auto* edit = child<QLineEdit>(editor, name.constData());
    QCOMPARE(edit->text(), typed);
    QVERIFY(edit->property("invalid").toBool());
    QCOMPARE(edit->toolTip(), reason);
    QVERIFY(editor.hasRefusedInput());
    QVERIFY(editor.problems().contains(reason));
    QVERIFY(editor.node() == node);

    type(editor, name.constData(), valid);
    QVERIFY(!edit->property("invalid").toBool());
    QVERIFY(!editor.hasRefusedInput());
    QVERIFY(!(editor.node() == node));
    QVERIFY(edited.count() >= 1);
  }

  // WADO picked before a URL exists: the mode waits for the URL, the URL field says why.
  void wadoWaitsForItsUrl() {
    DicomNode node(104);
    node.name = "Archive";
    node.aetitle = "ARCHIVE";
    node.address = "10.0.0.5";
    NodeEditor editor;
    editor.setNode(node);
    pick(editor, "retrievePicker", telvor::rawValue(telvor::RetrieveModeType::wado));
    QCOMPARE(editor.node().retrieveMode, node.retrieveMode);
    QVERIFY(child<QLineEdit>(editor, "wadoUrlEdit")->property("invalid").toBool());
    QVERIFY(child<QLineEdit>(editor, "wadoUrlEdit")->isVisibleTo(&editor));
    type(editor, "wadoUrlEdit", "http://10.0.0.5:8042/wado");
    QCOMPARE(editor.node().retrieveMode, telvor::RetrieveModeType::wado);
    QCOMPARE(editor.node().wadoSettings.url, std::optional<std::string>("http://10.0.0.5:8042/wado"));
    QVERIFY(editor.problems().isEmpty());
  }
};

QTEST_MAIN(NodeEditorTest)
#include "node_editor_test.moc"
