// Where the vertices of skinned and morphed models are at each step of their animations, by the formula.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>

#include "module_scene/gui/viewer.h"
#include "module_scene/io/importer.h"
#include "module_trajectory/animationtrajectory.h"

namespace nubo::trajectory {
namespace {

using Numbers = std::vector<double>;
using Points = std::vector<math::Vector3>;

// What deformed.gltf holds: an upright strip that a shoulder and an elbow share, which is bone 0 of its second set of
// bones; and a triangle with two shapes, without normals. Keys are half a second apart. A vertex is shared in 65535ths,
// of which only 32768 are told. The strip's own node stands somewhere else, which does not matter.
constexpr int Rows = 21;
constexpr double KeySpan = 0.5, Whole = 32768;
const Points Triangle{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
const std::vector<Points> Shapes{{{0, 0, 0.5}, {0, 0, 1}, {0, 0, 1.5}}, {{-1, 0, 0}, {0, 0, 0}, {0, 2, 0}}};
const std::vector<Numbers> Rotations{{0, 0, 0, 1}, {0, 0, std::sqrt(0.5), std::sqrt(0.5)}, {0, 0, 0.6, 0.8}};
const std::vector<Numbers> Weights{{0, 1}, {1, 0.5}, {0.5, -0.5}};
const Numbers Before{0.1, 0.2, -0.4, 0.3}, After{-0.2, 0.1, 1.5, -0.7};  // tangents

double elbowsShare(int row) { return std::round(Whole * row / (Rows - 1)) / Whole; }
math::Vector3 armPoint(int row, int side) { return {side ? 0.1 : -0.1, 2.0 * row / (Rows - 1), 0}; }

Numbers valueAt(const std::vector<Numbers>& keys, const QString& interpolation, double time) {
  const auto k = std::min(std::size_t(time / KeySpan), keys.size() - 1);
  if (k + 1 == keys.size() || interpolation == "STEP") return keys[k];
  const double u = time / KeySpan - double(k);
  Numbers result;
  double cosine = 0;
  for (std::size_t i = 0; i < keys[k].size(); ++i) cosine += keys[k][i] * keys[k + 1][i];
  const double angle = std::acos(cosine);
  const bool turns = keys[k].size() == 4;
  for (std::size_t i = 0; i < keys[k].size(); ++i) {
    const double from = keys[k][i], to = keys[k + 1][i];
    if (interpolation == "CUBICSPLINE")
      result.push_back((2 * u * u * u - 3 * u * u + 1) * from + KeySpan * (u * u * u - 2 * u * u + u) * After[i] +
                       (3 * u * u - 2 * u * u * u) * to + KeySpan * (u * u * u - u * u) * Before[i]);
    else if (turns)
      result.push_back((std::sin((1 - u) * angle) * from + std::sin(u * angle) * to) / std::sin(angle));
    else
      result.push_back(from + u * (to - from));
  }
  return result;
}

/// In the scene, where the file's y is up.
math::Vector3 upright(const math::Vector3& p) { return {p[0], -p[2], p[1]}; }

Points expectedArm(const QString& interpolation, double time) {
  const Numbers q = valueAt(Rotations, interpolation, time);
  double length = 0;
  for (const double part : q) length += part * part;
  length = std::sqrt(length);
  const double half = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2]);
  const math::Vector3 axis = half > 0 ? math::Vector3{q[0] / half, q[1] / half, q[2] / half} : math::Vector3{0, 0, 1};
  const math::Matrix4 shoulder = math::translation(1, 0, 0) * math::scaling(2, 2, 2);
  const math::Matrix4 elbow = shoulder * math::translation(0, 1, 0) *
                              math::rotation(2 * std::atan2(half / length, q[3] / length), axis) *
                              math::translation(0, -1, 0);
  Points points;
  for (int row = 0; row < Rows; ++row)
    for (int side = 0; side < 2; ++side) {
      const math::Vector3 a = math::transformPoint(shoulder, armPoint(row, side));
      const math::Vector3 b = math::transformPoint(elbow, armPoint(row, side));
      math::Vector3 p;
      for (std::size_t i = 0; i < 3; ++i) p[i] = a[i] + elbowsShare(row) * (b[i] - a[i]);
      points.push_back(upright(p));
    }
  return points;
}

Points expectedShape(const Numbers& weights) {
  Points points = Triangle;
  for (std::size_t v = 0; v < points.size(); ++v) {
    for (std::size_t s = 0; s < Shapes.size(); ++s)
      for (std::size_t i = 0; i < 3; ++i) points[v][i] += weights[s] * Shapes[s][v][i];
    points[v] = upright(points[v]);
  }
  return points;
}

double distance(const math::Vector3& a, const math::Vector3& b) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// Each point has a vertex there and each vertex a point; normals stand on the faces.
void expectShown(scene::SceneElement& root, const char* element, const Points& expected) {
  constexpr double Error = 4e-5;  // 1e-5 of the arm's size
  const scene::SceneElement& shown = *root.find(QString::fromLatin1(element));
  const scene::Geometry& g = *shown.getGeometries().at(0);
  const math::Matrix4 place = shown.getGlobalTransform();
  ASSERT_EQ(g.vertexCount(), expected.size());
  Points points;
  for (std::size_t v = 0; v < g.vertexCount(); ++v)
    points.push_back(math::transformPoint(place, {g.positions[v * 3], g.positions[v * 3 + 1], g.positions[v * 3 + 2]}));
  const auto isNear = [](const Points& all, const math::Vector3& p) {
    return std::any_of(all.begin(), all.end(), [&](const math::Vector3& other) { return distance(p, other) < Error; });
  };
  for (const math::Vector3& p : expected) EXPECT_TRUE(isNear(points, p)) << element << " " << p[0] << " " << p[1];
  for (const math::Vector3& p : points) EXPECT_TRUE(isNear(expected, p)) << element << " " << p[0] << " " << p[1];
  for (std::size_t i = 0; i < g.indices.size(); i += 3) {
    const math::Vector3 &a = points[g.indices[i]], &b = points[g.indices[i + 1]], &c = points[g.indices[i + 2]];
    math::Vector3 across{}, n{};
    for (std::size_t k = 0; k < 3; ++k) {
      const std::size_t l = (k + 1) % 3, m = (k + 2) % 3;
      across[k] = (b[l] - a[l]) * (c[m] - a[m]) - (b[m] - a[m]) * (c[l] - a[l]);
      n[k] = double(g.normals[std::size_t(g.indices[i]) * 3 + k]);
    }
    math::Matrix4 turn = place;
    for (std::size_t k = 0; k < 3; ++k) turn(int(k), 3) = 0;
    const math::Vector3 turned = math::transformPoint(turn, n);
    const double lengths = distance(across, {0, 0, 0}) * distance(turned, {0, 0, 0});
    EXPECT_GT(across[0] * turned[0] + across[1] * turned[1] + across[2] * turned[2], 0.999 * lengths) << element;
  }
}

TEST(Deforming, ArmAndShapeFollowTheFormulaAtEachStep) {
  const io::ImportResult result = io::importFile(QStringLiteral(NUBO_TEST_DATA "/gltf/deformed.gltf"));
  ASSERT_TRUE(result.root) << result.error.toStdString();
  EXPECT_TRUE(result.warnings.isEmpty()) << result.warnings.join('\n').toStdString();
  gui::Viewer viewer;
  scene::_GlobalScene()->setRootNode(result.root);
  expectShown(*result.root, "shape", expectedShape({1, 0}));
  ASSERT_EQ(result.animations.size(), 3u);
  for (const scene::Animation& animation : result.animations) {
    SCOPED_TRACE(animation.name.toStdString());
    QString error;
    const auto trajectory = createAnimationTrajectory({animation}, 25, error);
    ASSERT_TRUE(trajectory) << error.toStdString();
    for (std::uint64_t step = 0; step < trajectory->getMatrixMapList()->size(); ++step) {
      SCOPED_TRACE(step);
      trajectory->setPosition(step);
      const double time = std::min(double(step) / 25, 2 * KeySpan);
      const Points arm = expectedArm(animation.name, time);
      const Points shape = expectedShape(valueAt(Weights, animation.name, time));
      expectShown(*result.root, "arm", arm);
      expectShown(*result.root, "shape", shape);
      scene::BoundingBox expected;
      for (const Points& points : {arm, shape})
        for (const math::Vector3& p : points) expected.add(p);
      const scene::BoundingBox box = result.root->getBoundingBox();
      EXPECT_LT(distance(box.min, expected.min), 1e-4);
      EXPECT_LT(distance(box.max, expected.max), 1e-4);
    }
  }
  scene::_GlobalScene()->setRootNode(nullptr);
}

// A triangle hangs on a bone that moves by 1 along x; or the bone stays, and the body moves without its skin.
TEST(Deforming, BonesOfOtherFormatsMoveTheirMeshes) {
  for (const auto& [name, moved] :
       {std::pair("skinned.x", 1), {"moved.x", 0}, {"skinned.dae", 1}, {"unbound.dae", 1}}) {
    SCOPED_TRACE(name);
    const io::ImportResult result = io::importFile(QStringLiteral(NUBO_TEST_DATA "/models/") + name);
    ASSERT_TRUE(result.root) << result.error.toStdString();
    gui::Viewer viewer;
    scene::_GlobalScene()->setRootNode(result.root);
    QString error;
    const auto trajectory = createAnimationTrajectory(result.animations, 25, error);
    ASSERT_TRUE(trajectory) << error.toStdString();
    const math::Vector3 before = result.root->getBoundingBox().min;
    EXPECT_GT(distance(before, result.root->getBoundingBox().max), 1) << "it is no point";
    trajectory->setPosition(trajectory->getMatrixMapList()->size() - 1);
    EXPECT_NEAR(distance(result.root->getBoundingBox().min, {before[0] + moved, before[1], before[2]}), 0, 1e-6);
    scene::_GlobalScene()->setRootNode(nullptr);
  }
}

/// What makes a COLLADA sampler bent: the tangents before and after both keys, which are those at 0 and 2 seconds.
QByteArray bent(const char* kind, const QByteArray& before, const QByteArray& after) {
  QByteArray text = R"(<input semantic="INTERPOLATION" source="#bent"/><input semantic="IN_TANGENT" source="#before"/>
      <input semantic="OUT_TANGENT" source="#after"/></sampler><channel source="#sampler" target="Body/place.Z"/>)";
  const auto add = [&](const char* name, const char* array, const QByteArray& values) {
    text += QByteArray(R"(<source id="NAME"><ARRAY id="NAME-a" count="0">VALUES</ARRAY><technique_common>
        <accessor source="#NAME-a" count="2"/></technique_common></source>)")
                .replace("NAME", name)
                .replace("ARRAY", array)
                .replace("VALUES", values);
  };
  add("bent", "Name_array", QByteArray(kind) + ' ' + kind);
  add("before", "float_array", before);
  add("after", "float_array", after);
  return text;
}

// A triangle becomes taller by 2 with the first weight, and wider by 3 with the second; where its curve is bent it
// moves up by 1, too.
TEST(Deforming, MorphsOfColladaFilesFollowTheirWeights) {
  struct Row {
    QByteArray place, text;   ///< what stands elsewhere in the file
    double high, wide, half;  ///< at the end, and how high halfway
  };
  QFile model(QStringLiteral(NUBO_TEST_DATA "/models/morph.dae"));
  ASSERT_TRUE(model.open(QIODevice::ReadOnly));
  const QByteArray plain = model.readAll();
  const QTemporaryDir folder;
  const char* const Zipped = "the same in an archive, with another document";
  const char* const Straight = R"(<input semantic="INTERPOLATION" source="#kind"/></sampler>)";
  // Whose points in the middle are (2, 0) and (2, 1): 1 = 2 (1 - s^3) at half of the time.
  const double s = std::cbrt(0.5), t = 1 - s, bezier = 3 * s * t * t + t * t * t;
  const Row rows[]{{"", "", 3, 2.5, 2},
                   {Straight, bent("BEZIER", "9 9 2 1", "2 0 9 9"), 4, 2.5, 1 + 3 * bezier},
                   {Straight, bent("HERMITE", "9 9 0 0", "6 0 9 9"), 4, 2.5, 1 + 3 * bezier},
                   {Straight, bent("BEZIER", "9 0", "0 9"), 4, 2.5, 1 + 3 * 0.125},  // times at thirds
                   {Straight, bent("STEP", "", ""), 4, 2.5, 1},
                   {Straight, bent("BEZIER", "1 2 3", "1 2 3"), 4, 2.5, 1 + 3 * 0.5},
                   {"weights(0)", "morph/weights(1)", 1, 4, 1},
                   {"weights(0)", "weights-a(0)", 3, 2.5, 2},
                   {"LINEAR LINEAR", "STEP STEP", 3, 2.5, 1},
                   {"method=\"NORMALIZED\"", "method=\"RELATIVE\"", 4.5, 4, 3},
                   {"instance_controller url=\"#morph\"", "instance_geometry url=\"#base\"", 3, 2.5, 2},
                   {"instance_controller url=\"#morph\"", "instance_controller url=\"#skin\"", 3, 3.5, 2},
                   {"0 0.5<", "0 0<", 3, 1, 2},
                   {"tall wide", "tall tall", 4, 1, 3},
                   {Zipped, "", 3, 2.5, 2}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text.toStdString());
    QFile file(folder.filePath("model.dae"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(row.place.isEmpty() ? plain : QByteArray(plain).replace(row.place, row.text));
    file.close();
    const io::ImportResult result =
        io::importFile(row.place == Zipped ? NUBO_TEST_DATA "/models/morph.zae" : file.fileName());
    ASSERT_TRUE(result.root) << result.error.toStdString();
    gui::Viewer viewer;
    scene::_GlobalScene()->setRootNode(result.root);
    QString error;
    const auto trajectory = createAnimationTrajectory(result.animations, 25, error);
    ASSERT_TRUE(trajectory) << error.toStdString();
    trajectory->setPosition(25);
    EXPECT_NEAR(result.root->getBoundingBox().max[2], row.half, 1e-5);
    trajectory->setPosition(trajectory->getMatrixMapList()->size() - 1);
    EXPECT_NEAR(result.root->getBoundingBox().max[2], row.high, 1e-5);
    EXPECT_NEAR(result.root->getBoundingBox().max[0], row.wide, 1e-5);
    scene::_GlobalScene()->setRootNode(nullptr);
  }
}

}  // namespace
}  // namespace nubo::trajectory
