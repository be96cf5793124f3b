// A menu of the files that were used last.
#pragma once

#include <QMenu>
#include <QStringList>

namespace nubo::window {

/// Kept in the settings. Application thread.
class RecentFiles : public QMenu {
  Q_OBJECT
 public:
  /// `name` is that of the menu as an object, and of what the settings keep.
  RecentFiles(const QString& title, const QString& name, QWidget* parent);

  void add(const QString& file);
  void remove(const QString& file);
  /// Where the file lies that was used last; the home directory if there was none.
  QString latestDirectory() const;

 signals:
  void chosen(const QString& file);

 private:
  QStringList load() const;
  void store(const QStringList& files);
  void fill();
};

}  // namespace nubo::window
