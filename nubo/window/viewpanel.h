// A scene panel as the window shows it.
#pragma once

#include <QOpenGLFramebufferObject>
#include <QTimer>
#include <memory>
#include <optional>

#include "module_scene/graph/sceneelement.h"
#include "module_scene/gui/scenepanel.h"

namespace nubo::window {

/// A scene panel with keys, an axis cross, and a frame around the selected element. While the view moves, models too
/// big to be drawn at once are thinned; at rest all is drawn, in parts between which the window answers. Application
/// thread.
class ViewPanel : public gui::ScenePanel {
  Q_OBJECT
 public:
  explicit ViewPanel(QWidget* parent = nullptr);
  ~ViewPanel() override;

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
  /// Brings the selected element, or all, into view.
  void fitSelection();
  void zoom(double factor);

 signals:
  /// The user clicked into the panel or moved the focus to it.
  void activated();

 protected:
  void initializeGL() override;
  void paintGL() override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  /// All that a picture of the scene depends on.
  struct View {
    math::Matrix4 transform;
    QSize pixels;
    int samples;
    std::uint64_t changes;  ///< of the scene
    bool operator==(const View& other) const {
      return transform == other.transform && pixels == other.pixels && samples == other.samples &&
             changes == other.changes;
    }
  };
  View currentView() const;
  void paintScene();
  void paintThinned();
  void drawOn();
  bool drawPart(const View& view);
  void paintOver();
  void paintAxes(QPainter& painter) const;
  void paintInvitation(QPainter& painter) const;
  void paintSelection(QPainter& painter) const;
  bool isShownAsActive() const;

  util::YPointer<scene::SceneElement> m_Selection;
  std::unique_ptr<scene::SceneDrawer> m_WholeDrawer;
  std::unique_ptr<QOpenGLFramebufferObject> m_Whole;
  std::optional<View> m_Begun;    ///< what m_Whole shows, or will when it is complete
  std::optional<View> m_Thinned;  ///< that was painted last
  bool m_Complete = false;
  qint64 m_WholeTime = 0;      ///< milliseconds that it has taken
  bool m_Slow = false;         ///< the last whole drawing took too long for a moving view
  double m_MovingDetail = 32;  ///< what a moving view leaves out, in pixels
  QTimer m_Rest;               ///< runs while the view moves
  QTimer m_Parts;              ///< runs while the whole is drawn
  bool m_ShowsAll = true;      ///< and nobody has moved the view since
  bool m_Held = false;
  bool m_FocusedByKey = false;  ///< so that the user must see where the focus is
};

}  // namespace nubo::window
