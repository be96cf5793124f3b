#include "nubo/window/log/logview.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QSettings>
#include <QTreeView>
#include <QVBoxLayout>

#include "kernel/main/overseer.h"

namespace nubo::window {

namespace {

const QString LevelKey = QStringLiteral("window/logLevel");

}  // namespace

void LogView::Filter::setLevel(int level) {
  m_Level = level;
  invalidateFilter();
}

bool LogView::Filter::filterAcceptsRow(int row, const QModelIndex& parent) const {
  return sourceModel()->index(row, 0, parent).data(LogModel::LevelRole).toInt() <= m_Level;
}

LogView::LogView(QWidget* parent) : QWidget(parent), mp_Levels(new QComboBox), mp_View(new QTreeView) {
  m_Filter.setSourceModel(&m_Model);
  for (const int level : {log::Failure, log::Milestone, log::Note, log::Debug})
    mp_Levels->addItem(LogModel::levelName(level), level);
  mp_Levels->setObjectName(QStringLiteral("logLevels"));
  auto* label = new QLabel(tr("Show down &to:"));
  label->setBuddy(mp_Levels);
  auto* clear = new QPushButton(tr("C&lear"));
  connect(clear, &QPushButton::clicked, &m_Model, &LogModel::clear);
  auto* head = new QHBoxLayout;
  head->addWidget(label);
  head->addWidget(mp_Levels);
  head->addStretch();
  head->addWidget(clear);
  mp_View->setObjectName(QStringLiteral("log"));
  mp_View->setModel(&m_Filter);
  mp_View->setRootIsDecorated(false);
  mp_View->setUniformRowHeights(true);
  mp_View->setAlternatingRowColors(true);
  mp_View->header()->resizeSection(LogModel::Time, 80);
  mp_View->header()->resizeSection(LogModel::Level, 80);
  mp_View->header()->resizeSection(LogModel::Message, 480);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addLayout(head);
  layout->addWidget(mp_View);
  const int level = mp_Levels->findData(main::nuboSettings()->value(LevelKey, log::Note).toInt());
  mp_Levels->setCurrentIndex(level >= 0 ? level : mp_Levels->findData(log::Note));
  m_Filter.setLevel(mp_Levels->currentData().toInt());
  connect(mp_Levels, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &LogView::chooseLevel);
}

void LogView::chooseLevel(int index) {
  const int level = mp_Levels->itemData(index).toInt();
  m_Filter.setLevel(level);
  main::nuboSettings()->setValue(LevelKey, level);
}

void LogView::append(const QVector<log::Record>& records) {
  const QScrollBar* bar = mp_View->verticalScrollBar();
  const bool followsEnd = bar->value() == bar->maximum();
  m_Model.append(records);
  if (followsEnd) mp_View->scrollToBottom();
}

}  // namespace nubo::window
