// The menu of what the active panel shows, and of what stands around the panels.
#pragma once

#include <QList>
#include <QMenu>

QT_BEGIN_NAMESPACE
class QDockWidget;
QT_END_NAMESPACE

namespace nubo::window {

class PanelArea;
class SavedViews;

/// Applies the look that stands in the settings when it is made, and keeps there what the user chooses. What it is
/// given must outlive it. Application thread.
class ViewMenu : public QMenu {
  Q_OBJECT
 public:
  ViewMenu(PanelArea& panels, const QList<QDockWidget*>& docks, QAction* section, QWidget* parent);

  QAction* showAllAction() const { return mp_ShowAll; }
  SavedViews& savedViews() const { return *mp_Saved; }

 private:
  void addCopy();
  void addMargins();
  void addDirections();
  void addProjection();
  void addLooks();
  void addSwitches(QMenu* menu);
  void addLight(QMenu* menu);
  void light(const QString& file);
  void addFullScreen();
  void addDocks(const QList<QDockWidget*>& docks);

  PanelArea& m_Panels;
  QAction* mp_ShowAll;
  SavedViews* mp_Saved;
};

}  // namespace nubo::window
