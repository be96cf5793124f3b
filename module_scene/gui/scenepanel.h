// A widget that shows the global scene.
#pragma once

#include <QOpenGLFramebufferObject>
#include <QOpenGLWidget>
#include <memory>

#include "module_scene/gui/subject.h"

namespace nubo::scene {
class SceneDrawer;
}

namespace nubo::gui {

/// Orbit with the left button, pan with the middle one (or shift), zoom with the wheel or the right one.
/// Application thread only. Needs no visible window to be grabbed: its size and matrix are enough.
/// Emits destroyed(this) at the beginning of its destructor, while it is still whole.
class NUBO_MODULE_SCENE_EXPORT ScenePanel : public QOpenGLWidget {
  Q_OBJECT
 public:
  explicit ScenePanel(QWidget* parent = nullptr);
  ~ScenePanel() override;

  /// The view transform: from the scene to eye space, scaled so that the model has a radius of 1.
  /// For an orthographic camera it is projective: every frustum between the drawer's distances then shows the scene in
  /// parallel.
  math::Matrix<double, 4, 4> getScaledTransformMatrix() const;
  const Camera& getCamera() const { return m_Camera; }
  void setCamera(const Camera& camera);
  /// Shows the whole scene from the direction as it is, with room for turning about the vertical axis.
  void fit();
  /// How much of a view's height is left free below and above of what is fitted, from 0 to 0.45.
  void setMargin(double margin) { m_Margin = margin; }
  double getMargin() const { return m_Margin; }
  /// By how many pixels a drawing may be wrong (SceneDrawer::glDraw's `detail`); 0 draws everything as it is. From 8 on
  /// it has half the resolution, from 16 on a quarter.
  void setDetail(double pixels) { m_Detail = pixels; }
  double getDetail() const { return m_Detail; }

 signals:
  /// The view transform is another now; application thread.
  void cameraChanged();

 protected:
  /// The whole scene as it is now, from the camera's direction; null: there is none.
  std::shared_ptr<const Subject> wholeScene() const;
  /// Shows so many times as much to all sides as pictures of the panel do; the view transform stays as it is.
  void setWidening(double factor);
  double getWidening() const { return m_Widening; }

  static constexpr int AllLayers = 65535, AllKinds = 7;

  void initializeGL() override;
  void paintGL() override;
  void resizeEvent(QResizeEvent* event) override;
  /// Clears the bound framebuffer, which has the panel's size or is so many times smaller, and sets up the drawer and
  /// the matrices for it.
  void beginFrame(scene::SceneDrawer& drawer, int samples, int smaller = 1) const;
  /// What the panel is drawn with, of its context.
  scene::SceneDrawer& drawer();
  /// Has ready what thinned drawings need, so that the first takes no longer than others; leaves any picture in the
  /// bound framebuffer. The context must be current, and the scene locked.
  void prepareThinned();
  /// Makes the bound framebuffer opaque, whatever the drawer left.
  static void endFrame();
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  void drawScene(int samples, int smaller);
  template <class Draw>
  void throughSmaller(int times, Draw draw);
  QSize pixels(int smaller = 1) const;

  Camera m_Camera;
  double m_Detail = 0.0;
  double m_Margin = Camera::UsualMargin;
  double m_Widening = 1.0;
  std::unique_ptr<scene::SceneDrawer> m_Drawer;
  std::unique_ptr<QOpenGLFramebufferObject> m_Smaller;  ///< for drawings of less resolution
  QPoint m_LastPosition;
};

}  // namespace nubo::gui
