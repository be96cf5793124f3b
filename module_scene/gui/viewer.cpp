#include "module_scene/gui/viewer.h"

#include <atomic>

#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "module_scene/gui/castclasses.h"

namespace nubo::gui {

namespace {

std::atomic<Viewer*> s_Viewer{nullptr};

}  // namespace

Viewer::Viewer() : m_Scene(new scene::Scene), m_Context(std::make_unique<scene::SharedContext>()) {
  m_FboAvailable = m_Context->hasFramebufferObjects();
  registerCastClasses();
  scene::setGlobalScene(m_Scene.get());
  scene::setGlobalContext(m_Context.get());
  s_Viewer = this;
}

Viewer::~Viewer() {
  s_Viewer = nullptr;
  scene::setGlobalScene(nullptr);
  scene::setGlobalContext(nullptr);
  // Before the scene: with the last context goes all that OpenGL holds. One by one, the buffers of many parts are each
  // looked for in a list of all.
  m_Context = nullptr;
}

Viewer* Viewer::getInstance() { return s_Viewer; }

void Viewer::setActivePanel(ScenePanel* panel) {
  if (panel == mp_ActivePanel) return;
  mp_ActivePanel = panel;
  m_Scene->setViewHeight(panel ? panel->height() : 0);
  const unsigned long type = events::EventHandler::getInstance()->addEvent("Scene", "SCENEPANEL_CHANGED");
  events::EventManager::getInstance()->fireEvent(main::Event(type, panel, nullptr, false));
}

void Viewer::panelResized(const ScenePanel* panel) {
  if (panel == mp_ActivePanel) m_Scene->setViewHeight(panel->height());
}

void Viewer::addPanel(ScenePanel* panel) { m_Panels.append(panel); }

void Viewer::removePanel(ScenePanel* panel) {
  m_Panels.removeOne(panel);
  if (panel == mp_ActivePanel) setActivePanel(nullptr);
}

}  // namespace nubo::gui
