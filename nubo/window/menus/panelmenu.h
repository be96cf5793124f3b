// The menu of the panels.
#pragma once

#include <QList>
#include <QMenu>

namespace nubo::window {

class PanelArea;
class ViewPanel;

/// What it is given must outlive it. Application thread.
class PanelMenu : public QMenu {
  Q_OBJECT
 public:
  PanelMenu(PanelArea& panels, QWidget* parent);

  /// What makes further panels.
  const QList<QAction*>& makers() const { return m_Makers; }

 signals:
  /// The user wants these panels closed.
  void closeRequested(const QList<nubo::window::ViewPanel*>& panels);

 private:
  void addShapes();
  void activateNext();

  PanelArea& m_Panels;
  QList<QAction*> m_Makers;
};

}  // namespace nubo::window
