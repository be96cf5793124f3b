// The scene library's root object.
#pragma once

#include <QList>
#include <memory>

#include "module_scene/draw/sharedcontext.h"
#include "module_scene/graph/scene.h"
#include "module_scene/gui/scenepanel.h"

namespace nubo::gui {

/// Made once by the program on the application thread after the Overseer, and destroyed before it, after
/// all panels. Registers the cast classes of the scene's types. Application thread, except where it says otherwise.
class NUBO_MODULE_SCENE_EXPORT Viewer {
 public:
  Viewer();
  ~Viewer();
  Viewer(const Viewer&) = delete;
  Viewer& operator=(const Viewer&) = delete;
  /// Null before the program made it and after it is gone; any thread.
  static Viewer* getInstance();

  /// Never null; any thread.
  util::YPointer<scene::Scene>& getGlobalScene() { return m_Scene; }
  scene::SharedContext* getSharedContext() { return m_Context.get(); }
  /// Whether OpenGL has framebuffer objects; any thread.
  bool isFboAvailable() const { return m_FboAvailable; }

  /// Makes a panel (or none, null) the active one and fires "SCENEPANEL_CHANGED" with it. A destroyed active
  /// panel is replaced by none.
  void setActivePanel(ScenePanel* panel);
  ScenePanel* getActivePanel() const { return mp_ActivePanel; }
  const QList<ScenePanel*>& getPanels() const { return m_Panels; }

 private:
  friend class ScenePanel;
  void addPanel(ScenePanel* panel);
  void removePanel(ScenePanel* panel);
  void panelResized(const ScenePanel* panel);

  util::YPointer<scene::Scene> m_Scene;
  std::unique_ptr<scene::SharedContext> m_Context;
  bool m_FboAvailable = false;
  QList<ScenePanel*> m_Panels;
  ScenePanel* mp_ActivePanel = nullptr;
};

}  // namespace nubo::gui
