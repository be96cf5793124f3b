// Shows the log, down to a level that the user chooses.
#pragma once

#include <QSortFilterProxyModel>
#include <QWidget>

#include "nubo/window/log/logmodel.h"

QT_BEGIN_NAMESPACE
class QComboBox;
class QTreeView;
QT_END_NAMESPACE

namespace nubo::window {

class LogView : public QWidget {
  Q_OBJECT
 public:
  explicit LogView(QWidget* parent = nullptr);
  void append(const QVector<log::Record>& records);

 private:
  /// Lets through what is at least as grave as a level.
  class Filter : public QSortFilterProxyModel {
   public:
    using QSortFilterProxyModel::QSortFilterProxyModel;
    void setLevel(int level);

   protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

   private:
    int m_Level = log::Note;
  };

  void chooseLevel(int index);

  LogModel m_Model;
  Filter m_Filter;
  QComboBox* mp_Levels;
  QTreeView* mp_View;
};

}  // namespace nubo::window
