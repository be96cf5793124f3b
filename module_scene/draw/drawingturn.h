// Who may draw next, where drawing keeps all processors busy.
#pragma once

#include "module_scene/visibility.h"

namespace nubo::scene {

/// The right to draw for some milliseconds, from construction to destruction; threads get it in the order in which they
/// ask. So whoever draws much, in parts, keeps the window waiting for one part at most. It is taken by whoever draws
/// once a window does; a thread that has it takes no other lock than a reader's of the scene.
class NUBO_MODULE_SCENE_EXPORT DrawingTurn {
 public:
  DrawingTurn();
  ~DrawingTurn();
  DrawingTurn(const DrawingTurn&) = delete;
  DrawingTurn& operator=(const DrawingTurn&) = delete;

  /// From now on, others than the application thread draw in turn. Any thread.
  static void setShared();
  /// Whether a drawing on this thread must take turns.
  static bool mustBeTaken();
};

}  // namespace nubo::scene
