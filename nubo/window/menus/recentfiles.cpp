#include "nubo/window/menus/recentfiles.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

#include "kernel/main/overseer.h"

namespace nubo::window {

namespace {

const QString Group = QStringLiteral("window/");
constexpr int Most = 9;

}  // namespace

RecentFiles::RecentFiles(const QString& title, const QString& name, QWidget* parent) : QMenu(title, parent) {
  setObjectName(name);
  setToolTipsVisible(true);
  fill();
}

/// The settings may hold anything.
QStringList RecentFiles::load() const {
  QStringList files;
  for (const QString& file : main::nuboSettings()->value(Group + objectName()).toStringList())
    if (QDir::isAbsolutePath(file) && !files.contains(file) && files.size() < Most) files << file;
  return files;
}

void RecentFiles::store(const QStringList& files) {
  main::nuboSettings()->setValue(Group + objectName(), QStringList(files.mid(0, Most)));
  fill();
}

void RecentFiles::add(const QString& file) {
  const QString path = QFileInfo(file).absoluteFilePath();
  QStringList files = load();
  files.removeAll(path);
  files.prepend(path);
  store(files);
}

void RecentFiles::remove(const QString& file) {
  QStringList files = load();
  files.removeAll(QFileInfo(file).absoluteFilePath());
  store(files);
}

QString RecentFiles::latestDirectory() const {
  const QStringList files = load();
  return files.isEmpty() ? QDir::homePath() : QFileInfo(files.first()).path();
}

void RecentFiles::fill() {
  clear();
  const QStringList files = load();
  for (int i = 0; i < files.size(); ++i) {
    QString name = QFileInfo(files[i]).fileName();
    QAction* action = addAction(QStringLiteral("&%1 %2").arg(i + 1).arg(name.replace(QLatin1Char('&'), "&&")));
    action->setToolTip(files[i]);
    connect(action, &QAction::triggered, this, [this, file = files[i]] { emit chosen(file); });
  }
  setEnabled(!files.isEmpty());
}

}  // namespace nubo::window
