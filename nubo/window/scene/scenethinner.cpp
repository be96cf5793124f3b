#include "nubo/window/scene/scenethinner.h"

#include "module_scene/graph/scene.h"
#include "module_scene/mesh/coarsening.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::window {

void SceneThinner::thin(const scene::SceneElement& root) {
  stop();
  std::vector<scene::Coarsenable> geometries;
  {
    const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
    geometries = scene::worthCoarsening(root);
  }
  if (geometries.empty()) return;
  m_Thread.reset(QThread::create([this, geometries = std::move(geometries)] {
    scene::letOthersGoFirst();
    scene::makeCoarseVersions(geometries, scene::Coarsening::Fine, m_Cancelled);
  }));
  m_Thread->start();
}

void SceneThinner::stop() {
  if (!m_Thread) return;
  m_Cancelled = true;
  m_Thread->wait();
  m_Thread.reset();
  m_Cancelled = false;
}

}  // namespace nubo::window
