// Small parts that are drawn together show what they are and where they are.
#include "drawerfixture.h"

namespace nubo::scene {
namespace {

constexpr int Side = 16;

class JoinedPartsTest : public DrawerTest {
 protected:
  // Of the scene's root, by what was joined of it, in motion.
  QImage drawMoving(Shot shot) {
    shot.detail = 8;
    return drawPart(drawer, shot, 0, 0, shot.width, shot.height);
  }
  void join(const Shot& shot) {
    drawMoving(shot);  // which tells the drawer how
    const SceneLocker locker(viewer.getGlobalScene(), LockAll);
    while (drawer.join(*root, 0)) continue;
  }
  void add(const GeometryPointer& geometry, int number, double way, const math::Matrix4& turn) {
    const int row = number / Side, column = number % Side;
    if (column == 0) root->addChild(element({}, math::translation(0, way * (row - 7.5), 0)));
    root->getChildren().back()->addChild(element({geometry}, math::translation(way * (column - 7.5), 0, 0) * turn));
  }
  SceneElement& part(int row, int column) { return *root->getChildren()[row]->getChildren()[column]; }
  static QColor color(int number) { return QColor::fromHsv(number * 47 % 360, 200, 120 + number * 31 % 130); }

  Element root{new SceneElement};
  SceneDrawer drawer{viewer.getGlobalScene()};
};

// Plates of some three pixels, turned any way, stretched, and some of them mirrored. A box stands for each as it is, so
// that there is nothing to see of it.
TEST_F(JoinedPartsTest, PartsAreShownWhereTheyAreWhateverHappensToThem) {
  for (int i = 0; i < Side * Side; ++i) {
    const auto plate = MeshBuilder(paint(color(i), true)).box({-0.5, -0.5, -0.0005}, {0.5, 0.5, 0.0005}).finish();
    PhysicalMaterial& physical = plate->material->physical.emplace();
    std::copy_n(paint(color(i + 5))->diffuse.begin(), 3, physical.baseColor.begin());
    const math::Matrix4 stretched = math::scaling(i % 3 ? 0.024 : -0.024, 0.024, 0.04) * math::rotation(0.5, {1, 0, 0});
    add(plate, i, 0.05, math::rotation(0.04 * (i % 20), {0.6, 0.8, 0}) * stretched);
  }
  Shot shot;
  shot.root = root;
  const auto change = [&](const std::function<void()>& what) {
    const SceneChange change(viewer.getGlobalScene(), LockAll);
    what();
  };
  const auto move = [&](double way) {
    change([&] { part(3, 4).setTransform(math::translation(way, 0.2, 0.1) * part(3, 4).getTransform()); });
  };
  struct Row {
    const char* name;
    std::function<void()> happens;
  };
  const Row rows[] = {
      {"turned",
       [&] {
         shot.transform = shot.transform * math::rotation(0.1, {0, 1, 0});
       }},
      {"a part moved", [&] { move(0.3); }},
      {"and again", [&] { move(0.2); }},
      {"and again, while the view turns",
       [&] {
         move(-0.7);
         shot.transform = shot.transform * math::rotation(-0.2, {1, 0, 0});
       }},
      {"joined again", [&] { join(shot); }},
      {"a row moved", [&] { change([&] { root->getChildren()[9]->setTransform(math::translation(0.2, 0.5, 0)); }); }},
      {"a part hidden", [&] { change([&] { part(10, 10).setVisible(false); }); }},
      {"joined without it", [&] { join(shot); }},
      {"a part is another",
       [&] {
         change([&] { part(7, 7).setGeometry(0, part(12, 3).getGeometries()[0]); });
         join(shot);
       }},
      {"a row is of markers, which this shows none of",
       [&] {
         change([&] { root->getChildren()[5]->setLayer(LayerMarkers); });
         shot.transform = shot.transform * math::rotation(0.05, {1, 0, 0});
       }},
      {"cut",
       [&] {
         shot.section = new Section({{1, 0.3, 0}, 0.06});
       }},
      {"joined where it is cut", [&] { join(shot); }},
      {"in another look", [&] { shot.look = Look::Studio; }},
      {"joined in that", [&] { join(shot); }},
      {"with edges", [&] { shot.look = Look::Technical; }},
  };
  join(shot);
  for (const Row& row : rows) {
    row.happens();
    const test::Difference difference = compare(drawMoving(shot), draw(shot));
    EXPECT_GT(difference.covered, 500) << row.name;
    EXPECT_LE(difference.clear, 7) << row.name << ": " << difference;
  }
}

// A third of a pixel each: one by one they are left out.
TEST_F(JoinedPartsTest, PartsThatAreTooSmallToBeSeenAreSeenTogether) {
  const GeometryPointer balls[]{bumpyBall(QColor(220, 60, 40), 12, 1, 0), bumpyBall(QColor(40, 120, 220), 12, 1, 0)};
  for (int i = 0; i < Side * Side; ++i) add(balls[i % 2], i, 0.01, math::scaling(2.8e-3, 2.8e-3, 2.8e-3));
  for (const Look look : {Look::Plain, Look::Studio}) {
    Shot shot;
    shot.root = root;
    shot.look = look;
    shot.transform = shot.transform * math::rotation(0.4, {0, 0, 1});
    const auto mean = [&](const QImage& picture) {
      return picture.copy(122, 122, 12, 12).scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).pixel(0, 0);
    };
    EXPECT_EQ(compare(drawMoving(shot), draw(shot)).covered, 0);
    join(shot);
    const QImage together = drawMoving(shot);
    EXPECT_EQ(drawPart(drawer, shot, 0, 0, shot.width, shot.height), draw(shot)) << "at rest all is as it is";
    shot.samples = 16;
    const QRgb expected = mean(draw(shot)), found = mean(together);
    EXPECT_LE(test::distance(found | 0xff000000, expected | 0xff000000), 24) << nameOf(look).toStdString();
    EXPECT_GT(qAlpha(expected), 50);
    EXPECT_NEAR(std::log2(qAlpha(found) / double(qAlpha(expected))), 0, 0.7);
  }
}

}  // namespace
}  // namespace nubo::scene
