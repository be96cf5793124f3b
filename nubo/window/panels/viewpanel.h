// A scene panel as the window shows it.
#pragma once

#include "kernel/main/parameterset.h"
#include "module_scene/graph/sceneelement.h"
#include "nubo/window/panels/progressivepanel.h"

namespace nubo::window {

/// A scene panel with keys, an axis cross, and a frame around the selected element. Application thread.
class ViewPanel : public ProgressivePanel {
  Q_OBJECT
 public:
  explicit ViewPanel(QWidget* parent = nullptr);

  /// Null: nothing is selected.
  void setSelection(const util::YPointer<scene::SceneElement>& element);
  /// Shows the whole scene, and goes on doing so when the panel gets another size.
  void showAll();
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

 signals:
  /// The user clicked into the panel or moved the focus to it.
  void activated();
  void resized();

 protected:
  void paintGL() override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void paintOver();
  void widen();
  QSizeF frameSize() const;
  QSize fittedArea() const;
  bool isShownAsActive() const;

  util::YPointer<scene::SceneElement> m_Selection;
  bool m_ShowsAll = true;  ///< and nobody has moved the view since
  bool m_Held = false;
  main::ParameterSet::Frame m_Frame;
  bool m_FocusedByKey = false;  ///< so that the user must see where the focus is
};

}  // namespace nubo::window
