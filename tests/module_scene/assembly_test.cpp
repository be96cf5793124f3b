// Many parts show what each of them alone would, whatever becomes of them.
#include <utility>

#include "drawerfixture.h"

namespace nubo::scene {
namespace {

/// Parts of four materials in groups of ten, every seventh one transparent, with lines and points among them; part i is
/// at a place by a formula. `asked`: nothing is known of where they are, so that each must be asked.
Element assembly(bool asked) {
  constexpr int Count = 300;
  const util::YPointer<Material> materials[]{paint(QColor(200, 90, 60), true), paint(QColor(60, 160, 90), true),
                                             paint(QColor(90, 90, 220), true), paint(QColor(230, 220, 90, 110), true)};
  const Element root(new SceneElement);
  for (int i = 0; i < Count; ++i) {
    GeometryPointer geometry = i % 10 == 4 ? strokes(KindLines, 3, 4, unsigned(i)) : nullptr;
    if (i % 10 == 8) geometry = strokes(KindPoints, 5, 20, unsigned(i));
    if (!geometry) geometry = bumpyBall(Qt::white, 6 + i % 5);
    geometry->material = materials[i % 7 == 3 ? 3 : i % 3];
    geometry->transparent = i % 7 == 3;
    geometry->closed = false;  // or back faces would be left out of what lies wholly before the eye only
    if (asked) geometry->box.add(math::Vector3{-1e6, -1e6, -1e6});
    if (asked) geometry->box.add(math::Vector3{1e6, 1e6, 1e6});
    if (i % 10 == 0) root->addChild(element({}, math::rotation(0.3 * i, {0, 0, 1})));
    root->getChildren().back()->addChild(
        element({geometry}, math::translation(std::sin(i * 1.7), std::cos(i * 2.3), std::sin(i * 0.9)) *
                                math::scaling(0.1, i % 2 ? -0.1 : 0.1, 0.07)));
  }
  return root;
}

TEST_F(DrawerTest, PartsOfAnAssemblyAreDrawnAsIfEachWereAsked) {
  struct Step {
    const char* what;
    void (*change)(SceneElement& root);
  };
  const Step steps[] = {
      {"as it was made", [](SceneElement&) {}},
      {"a part moved", [](SceneElement& root) { root.getChildren()[3]->setTransform(math::translation(0.4, 0, 0.5)); }},
      {"a group hidden", [](SceneElement& root) { root.getChildren()[5]->setVisible(false); }},
      {"and shown, another one hidden",
       [](SceneElement& root) {
         root.getChildren()[5]->setVisible(true);
         root.getChildren()[6]->setVisible(false);
       }},
      {"parts that are no longer there", [](SceneElement& root) { root.removeChild(root.getChildren()[7].get()); }},
      {"a marker among them", [](SceneElement& root) { root.getChildren()[8]->setLayer(LayerMarkers); }},
      {"all moved", [](SceneElement& root) {
         root.setTransform(math::rotation(1, {0, 1, 0}));
       }}};
  const Element fast = assembly(false), asked = assembly(true);
  SceneDrawer drawer(viewer.getGlobalScene());
  QImage before;
  for (const Step& step : steps) {
    SCOPED_TRACE(step.what);
    {
      const SceneChange change(viewer.getGlobalScene(), LockAll);
      for (const Element& root : {fast, asked}) step.change(*root);
    }
    Shot shot;
    for (const bool amidst : {true, false}) {
      shot.transform = amidst ? math::translation(0.2, 0.1, 0.3) : math::translation(0, 0, -3.2);
      shot.root = asked;
      const QImage expected = draw(shot);
      shot.root = fast;
      const QImage drawn = drawPart(drawer, shot, 0, 0, shot.width, shot.height);
      EXPECT_EQ(drawn, expected) << compare(drawn, expected);
      if (amidst) continue;
      EXPECT_NE(std::exchange(before, drawn), drawn);
    }
  }
}

}  // namespace
}  // namespace nubo::scene
