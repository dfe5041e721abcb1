// Keeps a node in QSettings and reads it back, draws its status symbol, and shows a web
// node in the ready-made editor, finding each of its values on screen.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSettings>
#include <QSpinBox>
#include <QTemporaryDir>
#include <cstdio>

#include "telvor/qt/node_editor.hpp"
#include "telvor/qt/node_settings_store.hpp"
#include "telvor/qt/presentation.hpp"
#include "telvor/qt/vocabulary_model.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"

namespace {

int failures = 0;

void expect(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "not on screen: %s\n", what);
    ++failures;
  }
}

template <class T>
T* find(const QWidget& editor, const char* name) {
  T* widget = editor.findChild<T*>(name);
  expect(widget != nullptr, name);
  return widget;
}

bool shows(const QWidget& editor, const char* name, const QString& text) {
  const auto* edit = find<QLineEdit>(editor, name);
  return edit != nullptr && edit->text() == text;
}

bool picked(const QWidget& editor, const char* name, const QString& title) {
  const auto* box = find<QComboBox>(editor, name);
  return box != nullptr && box->currentText() == title;
}

bool checked(const QWidget& editor, const char* name, Qt::CheckState state) {
  const auto* box = find<QCheckBox>(editor, name);
  return box != nullptr && box->checkState() == state;
}

// A web node with every field away from its default.
telvor::DicomNode webNode() {
  telvor::DicomNode node(4242);
  node.aetitle = "WEBPACS";
  node.name = "Web archive";
  node.address = "pacs.example.org";
  node.icon = "server.rack";
  node.isDicomNode = false;
  node.isQueryable = true;
  node.transferSyntax = telvor::TransferSyntax::EXS_JPEG2000;
  node.retrieveMode = telvor::RetrieveModeType::wado;
  node.wadoSettings.url = "https://pacs.example.org/dicom-web";
  node.wadoSettings.port = 8443;
  node.wadoSettings.https = true;
  node.wadoSettings.username = "viewer";
  node.wadoSettings.password = "s3cret";
  node.wadoSettings.retrieveSyntax = telvor::SupportedWadoTransferSyntaxType::jpeg2000Lossless;
  node.tlsSettings->isEnabled = true;
  node.tlsSettings->securityProfile = telvor::TLSSecurityProfile::profile3;
  node.tlsSettings->verifyPeerCertificate = true;
  node.tlsSettings->authenticateWithCertificate = true;
  return node;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QTemporaryDir dir;
  QSettings settings(dir.filePath("viewer.ini"), QSettings::IniFormat);
  telvor::qt::NodeSettingsStore store(settings, "DicomNodes");

  telvor::DicomNode node(104);
  node.aetitle = "ARCHIVE";
  node.name = "Main archive";
  node.address = "192.0.2.10";
  store.append(node);
  node.port = "11112";
  store.update(0, node);

  const telvor::DicomNode back = store.nodes().at(0);
  const QIcon icon = telvor::qt::statusIcon(telvor::DicomNodeStatus::accessable());
  const telvor::qt::VocabularyModel* modes = telvor::qt::VocabularyModel::of<telvor::RetrieveModeType>();
  std::printf("%s at %s:%s, %d retrieve modes, status icon %s\n", back.aetitle->c_str(), back.address->c_str(),
              back.port->c_str(), modes->rowCount(), icon.isNull() ? "missing" : "drawn");
  delete modes;
  expect(back.port == "11112", "the stored port");
  expect(!icon.isNull(), "the status icon");

  const telvor::DicomNode web = webNode();
  telvor::qt::NodeEditor editor;
  editor.setApplicationIdentifier("org.example.viewer");
  editor.setNode(web);
  editor.show();
  expect(shows(editor, "nameEdit", "Web archive"), "name");
  expect(shows(editor, "aetitleEdit", "WEBPACS"), "AE title");
  expect(shows(editor, "addressEdit", "pacs.example.org"), "address");
  expect(shows(editor, "portEdit", "4242"), "port");
  expect(shows(editor, "iconEdit", "server.rack"), "icon");
  expect(checked(editor, "dicomNodeCheck", Qt::Unchecked), "DICOM node flag");
  expect(checked(editor, "queryableCheck", Qt::Checked), "queryable flag");
  expect(picked(editor, "retrievePicker", "WADO"), "retrieve mode");
  expect(picked(editor, "transferSyntaxPicker", "JPEG 2000 (lossless or lossy)"), "transfer syntax");
  expect(checked(editor, "tlsCheck", Qt::Checked), "TLS on");
  expect(picked(editor, "tlsProfilePicker", "Profile 3"), "TLS profile");
  expect(checked(editor, "verifyPeerCheck", Qt::Checked), "verify peer");
  expect(checked(editor, "authenticateCheck", Qt::Checked), "authenticate with a certificate");
  expect(shows(editor, "certificateIdEdit", "org.example.viewer.dicomtlsclient.pacs.example.org.4242.WEBPACS"),
         "certificate identifier");
  expect(find<QWidget>(editor, "wadoGroup") && find<QWidget>(editor, "wadoGroup")->isVisible(), "WADO group");
  expect(shows(editor, "wadoUrlEdit", "https://pacs.example.org/dicom-web"), "WADO URL");
  const auto* wadoPort = find<QSpinBox>(editor, "wadoPortSpin");
  expect(wadoPort && wadoPort->value() == 8443, "WADO port");
  expect(checked(editor, "wadoHttpsCheck", Qt::Checked), "HTTPS");
  expect(shows(editor, "wadoUserEdit", "viewer"), "WADO user name");
  const auto* password = find<QLineEdit>(editor, "wadoPasswordEdit");
  expect(password && password->text() == "s3cret" && password->echoMode() == QLineEdit::Password &&
             password->displayText() != "s3cret",
         "masked WADO password");
  expect(picked(editor, "wadoSyntaxPicker", "JPEG 2000 Lossless"), "WADO retrieve syntax");
  expect(editor.node() == web, "node() equal to the node shown");
  std::printf("node editor: %s\n", failures == 0 ? "every value of the web node on screen" : "values missing");
  return failures == 0 ? 0 : 1;
}
