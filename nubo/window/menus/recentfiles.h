// The menu of the files that were opened last.
#pragma once

#include <QMenu>
#include <QStringList>

namespace nubo::window {

/// Kept in the settings. Application thread.
class RecentFiles : public QMenu {
  Q_OBJECT
 public:
  explicit RecentFiles(QWidget* parent);

  void add(const QString& file);
  void remove(const QString& file);
  /// Where the file lies that was opened last; the home directory if there was none.
  QString latestDirectory() const;

 signals:
  void chosen(const QString& file);

 private:
  static QStringList load();
  void store(const QStringList& files);
  void fill();
};

}  // namespace nubo::window
