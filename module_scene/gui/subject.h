// What a view is fitted to.
#pragma once

#include <QSize>

#include "module_scene/graph/scene.h"
#include "module_scene/gui/framing.h"

namespace nubo::gui {

/// Something of a scene as it stood when this was made, in the middle of views from one direction, with room for
/// turning about the vertical axis. Views of any size can be fitted to it, whatever has become of the scene. A value
/// without an owner's thread.
class NUBO_MODULE_SCENE_EXPORT Subject {
 public:
  /// All that is visible in and below the element, and that the scene's section has left of it. The caller holds the
  /// scene's lock.
  Subject(const Camera& direction, const scene::SceneElement& element, const scene::Scene& scene);

  /// Whether there is anything of it.
  explicit operator bool() const { return !m_Box.isEmpty(); }
  /// For a view of this size; the direction's camera where there is nothing. `margin` is the part of the view's height
  /// that is left free below and above, from 0 to 0.45.
  Camera camera(const QSize& view, double margin) const;
  /// Whether views from the same direction are fitted to both in the same way.
  bool operator==(const Subject& other) const;

 private:
  scene::BoundingBox m_Box;
  Framing m_Still, m_Turning;
};

}  // namespace nubo::gui
