// A scene panel as the window shows it.
#pragma once

#include "kernel/main/parameterset.h"
#include "module_scene/graph/sceneelement.h"
#include "nubo/window/panels/progressivepanel.h"

namespace nubo::window {

/// A scene panel with keys, an axis cross, and a frame around the selected element. With the control key, the left
/// button moves the section. Application thread.
class ViewPanel : public ProgressivePanel {
  Q_OBJECT
 public:
  explicit ViewPanel(QWidget* parent = nullptr);

  /// Null: nothing is selected.
  void setSelection(const util::YPointer<scene::SceneElement>& element);
  /// Shows the whole scene as it is now, and goes on showing as much when the panel gets another size.
  void showAll();
  /// What a panel shows.
  struct View {
    gui::Camera camera;
    bool all;                                   ///< the whole scene from the camera's direction, in panels of any size
    std::shared_ptr<const gui::Subject> whole;  ///< what that was; null: there was none

    bool operator==(const View& other) const;
  };
  View view() const { return {getCamera(), m_ShowsAll, mp_Whole}; }
  void setView(const View& view);
  /// Looks from where the other panel looks.
  void lookLike(const ViewPanel& other);
  /// While held, another size does not change the view: a command looks through it.
  void setHeld(bool held) { m_Held = held; }
  /// Looks from a named view, and shows the whole scene.
  void showView(const QString& name);
  void setOrthographic(bool orthographic);
  /// Brings the selected element, or all, into view.
  void fitSelection();
  void zoom(double factor);
  /// Shows the frame of what a command will take, with what lies outside dimmed, and as much more of the scene as that
  /// needs; none: shows what pictures of the panel do.
  void setFrame(const main::ParameterSet::Frame& frame);
  /// Whether a click onto the model picks a point of it; those that are picked already are shown.
  void setPicking(bool picks, const std::vector<math::Vector3>& points);

 signals:
  /// The user picked a point of the scene.
  void picked(const nubo::math::Vector3& point);
  /// The user wants the section's plane moved that far along its normal, in the scene's units.
  void sectionDragged(double distance);
  /// The user clicked into the panel or moved the focus to it.
  void activated();
  void resized();

 protected:
  void paintGL() override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void refit();
  void paintOver();
  void widen();
  QSizeF frameSize() const;
  QSize fittedArea() const;
  bool isShownAsActive() const;
  double distanceAlong(const math::Vector3& normal, const QPoint& moved) const;

  util::YPointer<scene::SceneElement> m_Selection;
  bool m_ShowsAll = true;  ///< and nobody has moved the view since
  std::shared_ptr<const gui::Subject> mp_Whole;
  bool m_Refits = false;  ///< the camera is about to show all
  bool m_Held = false;
  main::ParameterSet::Frame m_Frame;
  QPoint m_Pressed, m_Dragged;  ///< where the mouse was pressed, and seen last
  bool m_Picks = false;
  std::vector<math::Vector3> m_Marks;
  bool m_FocusedByKey = false;  ///< so that the user must see where the focus is
};

}  // namespace nubo::window
