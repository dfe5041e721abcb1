#include "telvor/qt/node_editor.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <bitset>
#include <vector>

#include "telvor/node/node_validation.hpp"
#include "telvor/qt/vocabulary_model.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"
#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"
#include "telvor/vocabulary/tls_security_profile.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor::qt {

namespace {

// Every editable field; the order is the tab order.
enum Field {
  fName, fAetitle, fAddress, fPort, fIcon, fDicomNode, fQueryable, fRetrieve, fTransferSyntax,
  fTlsOn, fTlsProfile, fVerifyPeer, fAuthenticate,
  fWadoUrl, fWadoPort, fWadoHttps, fWadoUser, fWadoPassword, fWadoSyntax, fieldCount
};
using FieldSet = std::bitset<fieldCount>;

constexpr int kNoWadoPort = -1;  // the spin box's "not set"

QString qtext(const std::optional<std::string>& value) { return value ? QString::fromStdString(*value) : QString(); }

// The fields a validation problem is about: those refused when they were edited. The
// first is the one marked.
std::vector<Field> fieldsOf(NodeProblemCode code) {
  using enum NodeProblemCode;
  switch (code) {
    case aetitleMissing: case aetitleEmpty: case aetitleAllSpaces: case aetitleTooLong: case aetitleInvalidCharacter:
      return {fAetitle};
    case portMissing: case portInvalid:
      return {fPort};
    case addressMissing: case addressEmpty: case addressWithPort: case addressWithScheme:
      return {fAddress};
    case wadoUrlMissing:
      return {fWadoUrl, fRetrieve};
    case wadoUrlInvalid:
      return {fWadoUrl};
    case wadoUrlSchemeMismatch:
      return {fWadoUrl, fWadoHttps};
    case wadoPortInvalid:
      return {fWadoPort};
  }
  return {};
}

struct Problem {
  std::vector<Field> fields;
  QString message;
};

std::vector<Problem> problemsOf(const DicomNode& node, const FieldSet& edited) {
  std::vector<Problem> found;
  // The library accepts a nameless node; a list of nodes does not.
  if (edited[fName] && (!node.name || QString::fromStdString(*node.name).trimmed().isEmpty()))
    found.push_back({{fName}, QStringLiteral("The name is empty: give the node a name to show in lists.")});
  for (const NodeProblem& problem : validate(node))
    found.push_back({fieldsOf(problem.code), QString::fromStdString(problem.message)});
  return found;
}

QString defaultApplicationIdentifier() {
  const QString name = QCoreApplication::applicationName();
  QStringList parts = QCoreApplication::organizationDomain().split('.', Qt::SkipEmptyParts);
  if (parts.isEmpty()) return name;
  std::reverse(parts.begin(), parts.end());
  if (!name.isEmpty()) parts.append(name);
  return parts.join('.');
}

}  // namespace

struct NodeEditor::Widgets {
  DicomNode given;        // what setNode showed
  DicomNode accepted;     // node()
  FieldSet refused;
  std::vector<Problem> problems;
  bool loading = false;
  QString applicationIdentifier = defaultApplicationIdentifier();

  QLineEdit* name; QLineEdit* aetitle; QLineEdit* address; QLineEdit* port; QLineEdit* icon;
  QCheckBox* dicomNode; QCheckBox* queryable;
  QComboBox* retrieve; QComboBox* transferSyntax;
  QCheckBox* tlsOn; QComboBox* tlsProfile; QCheckBox* verifyPeer; QCheckBox* authenticate;
  QLineEdit* certificateId;
  QGroupBox* wado;
  QLineEdit* wadoUrl; QSpinBox* wadoPort; QCheckBox* wadoHttps; QLineEdit* wadoUser; QLineEdit* wadoPassword;
  QComboBox* wadoSyntax;
  QLabel* problemLabel;
  // What each widget showed after setNode: a widget still showing it is not an edit.
  std::array<QVariant, fieldCount> shown;

  QWidget* widget(Field field) const {
    const std::array<QWidget*, fieldCount> all{name, aetitle, address, port, icon, dicomNode, queryable, retrieve,
                                               transferSyntax, tlsOn, tlsProfile, verifyPeer, authenticate, wadoUrl,
                                               wadoPort, wadoHttps, wadoUser, wadoPassword, wadoSyntax};
    return all[field];
  }

  QVariant value(Field field) const {
    QWidget* w = widget(field);
    if (auto* edit = qobject_cast<QLineEdit*>(w)) return edit->text();
    if (auto* box = qobject_cast<QCheckBox*>(w)) return int(box->checkState());
    if (auto* picker = qobject_cast<QComboBox*>(w)) return picker->currentData(VocabularyModel::CodeRole);
    if (auto* spin = qobject_cast<QSpinBox*>(w)) return spin->value();
    return {};
  }

  FieldSet edited() const {
    FieldSet set;
    for (int f = 0; f < fieldCount; ++f) set[f] = value(Field(f)) != shown[f];
    return set;
  }

  // Writes the widget's value of `field` into `node`.
  void put(Field field, DicomNode& node) const {
    const QVariant v = value(field);
    const auto text = [&] { return std::optional<std::string>(v.toString().toStdString()); };
    const auto checked = [&] { return v.toInt() == Qt::Checked; };
    const auto tls = [&]() -> TlsSettings& {
      if (!node.tlsSettings) node.tlsSettings = TlsSettings();
      return *node.tlsSettings;
    };
    switch (field) {
      case fName: node.name = text(); break;
      case fAetitle: node.aetitle = text(); break;
      case fAddress: node.address = text(); break;
      case fPort: node.port = text(); break;
      case fIcon: node.icon = text(); break;
      case fDicomNode: node.isDicomNode = checked(); break;
      case fQueryable:
        node.isQueryable = v.toInt() == Qt::PartiallyChecked ? std::nullopt : std::optional<bool>(checked());
        break;
      case fRetrieve: node.retrieveMode = *fromRawValue<RetrieveModeType>(v.toLongLong()); break;
      case fTransferSyntax: node.transferSyntax = *fromRawValue<TransferSyntax>(v.toLongLong()); break;
      case fTlsOn: tls().isEnabled = checked(); break;
      case fTlsProfile: tls().securityProfile = *fromRawValue<TLSSecurityProfile>(v.toLongLong()); break;
      case fVerifyPeer: tls().verifyPeerCertificate = checked(); break;
      case fAuthenticate: tls().authenticateWithCertificate = checked(); break;
      case fWadoUrl: node.wadoSettings.url = text(); break;
      case fWadoPort:
        node.wadoSettings.port = v.toInt() == kNoWadoPort ? std::nullopt : std::optional<std::int64_t>(v.toInt());
        break;
      case fWadoHttps: node.wadoSettings.https = checked(); break;
      case fWadoUser: node.wadoSettings.username = text(); break;
      case fWadoPassword: node.wadoSettings.password = text(); break;
      case fWadoSyntax:
        node.wadoSettings.retrieveSyntax = *fromRawValue<SupportedWadoTransferSyntaxType>(v.toLongLong());
        break;
      case fieldCount: break;
    }
  }

  DicomNode withEdits(const FieldSet& fields) const {
    DicomNode node = given;
    for (int f = 0; f < fieldCount; ++f)
      if (fields[f]) put(Field(f), node);
    return node;
  }

  void mark(const std::array<QString, fieldCount>& reasons) {
    for (int f = 0; f < fieldCount; ++f) {
      QWidget* w = widget(Field(f));
      const bool invalid = !reasons[f].isEmpty();
      if (w->property("invalid").toBool() == invalid && w->toolTip() == reasons[f]) continue;
      w->setProperty("invalid", invalid);
      w->setToolTip(reasons[f]);
      w->style()->unpolish(w);
      w->style()->polish(w);
    }
  }
};

NodeEditor::NodeEditor(QWidget* parent) : QWidget(parent), w_(std::make_unique<Widgets>()) {
  Widgets& w = *w_;
  const auto lineEdit = [this](const char* name) {
    auto* edit = new QLineEdit(this);
    edit->setObjectName(name);
    // Taken when the user is done with the field (Return, or focus elsewhere): a port
    // typed as "99999" must not pass through "9999" on the way.
    connect(edit, &QLineEdit::editingFinished, this, &NodeEditor::apply);
    return edit;
  };
  const auto checkBox = [this](const QString& text, const char* name, QWidget* parent) {
    auto* box = new QCheckBox(text, parent);
    box->setObjectName(name);
    connect(box, &QCheckBox::stateChanged, this, &NodeEditor::apply);
    return box;
  };
  const auto picker = [this](VocabularyModel* vocabulary, const char* name, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setObjectName(name);
    vocabulary->setParent(box);
    box->setModel(vocabulary);
    // Transfer syntax titles run to 78 characters; the list shows them whole when it opens.
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(16);
    connect(box, &QComboBox::currentIndexChanged, this, &NodeEditor::apply);
    return box;
  };

  auto* identity = new QFormLayout;
  w.name = lineEdit("nameEdit");
  w.aetitle = lineEdit("aetitleEdit");
  w.aetitle->setPlaceholderText(tr("up to 16 characters"));
  w.address = lineEdit("addressEdit");
  w.address->setPlaceholderText(tr("host name or IP address"));
  w.port = lineEdit("portEdit");
  w.port->setPlaceholderText(tr("1 to 65535"));
  w.icon = lineEdit("iconEdit");
  identity->addRow(tr("&Name:"), w.name);
  identity->addRow(tr("A&E title:"), w.aetitle);
  identity->addRow(tr("A&ddress:"), w.address);
  identity->addRow(tr("&Port:"), w.port);
  identity->addRow(tr("I&con:"), w.icon);
  w.dicomNode = checkBox(tr("DICOM n&ode"), "dicomNodeCheck", this);
  w.queryable = checkBox(tr("&Queryable"), "queryableCheck", this);
  w.queryable->setTristate(true);
  w.queryable->setToolTip(tr("Partly checked: not set"));
  auto* flags = new QHBoxLayout;
  flags->addWidget(w.dicomNode);
  flags->addWidget(w.queryable);
  flags->addStretch();
  identity->addRow(QString(), flags);
  w.retrieve = picker(VocabularyModel::of<RetrieveModeType>(), "retrievePicker", this);
  w.transferSyntax = picker(VocabularyModel::of<TransferSyntax>(), "transferSyntaxPicker", this);
  identity->addRow(tr("&Retrieve:"), w.retrieve);
  identity->addRow(tr("&Transfer syntax:"), w.transferSyntax);

  auto* tlsGroup = new QGroupBox(tr("TLS"), this);
  tlsGroup->setObjectName("tlsGroup");
  auto* tls = new QFormLayout(tlsGroup);
  w.tlsOn = checkBox(tr("Connect over T&LS"), "tlsCheck", tlsGroup);
  // The profiles have no titles of their own.
  std::vector<VocabularyModel::Entry> profiles;
  for (const TLSSecurityProfile profile : allCases<TLSSecurityProfile>())
    profiles.push_back({rawValue(profile), tr("Profile %1").arg(rawValue(profile))});
  w.tlsProfile = picker(new VocabularyModel(std::move(profiles)), "tlsProfilePicker", tlsGroup);
  w.verifyPeer = checkBox(tr("&Verify the peer's certificate"), "verifyPeerCheck", tlsGroup);
  w.authenticate = checkBox(tr("Authenticate with a certificate"), "authenticateCheck", tlsGroup);
  w.certificateId = new QLineEdit(tlsGroup);
  w.certificateId->setObjectName("certificateIdEdit");
  w.certificateId->setReadOnly(true);
  w.certificateId->setToolTip(tr("The identifier under which the node's client certificate is looked up"));
  tls->addRow(w.tlsOn);
  tls->addRow(tr("Pro&file:"), w.tlsProfile);
  tls->addRow(w.verifyPeer);
  tls->addRow(w.authenticate);
  tls->addRow(tr("Certificate:"), w.certificateId);

  w.wado = new QGroupBox(tr("WADO"), this);
  w.wado->setObjectName("wadoGroup");
  auto* wado = new QFormLayout(w.wado);
  w.wadoUrl = lineEdit("wadoUrlEdit");
  w.wadoUrl->setPlaceholderText(tr("https://pacs.example.org/dicom-web"));
  w.wadoPort = new QSpinBox(w.wado);
  w.wadoPort->setObjectName("wadoPortSpin");
  w.wadoPort->setRange(kNoWadoPort, 65535);
  w.wadoPort->setSpecialValueText(tr("not set"));
  connect(w.wadoPort, &QSpinBox::valueChanged, this, &NodeEditor::apply);
  w.wadoHttps = checkBox(tr("&HTTPS"), "wadoHttpsCheck", w.wado);
  w.wadoUser = lineEdit("wadoUserEdit");
  w.wadoPassword = lineEdit("wadoPasswordEdit");
  w.wadoPassword->setEchoMode(QLineEdit::Password);
  w.wadoSyntax = picker(VocabularyModel::of<SupportedWadoTransferSyntaxType>(), "wadoSyntaxPicker", w.wado);
  wado->addRow(tr("&URL:"), w.wadoUrl);
  wado->addRow(tr("Po&rt:"), w.wadoPort);
  wado->addRow(QString(), w.wadoHttps);
  wado->addRow(tr("U&ser name:"), w.wadoUser);
  wado->addRow(tr("Pass&word:"), w.wadoPassword);
  wado->addRow(tr("Retrieve s&yntax:"), w.wadoSyntax);

  w.problemLabel = new QLabel(this);
  w.problemLabel->setObjectName("problemLabel");
  w.problemLabel->setWordWrap(true);
  w.problemLabel->setStyleSheet(QStringLiteral("color: #d70015"));

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addLayout(identity);
  layout->addWidget(tlsGroup);
  layout->addWidget(w.wado);
  layout->addWidget(w.problemLabel);
  layout->addStretch();
  setStyleSheet(QStringLiteral("*[invalid=\"true\"] { border: 1px solid #d70015; }"));
  setNode(DicomNode());
}

NodeEditor::~NodeEditor() = default;

void NodeEditor::setNode(const DicomNode& node) {
  Widgets& w = *w_;
  w.loading = true;
  w.given = node;
  w.accepted = node;
  const auto pick = [](QComboBox* box, qint64 code) {
    box->setCurrentIndex(static_cast<const VocabularyModel*>(box->model())->rowOf(code));
  };
  w.name->setText(qtext(node.name));
  w.aetitle->setText(qtext(node.aetitle));
  w.address->setText(qtext(node.address));
  w.port->setText(qtext(node.port));
  w.icon->setText(qtext(node.icon));
  w.dicomNode->setChecked(node.isDicomNode);
  w.queryable->setCheckState(!node.isQueryable ? Qt::PartiallyChecked : *node.isQueryable ? Qt::Checked : Qt::Unchecked);
  pick(w.retrieve, rawValue(node.retrieveMode));
  pick(w.transferSyntax, rawValue(node.transferSyntax));
  const TlsSettings tls = node.tlsSettings.value_or(TlsSettings());
  w.tlsOn->setChecked(tls.isEnabled);
  pick(w.tlsProfile, rawValue(tls.securityProfile));
  w.verifyPeer->setChecked(tls.verifyPeerCertificate);
  w.authenticate->setChecked(tls.authenticateWithCertificate);
  const WadoSettings& wado = node.wadoSettings;
  w.wadoUrl->setText(qtext(wado.url));
  w.wadoPort->setValue(wado.port ? static_cast<int>(std::clamp<std::int64_t>(*wado.port, 0, 65535)) : kNoWadoPort);
  w.wadoHttps->setChecked(wado.https);
  w.wadoUser->setText(qtext(wado.username));
  w.wadoPassword->setText(qtext(wado.password));
  pick(w.wadoSyntax, rawValue(wado.retrieveSyntax));
  for (int f = 0; f < fieldCount; ++f) w.shown[f] = w.value(Field(f));
  w.loading = false;
  apply();
}

DicomNode NodeEditor::node() const { return w_->accepted; }

bool NodeEditor::hasRefusedInput() const noexcept { return w_->refused.any(); }

QStringList NodeEditor::problems() const {
  QStringList messages;
  for (const Problem& problem : w_->problems) messages.append(problem.message);
  return messages;
}

void NodeEditor::setApplicationIdentifier(const QString& identifier) {
  w_->applicationIdentifier = identifier;
  apply();
}

QString NodeEditor::applicationIdentifier() const { return w_->applicationIdentifier; }

// Takes every edited widget into the node, except those whose value the validation
// refuses: they keep the typed input, marked, and the node keeps its last value.
void NodeEditor::apply() {
  Widgets& w = *w_;
  if (w.loading) return;
  const FieldSet changed = w.edited();
  const DicomNode typed = w.withEdits(changed);
  w.problems = problemsOf(typed, changed);

  FieldSet taken = changed;
  FieldSet refused;
  // Dropping a refused edit can only remove problems, so this ends within fieldCount rounds.
  for (int round = 0; round < fieldCount; ++round) {
    FieldSet more;
    for (const Problem& problem : problemsOf(w.withEdits(taken), taken))
      for (const Field field : problem.fields)
        if (taken[field]) more[field] = true;
    if (more.none()) break;
    refused |= more;
    taken &= ~more;
  }
  std::array<QString, fieldCount> reasons;
  for (const Problem& problem : w.problems)
    if (!problem.fields.empty() && reasons[problem.fields.front()].isEmpty())
      reasons[problem.fields.front()] = problem.message;
  w.mark(reasons);

  const bool problemsMoved = refused != w.refused || w.problemLabel->text() != problems().join('\n');
  w.refused = refused;
  w.problemLabel->setText(problems().join('\n'));
  w.problemLabel->setVisible(!w.problems.empty());

  DicomNode next = w.withEdits(taken);
  // What the node will use, so it follows the typed address, port and AE title.
  w.certificateId->setText(QString::fromStdString(typed.tlsCertificateID(w.applicationIdentifier.toStdString())));
  w.certificateId->setCursorPosition(0);
  w.wado->setVisible(typed.retrieveMode == RetrieveModeType::wado);

  const bool moved = !(next == w.accepted);
  w.accepted = std::move(next);
  if (moved) emit edited();
  if (problemsMoved) emit problemsChanged();
}

}  // namespace telvor::qt
