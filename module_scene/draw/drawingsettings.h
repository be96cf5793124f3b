// How a scene is drawn.
#pragma once

#include "module_scene/draw/environment.h"
#include "module_scene/graph/scene.h"

namespace nubo::scene {

/// What a drawing depends on beside the scene's elements and the view.
struct DrawingSettings {
  int samples = 0, viewHeight = 0;
  Look look = Look::Studio;
  bool drawsEdges = false, drawsContact = false, drawsGround = false;
  util::YPointer<Environment> environment;
  util::YPointer<Section> section;

  DrawingSettings() = default;
  /// The scene's own.
  explicit DrawingSettings(const Scene& scene)
      : samples(scene.getSamples()),
        viewHeight(scene.getViewHeight()),
        look(scene.getLook()),
        drawsEdges(scene.hasEdges()),
        drawsContact(scene.hasContact()),
        drawsGround(scene.hasGround()),
        environment(environmentOf(scene)),
        section(scene.getSection()) {}
};

}  // namespace nubo::scene
