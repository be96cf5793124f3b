#include "nubo/window/log/logmodel.h"

#include <QGuiApplication>

#include "nubo/window/look/colors.h"

namespace nubo::window {

namespace {

constexpr int MostRecords = 10000;

}  // namespace

QString LogModel::levelName(int level) {
  if (level <= log::Severe) return tr("Severe");
  if (level <= log::Failure) return tr("Failure");
  if (level <= log::Milestone) return tr("Milestone");
  if (level <= log::Note) return tr("Note");
  return tr("Debug");
}

void LogModel::append(const QVector<log::Record>& records) {
  const QVector<log::Record> latest = records.mid(qMax(0, records.size() - MostRecords));
  const int surplus = m_Records.size() + latest.size() - MostRecords;
  if (surplus > 0) {
    beginRemoveRows({}, 0, surplus - 1);
    m_Records.remove(0, surplus);
    endRemoveRows();
  }
  beginInsertRows({}, m_Records.size(), m_Records.size() + latest.size() - 1);
  m_Records += latest;
  endInsertRows();
}

void LogModel::clear() {
  beginResetModel();
  m_Records.clear();
  endResetModel();
}

int LogModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : m_Records.size(); }

int LogModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : ColumnCount; }

QVariant LogModel::data(const QModelIndex& index, int role) const {
  const log::Record& record = m_Records[index.row()];
  if (role == LevelRole) return record.level;
  if (role == Qt::ForegroundRole && record.level <= log::Failure) return failureColor(QGuiApplication::palette());
  if (role == Qt::ToolTipRole) return record.message;
  if (role != Qt::DisplayRole) return QVariant();
  switch (index.column()) {
    case Time:
      return record.time.toString(QStringLiteral("HH:mm:ss"));
    case Level:
      return levelName(record.level);
    case Message:
      return record.message.simplified();
    default:
      return record.function;
  }
}

QVariant LogModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
  return QStringList{tr("Time"), tr("Level"), tr("Message"), tr("Source")}.value(section);
}

}  // namespace nubo::window
