// The log as a table.
#pragma once

#include <QAbstractTableModel>
#include <QVector>

#include "kernel/log/logger.h"

namespace nubo::window {

/// Keeps the latest records. Application thread.
class LogModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { Time, Level, Message, Source, ColumnCount };
  static constexpr int LevelRole = Qt::UserRole;

  using QAbstractTableModel::QAbstractTableModel;
  void append(const QVector<log::Record>& records);
  void clear();
  static QString levelName(int level);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  QVector<log::Record> m_Records;
};

}  // namespace nubo::window
