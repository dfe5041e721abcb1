// The node manager showing a site's directory read-only: the dialog's bind, the nodes of a
// real slapd in the table, and a save that is refused without touching the directory.
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include "directory_source.hpp"
#include "main_window.hpp"
#include "support/slapd.hpp"

using namespace telvor;
using namespace telvor::node_manager;

class DirectoryTest : public QObject {
  Q_OBJECT
 private slots:
  void dialogBindsOnlyWithADnAndOpensOnlyLdapUrls() {
    DirectoryDialog dialog;
    auto* url = dialog.findChild<QLineEdit*>("directoryUrl");
    auto* password = dialog.findChild<QLineEdit*>("directoryPassword");
    QPushButton* open = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open);
    QCOMPARE(password->echoMode(), QLineEdit::Password);
    url->setText("http://ldap.example.org/");
    QVERIFY(!open->isEnabled());
    url->setText("ldap://127.0.0.1:389/dc=example,dc=org");
    QVERIFY(open->isEnabled());
    password->setText("typed-by-mistake");
    QVERIFY(!dialog.access().bindDn);
    QVERIFY(dialog.access().password.empty());  // anonymous: the password is not sent
    dialog.findChild<QLineEdit*>("directoryBindDn")->setText("cn=admin,dc=example,dc=org");
    QCOMPARE(dialog.access().password, std::string("typed-by-mistake"));
  }

  void showsTheDirectorysNodesAndRefusesToSave() {
    const std::string device = "dicomDeviceName=pacs,cn=Devices,cn=DICOM Configuration,dc=example,dc=org";
    testing_support::Slapd server(
        "dn: cn=DICOM Configuration,dc=example,dc=org\nobjectClass: dicomConfigurationRoot\ncn: DICOM Configuration\n\n"
        "dn: cn=Devices,cn=DICOM Configuration,dc=example,dc=org\nobjectClass: dicomDevicesRoot\ncn: Devices\n\n"
        "dn: " + device + "\nobjectClass: dicomDevice\ndicomDeviceName: pacs\ndicomInstalled: TRUE\n\n"
        "dn: cn=dicom," + device + "\nobjectClass: dicomNetworkConnection\ncn: dicom\ndicomHostname: pacs.example.org\n"
        "dicomPort: 11112\n\n"
        "dn: dicomAETitle=PACS," + device + "\nobjectClass: dicomNetworkAE\ndicomAETitle: PACS\n"
        "dicomAssociationInitiator: TRUE\ndicomAssociationAcceptor: TRUE\ndicomDescription: Site archive\n"
        "dicomNetworkConnectionReference: cn=dicom," + device + "\n");
    if (!server.ready()) QSKIP(server.problem().c_str());
    ldap::DirectoryAccess access;
    access.url = server.url();
    MainWindow window;
    QVERIFY(window.open(openDirectory(access)));
    QCOMPARE(window.model().rowCount(), 1);
    QCOMPARE(window.model().nodes()[0].name, std::optional<std::string>("Site archive"));
    QVERIFY(!window.save());
    QVERIFY(window.message().contains("read-only"));
  }
};

QTEST_MAIN(DirectoryTest)
#include "directory_test.moc"
