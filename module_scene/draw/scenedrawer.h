// Draws a scene into the current OpenGL context.
#pragma once

#include <QColor>
#include <memory>

#include "module_scene/graph/scene.h"

namespace nubo::scene {

class Environment;

/// One drawer serves one context at a time, on the thread on which that is current. The caller binds
/// its framebuffer, clears it, sets the projection matrix and LIGHT0, and holds the scene's lock.
class NUBO_MODULE_SCENE_EXPORT SceneDrawer {
 public:
  /// Near and far clipping distances in the scaled space that ScenePanel's transform leads to, where
  /// the whole model has a radius of 1.
  static const double ZNEAR;
  static const double ZFAR;

  /// With another that draws on the same thread and context, it has programs in common.
  explicit SceneDrawer(const util::YPointer<Scene>& scene, const SceneDrawer* other = nullptr);
  ~SceneDrawer();
  SceneDrawer(const SceneDrawer&) = delete;
  SceneDrawer& operator=(const SceneDrawer&) = delete;

  /// Size in pixels of the area drawn into: the whole framebuffer. Sets the viewport.
  void resize(int width, int height);
  QColor getBackgroundColor() const;

  /// Draws `root` (and `second`, if any) under `transform`, which leads from the scene to eye space.
  /// `detail` 0.0 draws everything as it is; for larger values shapes may lie off by that many pixels, four at most,
  /// and what is smaller than one may be left out. `layers` and `kinds` are sets of Layer and Kind bits.
  ///
  /// Edges are smoothed with the scene's number of samples. A picture (no layers beyond 3) keeps an edge
  /// pixel's own colour and carries coverage in alpha, so that it composes over any background; with
  /// overlay layers edges blend into the background colour. The framebuffer's depth is not kept.
  /// Points and lines, which have a width, are drawn whole where they only reach into the area.
  void glDraw(const util::YPointer<SceneElement>& root, const util::YPointer<SceneElement>& second,
              const math::Matrix4& transform, double detail, int layers, int kinds);
  /// Whether the last drawing left the framebuffer as it was, because nothing is to be seen there.
  bool isEmpty() const;

  /// Begins to draw all of `root` as glDraw would. drawPart() does it, with the same context, matrices and framebuffer,
  /// for as long as the scene is found unchanged (Scene::changeCount()); its lock may be given up in between.
  void beginParts(const util::YPointer<SceneElement>& root, const math::Matrix4& transform, int layers, int kinds);
  /// Draws on for about so long. False: the drawing is complete, and is now in the framebuffer.
  [[nodiscard]] bool drawPart(double milliseconds);

  /// Copies what is drawn of `root` to OpenGL's memory, so that the first drawing does not have to. Any thread with a
  /// current context that shares with the viewer's.
  static void upload(const SceneElement& root);

  /// Joins small parts of `root`, for about so long, so that drawings of it in motion take less from then on: until it
  /// changes, which then holds for what has changed. The scene's lock is held, and the context current. False: all is
  /// joined.
  [[nodiscard]] bool join(const SceneElement& root, double milliseconds);

  /// Has the driver make one of the programs that most drawings need, so that the first of them does not have to wait.
  /// False: all are there, or the look needs none.
  [[nodiscard]] bool makeReady();
  /// Has it make what it needs for drawing with this detail. The framebuffer is bound and set up as for glDraw; nothing
  /// is drawn into it.
  void prepare(double detail);

  /// Height of the view in which the widths of points and lines are in pixels: in a larger picture of it they are as
  /// much larger, as far as OpenGL can draw them. 0: they are in pixels of any picture. The scene's when
  /// the drawer was made.
  void setViewHeight(int pixels);
  /// Samples per pixel for edge smoothing, 0 for none; the scene's setting when the drawer was made.
  void setSamples(int samples);
  /// The scene's setting when the drawer was made. Where OpenGL lacks what another needs, Look::Plain is drawn, as
  /// the log tells.
  void setLook(Look look);
  /// Whether creases and borders of surfaces are drawn as lines, as they always are in a technical look; the scene's
  /// setting when the drawer was made.
  void setEdges(bool drawn);
  /// Whether surfaces that stand close to each other take each other light, and points show by shades what stands
  /// before what, in the studio and of clay; the scene's setting when the drawer was made.
  void setContact(bool drawn);
  /// Whether what is drawn casts a soft shadow onto a ground below it, of which nothing else is seen; the scene's
  /// setting when the drawer was made.
  void setGround(bool drawn);
  /// What lights surfaces in looks other than the plain one; null: the studio.
  void setEnvironment(const util::YPointer<Environment>& environment);
  /// What of the model is taken away, while overlays stay; null: nothing. The scene's when the drawer was made.
  void setSection(const util::YPointer<Section>& section);

 private:
  struct Private;
  std::unique_ptr<Private> d;
};

}  // namespace nubo::scene
