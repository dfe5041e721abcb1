// A site's DICOM configuration directory (LDAP) as a read-only node source, and the dialog
// that asks where it is and how to bind, so that a workstation shows the site's list
// without copying it.
//
//   DirectoryDialog dialog(window);
//   if (dialog.exec() == QDialog::Accepted) window->open(openDirectory(dialog.access()));
#pragma once

#include <QDialog>
#include <memory>

#include "node_source.hpp"
#include "telvor/ldap/directory.hpp"

class QLineEdit;

namespace telvor::node_manager {

// The directory's usable network AEs as nodes (what `telvor-nodes import --from ldap`
// reads; what is left out is not shown). load() throws with the directory's message;
// save() always throws: a directory is opened read-only.
std::unique_ptr<NodeSource> openDirectory(ldap::DirectoryAccess access);

// URL, bind DN (empty: anonymous), password and CA file. The password stays in the dialog
// and the access it gives; it is never shown or stored.
class DirectoryDialog : public QDialog {
  Q_OBJECT
 public:
  explicit DirectoryDialog(QWidget* parent = nullptr);
  ldap::DirectoryAccess access() const;

 private:
  QLineEdit* url_;
  QLineEdit* bindDn_;
  QLineEdit* password_;
  QLineEdit* caFile_;
};

}  // namespace telvor::node_manager
