// The scene panels of a window, in tabs and splits.
#pragma once

#include <QList>
#include <QTabWidget>

#include "nubo/window/panels/viewpanel.h"

QT_BEGIN_NAMESPACE
class QSplitter;
QT_END_NAMESPACE

namespace nubo::window {

class PanelFrame;

/// Each tab holds a splitter with panels and further splitters. There is always a panel, and one of them is the
/// viewer's active panel.
class PanelArea : public QTabWidget {
  Q_OBJECT
 public:
  explicit PanelArea(QWidget* parent = nullptr);

  ViewPanel* addPanelTab();
  /// Puts a panel beside (horizontal) or below the active one, which looks from where that looks.
  ViewPanel* split(Qt::Orientation orientation);
  ViewPanel* activePanel() const;
  QList<ViewPanel*> panels() const;
  QList<ViewPanel*> panelsOfTab(int index) const;
  void activate(ViewPanel* panel);
  void closePanel(ViewPanel* panel);
  void setSelection(const util::YPointer<scene::SceneElement>& element);
  void updatePanels();
  /// In the active panel, whichever that is.
  void setFrame(const main::ParameterSet::Frame& frame);
  /// Of the active panel; empty: it fills its place.
  void setShape(const QSize& shape);
  QSize shape() const;
  void setMargin(double margin);
  /// As ViewPanel's, in all panels.
  void setPicking(bool picks, const std::vector<math::Vector3>& points);

 signals:
  /// In one of the panels, as ViewPanel's.
  void picked(const nubo::math::Vector3& point);
  void sectionDragged(double distance);
  /// The user wants these panels closed.
  void closeRequested(const QList<nubo::window::ViewPanel*>& panels);
  void activePanelChanged();
  void panelAdded(nubo::window::ViewPanel* panel);
  /// The active panel shows something else, or in another shape.
  void viewChanged();

 private:
  ViewPanel* createPanel();
  void tabChosen(int index);
  PanelFrame* place(ViewPanel* panel) const;
  void removeEmptySplitters(QSplitter* splitter);

  util::YPointer<scene::SceneElement> m_Selection;
  main::ParameterSet::Frame m_Frame;
  double m_Margin = gui::Camera::UsualMargin;
  bool m_Picks = false;
  std::vector<math::Vector3> m_Marks;
  int m_Tabs = 0;
};

}  // namespace nubo::window
