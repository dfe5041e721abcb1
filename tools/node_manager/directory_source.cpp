#include "directory_source.hpp"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <stdexcept>

namespace telvor::node_manager {
namespace {

class DirectorySource : public NodeSource {
 public:
  explicit DirectorySource(ldap::DirectoryAccess access) : access_(std::move(access)) {}
  QString description() const override { return QString::fromStdString(access_.url) + QObject::tr(" (read-only)"); }
  std::vector<DicomNode> load() override { return ldap::importDirectory(access_).nodes; }
  void save(const std::vector<CatalogueEntry>&) override {
    throw std::runtime_error(access_.url + ": a directory is opened read-only; export to it with telvor-nodes export --to ldap");
  }

 private:
  ldap::DirectoryAccess access_;
};

}  // namespace

std::unique_ptr<NodeSource> openDirectory(ldap::DirectoryAccess access) {
  return std::make_unique<DirectorySource>(std::move(access));
}

DirectoryDialog::DirectoryDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Open a DICOM configuration directory"));
  url_ = new QLineEdit(this);
  url_->setObjectName("directoryUrl");
  url_->setPlaceholderText("ldaps://ldap.example.org/dc=example,dc=org");
  bindDn_ = new QLineEdit(this);
  bindDn_->setObjectName("directoryBindDn");
  bindDn_->setPlaceholderText(tr("empty: anonymous"));
  password_ = new QLineEdit(this);
  password_->setObjectName("directoryPassword");
  password_->setEchoMode(QLineEdit::Password);
  caFile_ = new QLineEdit(this);
  caFile_->setObjectName("directoryCaFile");
  caFile_->setPlaceholderText(tr("PEM certificates for ldaps://"));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Open | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  QPushButton* openButton = buttons->button(QDialogButtonBox::Open);
  openButton->setEnabled(false);
  connect(url_, &QLineEdit::textChanged, openButton, [openButton](const QString& text) {
    openButton->setEnabled(text.startsWith("ldap://") || text.startsWith("ldaps://"));
  });
  auto* form = new QFormLayout(this);
  form->addRow(tr("URL"), url_);
  form->addRow(tr("Bind DN"), bindDn_);
  form->addRow(tr("Password"), password_);
  form->addRow(tr("CA file"), caFile_);
  form->addRow(buttons);
}

ldap::DirectoryAccess DirectoryDialog::access() const {
  ldap::DirectoryAccess access;
  access.url = url_->text().trimmed().toStdString();
  if (!bindDn_->text().trimmed().isEmpty()) {
    access.bindDn = bindDn_->text().trimmed().toStdString();
    access.password = password_->text().toStdString();
  }
  if (!caFile_->text().trimmed().isEmpty()) access.caFile = caFile_->text().trimmed().toStdString();
  return access;
}

}  // namespace telvor::node_manager
