#include "telvor/qt/node_table_model.hpp"

#include <QBrush>
#include <QGuiApplication>
#include <QLocale>
#include <QStringList>
#include <algorithm>
#include <array>
#include <span>

#include "telvor/node/node_validation.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor::qt {

namespace {

// The fields' own labels, as every other view of a node shows them.
constexpr std::array<std::string_view, NodeTableModel::columnCount_> kHeaders{
    fieldLabel(&DicomNode::name),           fieldLabel(&DicomNode::aetitle),
    fieldLabel(&DicomNode::address),        fieldLabel(&DicomNode::port),
    fieldLabel(&DicomNode::retrieveMode),   fieldLabel(&DicomNode::transferSyntax),
    fieldLabel(&TlsSettings::isEnabled),    "Status",
    "Checked",                              "Query / retrieve"};

QString text(const std::optional<std::string>& value) { return value ? QString::fromStdString(*value) : QString(); }

QString text(std::string_view value) { return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size())); }

// The validation problems that belong to a column.
std::span<const NodeProblemCode> problemsOf(int column) {
  using enum NodeProblemCode;
  static constexpr std::array aetitleProblems{aetitleMissing, aetitleEmpty, aetitleAllSpaces, aetitleTooLong,
                                              aetitleInvalidCharacter};
  static constexpr std::array portProblems{portMissing, portInvalid};
  static constexpr std::array addressProblems{addressMissing, addressEmpty};
  static constexpr std::array retrieveProblems{wadoUrlMissing};
  switch (column) {
    case NodeTableModel::aetitle:
      return aetitleProblems;
    case NodeTableModel::port:
      return portProblems;
    case NodeTableModel::address:
      return addressProblems;
    case NodeTableModel::retrieve:
      return retrieveProblems;
    default:
      return {};
  }
}

// The case a picker value names: its code as a number, or its title.
template <class E>
std::optional<E> caseOf(const QVariant& value) {
  if (value.metaType().id() == QMetaType::QString) {
    for (const E candidate : allCases<E>())
      if (text(title(candidate)) == value.toString()) return candidate;
    return std::nullopt;
  }
  bool ok = false;
  const qlonglong code = value.toLongLong(&ok);
  return ok ? fromRawValue<E>(code) : std::nullopt;
}

// Whether a status found for `a` still says something about `b`.
bool reachedAlike(const DicomNode& a, const DicomNode& b) {
  return a.aetitle == b.aetitle && a.address == b.address && a.port == b.port && a.retrieveMode == b.retrieveMode &&
         a.tlsSettings == b.tlsSettings && a.wadoSettings == b.wadoSettings;
}

}  // namespace

bool NodeTableModel::isRow(const QModelIndex& index) const {
  return index.isValid() && index.model() == this && !index.parent().isValid() && index.row() < rowCount() &&
         index.column() < columnCount_;
}

NodeTableModel::NodeTableModel(QObject* parent)
    : QAbstractTableModel(parent), colors_(QGuiApplication::palette()) {}

void NodeTableModel::setNodes(std::vector<DicomNode> nodes) {
  beginResetModel();
  nodes_ = std::move(nodes);
  statuses_.assign(nodes_.size(), DicomNodeStatus::unknown("Not checked yet"));
  checkedAt_.assign(nodes_.size(), QDateTime());
  answers_.assign(nodes_.size(), CheckAnswers{});
  endResetModel();
}

bool NodeTableModel::setNode(int row, DicomNode node) {
  if (row < 0 || row >= rowCount()) return false;
  replace(row, std::move(node));
  return true;
}

void NodeTableModel::replace(int row, DicomNode node) {
  const auto at = static_cast<std::size_t>(row);
  const bool keepsStatus = reachedAlike(nodes_[at], node);
  nodes_[at] = std::move(node);
  if (!keepsStatus) {
    statuses_[at] = DicomNodeStatus::unknown("Not checked since the last edit");
    checkedAt_[at] = QDateTime();
    answers_[at] = {};
  }
  emit dataChanged(index(row, 0), index(row, columnCount_ - 1));
}

int NodeTableModel::appendNode(DicomNode node, DicomNodeStatus nodeStatus) {
  const int row = rowCount();
  beginInsertRows({}, row, row);
  nodes_.push_back(std::move(node));
  statuses_.push_back(std::move(nodeStatus));
  checkedAt_.emplace_back();
  answers_.emplace_back();
  endInsertRows();
  return row;
}

void NodeTableModel::setStatus(int row, DicomNodeStatus nodeStatus, QDateTime checkedAt, CheckAnswers found) {
  if (row < 0 || row >= rowCount()) return;
  statuses_[static_cast<std::size_t>(row)] = std::move(nodeStatus);
  checkedAt_[static_cast<std::size_t>(row)] = std::move(checkedAt);
  answers_[static_cast<std::size_t>(row)] = std::move(found);
  emit dataChanged(index(row, status), index(row, answers));
}

void NodeTableModel::setColors(PaletteColors colors) {
  colors_ = colors;
  icons_ = {};
  if (rowCount() > 0) emit dataChanged(index(0, status), index(rowCount() - 1, status));
}

int NodeTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(nodes_.size());
}

int NodeTableModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : columnCount_; }

QVariant NodeTableModel::statusData(const DicomNodeStatus& nodeStatus, int role) const {
  switch (role) {
    case Qt::DisplayRole:
      return text(nodeStatus.title());
    case Qt::DecorationRole: {
      QIcon& icon = icons_[static_cast<std::size_t>(nodeStatus.id())];
      if (icon.isNull()) icon = statusIcon(nodeStatus, colors_);
      return icon;
    }
    case Qt::ForegroundRole:
      return QBrush(toQColor(nodeStatus.color(colors_)));
    case Qt::ToolTipRole:
      return nodeStatus.reason().empty() ? text(nodeStatus.title()) : QString::fromStdString(nodeStatus.reason());
    case StatusKindRole:
      return QVariant::fromValue(qlonglong{nodeStatus.id()});
    default:
      return {};
  }
}

QVariant NodeTableModel::answerData(const CheckAnswers& found, int role) const {
  if (!found.query && !found.retrieve) return {};
  if (role == Qt::DisplayRole) {
    const auto title = [](const std::optional<Answer>& answer) { return answer ? answer->title : QStringLiteral("–"); };
    return title(found.query) + QStringLiteral(" / ") + title(found.retrieve);
  }
  if (role != Qt::ToolTipRole) return {};
  QStringList lines;
  for (const auto& [check, answer] : {std::pair{"Query", &found.query}, std::pair{"Retrieve", &found.retrieve}}) {
    if (!*answer) continue;
    QString line = QString::fromLatin1(check) + QStringLiteral(": ") + (*answer)->title;
    if (!(*answer)->reason.isEmpty()) line += QStringLiteral(": ") + (*answer)->reason;
    lines.push_back(line);
  }
  return lines.join('\n');
}

QVariant NodeTableModel::data(const QModelIndex& index, int role) const {
  if (!isRow(index)) return {};
  const DicomNode& node = nodes_[static_cast<std::size_t>(index.row())];
  const bool shown = role == Qt::DisplayRole || role == Qt::EditRole;
  switch (index.column()) {
    case name:
      return shown ? text(node.name) : QVariant();
    case aetitle:
      return shown ? text(node.aetitle) : QVariant();
    case address:
      return shown ? text(node.address) : QVariant();
    case port:
      return shown ? text(node.port) : QVariant();
    case retrieve:
      if (role == Qt::DisplayRole) return text(title(node.retrieveMode));
      if (role == Qt::EditRole || role == CodeRole) return QVariant::fromValue(qlonglong{rawValue(node.retrieveMode)});
      return {};
    case transferSyntax:
      if (role == Qt::DisplayRole) return text(title(node.transferSyntax));
      if (role == Qt::EditRole || role == CodeRole)
        return QVariant::fromValue(qlonglong{rawValue(node.transferSyntax)});
      return {};
    case tls:
      if (role == Qt::CheckStateRole)
        return node.tlsSettings && node.tlsSettings->isEnabled ? Qt::Checked : Qt::Unchecked;
      return {};
    case status:
      return statusData(statuses_[static_cast<std::size_t>(index.row())], role);
    case checked: {
      const QDateTime& at = checkedAt_[static_cast<std::size_t>(index.row())];
      if (role == Qt::DisplayRole) return at.isValid() ? QLocale().toString(at.time(), QLocale::ShortFormat) : QString();
      if (role == Qt::ToolTipRole) return at.isValid() ? QLocale().toString(at, QLocale::LongFormat) : QVariant();
      return {};
    }
    case answers:
      return answerData(answers_[static_cast<std::size_t>(index.row())], role);
    default:
      return {};
  }
}

bool NodeTableModel::refuse(const QModelIndex& index, const QString& reason) {
  lastRefusal_ = reason;
  emit editRefused(index, reason);
  return false;
}

bool NodeTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!isRow(index)) return false;
  const int column = index.column();
  const bool checking = column == tls && role == Qt::CheckStateRole;
  if (!checking && (role != Qt::EditRole || column == tls || column >= status)) return false;

  DicomNode edited = nodes_[static_cast<std::size_t>(index.row())];
  switch (column) {
    case name:
      if (value.toString().trimmed().isEmpty())
        return refuse(index, QStringLiteral("The name is empty: give the node a name to show in lists."));
      edited.name = value.toString().toStdString();
      break;
    case aetitle:
      edited.aetitle = value.toString().toStdString();
      break;
    case address:
      edited.address = value.toString().toStdString();
      break;
    case port:
      edited.port = value.toString().toStdString();
      break;
    case retrieve: {
      const auto mode = caseOf<RetrieveModeType>(value);
      if (!mode) return refuse(index, QStringLiteral("\"%1\" is not a retrieve mode.").arg(value.toString()));
      edited.retrieveMode = *mode;
      break;
    }
    case transferSyntax: {
      const auto syntax = caseOf<TransferSyntax>(value);
      if (!syntax) return refuse(index, QStringLiteral("\"%1\" is not a transfer syntax.").arg(value.toString()));
      edited.transferSyntax = *syntax;
      break;
    }
    case tls: {
      const bool on = value.toInt() == Qt::Checked;
      if (!edited.tlsSettings) edited.tlsSettings = TlsSettings();
      edited.tlsSettings->isEnabled = on;
      break;
    }
    default:
      return false;
  }
  const auto relevant = problemsOf(column);
  for (const NodeProblem& problem : validate(edited))
    if (std::find(relevant.begin(), relevant.end(), problem.code) != relevant.end())
      return refuse(index, QString::fromStdString(problem.message));

  if (edited == nodes_[static_cast<std::size_t>(index.row())]) return true;
  replace(index.row(), std::move(edited));
  return true;
}

Qt::ItemFlags NodeTableModel::flags(const QModelIndex& index) const {
  if (!isRow(index)) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
  if (index.column() == tls) return flags | Qt::ItemIsUserCheckable;
  if (index.column() < status) flags |= Qt::ItemIsEditable;
  return flags;
}

QVariant NodeTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= columnCount_)
    return QAbstractTableModel::headerData(section, orientation, role);
  return text(kHeaders[static_cast<std::size_t>(section)]);
}

bool NodeTableModel::removeRows(int row, int count, const QModelIndex& parent) {
  if (parent.isValid() || row < 0 || count <= 0 || row + count > rowCount()) return false;
  beginRemoveRows(parent, row, row + count - 1);
  nodes_.erase(nodes_.begin() + row, nodes_.begin() + row + count);
  statuses_.erase(statuses_.begin() + row, statuses_.begin() + row + count);
  checkedAt_.erase(checkedAt_.begin() + row, checkedAt_.begin() + row + count);
  answers_.erase(answers_.begin() + row, answers_.begin() + row + count);
  endRemoveRows();
  return true;
}

}  // namespace telvor::qt
