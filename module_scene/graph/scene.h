// The scene and the locks that keep it still.
#pragma once

#include <QColor>
#include <atomic>
#include <memory>

#include "module_scene/graph/background.h"
#include "module_scene/graph/look.h"
#include "module_scene/graph/sceneelement.h"
#include "module_scene/graph/section.h"

namespace nubo::scene {

/// What a lock keeps still, as bits.
enum LOCKTYPE { LockStructure = 1, LockTransforms = 2, LockData = 4, LockAll = 7 };

/// A tree of elements with a background. Locks keep changes out, not other readers: any number of
/// threads may hold one at a time, and a thread may hold several.
///
/// Locks and changes are granted in the order in which they were asked for, so that neither starves the
/// other. Two kinds of thread wait for changes in progress only, not for those that still wait: one that
/// holds a lock of this scene already, and the application thread, on which lock holders may depend.
class NUBO_MODULE_SCENE_EXPORT Scene : public util::YObject {
 public:
  Scene();
  ~Scene() override;

  /// Null: there is nothing to draw. Any thread, with or without a lock.
  util::YPointer<SceneElement> getRootNode() const;
  /// A change of structure of its own: waits for locks like SceneChange.
  void setRootNode(const util::YPointer<SceneElement>& root);
  Background getBackground() const;
  QColor getBackgroundColor() const;
  /// A change of data of its own: waits for locks like SceneChange.
  void setBackground(const Background& background);

  // What else a drawing depends on; any thread. Drawers copy it when they are made. No change in the sense of locks.
  /// Samples per pixel for edge smoothing, 0 for none.
  int getSamples() const { return m_Samples; }
  void setSamples(int samples) { m_Samples = samples; }
  /// Height in pixels of the view in which the widths of points and lines are told, the active panel's; 0: there is
  /// none.
  int getViewHeight() const { return m_ViewHeight; }
  void setViewHeight(int pixels) { m_ViewHeight = pixels; }
  Look getLook() const { return m_Look; }
  void setLook(Look look) { m_Look = look; }
  /// Whether a surface's creases and borders are drawn as lines; a technical look always has them.
  bool hasEdges() const { return m_Edges; }
  void setEdges(bool drawn) { m_Edges = drawn; }

  /// Whether surfaces that stand close to each other take each other light, in the looks that have such.
  bool hasContact() const { return m_Contact; }
  void setContact(bool drawn) { m_Contact = drawn; }

  /// Whether there is a ground that takes a soft shadow.
  bool hasGround() const { return m_Ground; }
  void setGround(bool drawn) { m_Ground = drawn; }

  /// What lights surfaces in the place of the studio, an Environment of draw/environment.h; null: the studio does.
  util::YPointer<util::YObject> getEnvironment() const;
  void setEnvironment(const util::YPointer<util::YObject>& environment);

  /// What cuts the scene open; null: nothing does.
  util::YPointer<Section> getSection() const;
  void setSection(const util::YPointer<Section>& section);

  /// Keeps everything still until the matching unlock() on the same thread; waits for a change in
  /// progress to end.
  void lock() { lock(LockAll); }
  void unlock() { unlock(LockAll); }
  void lock(LOCKTYPE type);
  void unlock(LOCKTYPE type);
  /// How many changes there have been: while it is the same, nothing has changed. Any thread.
  std::uint64_t changeCount() const;

 private:
  friend class SceneChange;
  void beginChange(LOCKTYPE type);
  void endChange(LOCKTYPE type);
  std::atomic<int> m_Samples{4};
  std::atomic<int> m_ViewHeight{0};
  std::atomic<Look> m_Look{Look::Studio};
  std::atomic<bool> m_Edges{false};
  std::atomic<bool> m_Contact{true};
  std::atomic<bool> m_Ground{false};
  struct Private;
  std::unique_ptr<Private> d;
};

/// Holds a lock from construction until unlock() or destruction, on one thread. Without a scene it does nothing.
class NUBO_MODULE_SCENE_EXPORT SceneLocker {
 public:
  SceneLocker(const util::YPointer<Scene>& scene, LOCKTYPE type);
  ~SceneLocker();
  SceneLocker(const SceneLocker&) = delete;
  SceneLocker& operator=(const SceneLocker&) = delete;
  void unlock();

 private:
  util::YPointer<Scene> m_Scene;
  LOCKTYPE m_Type;
};

/// The right to change what `type` names, from construction to destruction; waits until no other
/// thread holds a lock on any of it. The thread must not hold a lock of the scene itself.
class NUBO_MODULE_SCENE_EXPORT SceneChange {
 public:
  SceneChange(const util::YPointer<Scene>& scene, LOCKTYPE type);
  ~SceneChange();
  SceneChange(const SceneChange&) = delete;
  SceneChange& operator=(const SceneChange&) = delete;

 private:
  util::YPointer<Scene> m_Scene;
  LOCKTYPE m_Type;
};

/// The scene that the program shows; null before there is a viewer and after it is gone. Any thread.
NUBO_MODULE_SCENE_EXPORT util::YPointer<Scene> _GlobalScene();
/// Makes a scene that one, or none (null). Its owner keeps it for as long.
void setGlobalScene(Scene* scene);

}  // namespace nubo::scene
