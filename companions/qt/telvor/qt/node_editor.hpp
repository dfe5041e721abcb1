// A ready-made editor for every field of one DICOM node, for a viewer's "locations"
// preferences pane.
//
//   auto* editor = new telvor::qt::NodeEditor(pane);
//   editor->setApplicationIdentifier("org.example.viewer");   // for the certificate line
//   editor->setNode(store.nodes().at(0));
//   QObject::connect(editor, &telvor::qt::NodeEditor::edited, pane, [=] {
//     store.update(0, editor->node());                        // always a node the user confirmed
//   });
//   if (editor->hasRefusedInput()) statusLabel->setText(editor->problems().join('\n'));
//
// Identity (name, AE title, address, port, icon, DICOM node and queryable flags), the
// retrieve mode and transfer syntax pickers, a TLS group (on/off, security profile,
// verify peer, authenticate with a certificate, and the read-only certificate identifier
// the node will use) and a WADO group (URL, port, HTTPS, user name, masked password,
// retrieve syntax), shown while the retrieve mode is WADO. Pickers list their
// vocabulary's cases in declaration order under their titles; the TLS profiles, which
// have none, read "Profile 0" to "Profile 5".
//
// A text field is taken when the user is done with it (Return, or focus moving on); the
// other widgets as they change. Each widget's object name is its field's: "nameEdit", "aetitleEdit", "addressEdit",
// "portEdit", "iconEdit", "dicomNodeCheck", "queryableCheck" (three states: partly
// checked is "not set"), "retrievePicker", "transferSyntaxPicker", "tlsCheck",
// "tlsProfilePicker", "verifyPeerCheck", "authenticateCheck", "certificateIdEdit",
// "wadoGroup", "wadoUrlEdit", "wadoPortSpin" (lowest value: "not set"), "wadoHttpsCheck",
// "wadoUserEdit", "wadoPasswordEdit", "wadoSyntaxPicker", "problemLabel".
#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>
#include <memory>

#include "telvor/node/dicom_node.hpp"
#include "telvor/qt/telvor_qt_export.hpp"

namespace telvor::qt {

class TELVOR_QT_API NodeEditor : public QWidget {
  Q_OBJECT

 public:
  explicit NodeEditor(QWidget* parent = nullptr);
  ~NodeEditor() override;

  // Shows `node` in every widget and forgets earlier input; node() is then `node`.
  // Fields the node already has wrong (as telvor::validate sees them) are marked.
  void setNode(const DicomNode& node);
  // The node as last accepted: the given node with every accepted edit applied. A field
  // left untouched keeps its value exactly, absences included; a field whose input is
  // refused keeps its last accepted value, so nothing invalid leaves the editor.
  DicomNode node() const;

  // Whether some widget holds input that was refused (it keeps the text and is marked).
  bool hasRefusedInput() const noexcept;
  // What is wrong with the input shown, in the validation's own words; empty when
  // nothing is.
  QStringList problems() const;

  // The application's reverse-domain identifier, which begins the certificate identifier
  // shown in the TLS group. Default: the application's organisation domain reversed and
  // its name ("org.example.viewer"), or the application's name alone.
  void setApplicationIdentifier(const QString& identifier);
  QString applicationIdentifier() const;

 signals:
  // The user changed something and node() now differs from what it was.
  void edited();
  // The refused input or its reasons changed (problems() tells them).
  void problemsChanged();

 private:
  struct Widgets;
  void apply();
  std::unique_ptr<Widgets> w_;
};

}  // namespace telvor::qt
