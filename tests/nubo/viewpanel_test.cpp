#include <gtest/gtest.h>

#include "module_scene/mesh/coarsening.h"
#include "module_scene/mesh/meshbuilder.h"
#include "nubo/window/panels/viewpanel.h"
#include "support/host.h"

namespace nubo::test {

namespace {

/// So many faces that they are not drawn at once.
util::YPointer<scene::SceneElement> largeBall() {
  util::YPointer<scene::SceneElement> root(new scene::SceneElement);
  std::vector<scene::MeshBuilder::Point2> profile;
  for (int i = 0; i <= 240; ++i) profile.push_back({std::sin(M_PI * i / 240), -std::cos(M_PI * i / 240)});
  util::YPointer<scene::Material> material(new scene::Material);
  root->addGeometry(scene::MeshBuilder(material).turned(profile, false, 480).finish());
  scene::makeCoarseVersions(scene::worthCoarsening(*root), scene::Coarsening::Quick, false);
  return root;
}

TEST(ViewPanel, ShowsTheWholeModelAtRestWhateverHappenedBefore) {
  Host host;
  const auto root = largeBall();
  host.viewer.getGlobalScene()->setRootNode(root);
  window::ViewPanel panel;
  gui::ScenePanel whole;  // draws all, always
  for (QWidget* widget : {static_cast<QWidget*>(&panel), static_cast<QWidget*>(&whole)}) widget->resize(400, 300);
  whole.fit();
  panel.setCamera(whole.getCamera());
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"turned",
       [&] {
         gui::Camera camera = whole.getCamera();
         camera.orbit(40, 10);
         whole.setCamera(camera);
         panel.setCamera(camera);
       }},
      {"element moved",
       [&] {
         const scene::SceneChange change(scene::_GlobalScene(), scene::LockTransforms);
         root->setTransform(math::translation(0.3, 0.1, 0));
       }},
      {"coloured behind", [&] { host.viewer.getGlobalScene()->setBackground({Qt::darkGreen}); }},
      {"unsmoothed", [&] { scene::_GlobalScene()->setSamples(0); }},
      {"smaller",
       [&] {
         panel.resize(300, 260);
         whole.resize(300, 260);
       }},
  };
  for (const auto& [name, change] : changes) {
    const QImage before = whole.grabFramebuffer();
    panel.grabFramebuffer();  // and what follows may come while this is under way
    QCoreApplication::processEvents();
    change();
    const QImage expected = whole.grabFramebuffer();
    // Neither drawing has what the panel paints over the scene, in its lower left corner.
    const QRect part(100, 0, expected.width() - 100, expected.height());
    ASSERT_NE(expected.copy(part), before.copy(part)) << name;
    ASSERT_TRUE(waitUntil([&] { return panel.grabFramebuffer().copy(part) == expected.copy(part); })) << name;
  }
}

}  // namespace

}  // namespace nubo::test
