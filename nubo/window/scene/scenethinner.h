// Makes better coarse versions of a scene that is shown, for views that move.
#pragma once

#include <QThread>
#include <atomic>
#include <memory>

#include "module_scene/graph/sceneelement.h"

namespace nubo::window {

/// Works behind everything else on a thread of its own; until then views use what was made quickly. Application thread.
class SceneThinner {
 public:
  SceneThinner() = default;
  /// Ends what is being made.
  ~SceneThinner() { stop(); }
  SceneThinner(const SceneThinner&) = delete;
  SceneThinner& operator=(const SceneThinner&) = delete;

  /// Begins with all in and below `root`, and gives up what came before. The scene's lock is taken for a moment.
  void thin(const scene::SceneElement& root);

 private:
  void stop();

  std::atomic<bool> m_Cancelled{false};
  std::unique_ptr<QThread> m_Thread;
};

}  // namespace nubo::window
