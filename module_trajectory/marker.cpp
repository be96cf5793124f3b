#include "module_trajectory/marker.h"
#include "module_scene/mesh/preparation.h"

#include <cmath>

namespace nubo::trajectory {
namespace {

util::YPointer<scene::Material> coloured(float red, float green, float blue, bool lit) {
  util::YPointer<scene::Material> material(new scene::Material);
  material->diffuse = {red, green, blue, 1};
  material->lit = lit;
  return material;
}

util::YPointer<scene::Geometry> createBall(double radius) {
  constexpr int Rings = 12, Sectors = 24;
  const double pi = std::acos(-1.0);
  util::YPointer<scene::Geometry> ball(new scene::Geometry);
  ball->material = coloured(0.9f, 0.3f, 0.1f, true);
  for (int ring = 0; ring <= Rings; ++ring)
    for (int sector = 0; sector <= Sectors; ++sector) {
      const double theta = pi * ring / Rings, phi = 2 * pi * (sector % Sectors) / Sectors;
      const double out = ring % Rings == 0 ? 0 : std::sin(theta);  // the poles meet in one point exactly
      for (const double value : {out * std::cos(phi), out * std::sin(phi), std::cos(theta)})
        ball->positions.push_back(float(radius * value));
    }
  for (unsigned ring = 0; ring < Rings; ++ring)
    for (unsigned sector = 0; sector < Sectors; ++sector) {
      const unsigned a = ring * (Sectors + 1) + sector, b = a + Sectors + 1;
      for (const unsigned index : {a, b, b + 1, a, b + 1, a + 1}) ball->indices.push_back(index);
    }
  prepare(*ball);
  return ball;
}

util::YPointer<scene::Geometry> createLine(const std::deque<Point>& points) {
  util::YPointer<scene::Geometry> path(new scene::Geometry);
  path->kind = scene::KindLines;
  path->material = coloured(0.9f, 0.6f, 0.1f, false);
  for (std::size_t i = 0; i < points.size(); ++i) {
    for (int axis = 0; axis < 3; ++axis) path->positions.push_back(float(points[i][std::size_t(axis)]));
    if (i > 0) path->indices.insert(path->indices.end(), {std::uint32_t(i - 1), std::uint32_t(i)});
  }
  prepare(*path);
  return path;
}

double diagonal(const scene::BoundingBox& box) {
  double sum = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) sum += std::pow(box.max[axis] - box.min[axis], 2);
  return sum > 0 ? std::sqrt(sum) : 1;
}

/// Puts the element below the root, at a place that is given in the scene's space.
void addToScene(scene::Scene& scene, const util::YPointer<scene::SceneElement>& element, const math::Matrix4& place) {
  const util::YPointer<scene::SceneElement> root = scene.getRootNode();
  element->setTransform(math::affineInverse(root->getTransform()) * place);
  root->addChild(element);
}

void addPath(scene::Scene& scene, const std::deque<Point>& points) {
  if (!scene.getRootNode()) scene.setRootNode(new scene::SceneElement);
  const util::YPointer<scene::SceneElement> path(new scene::SceneElement(QStringLiteral("path")));
  path->setLayer(scene::LayerTrajectory);
  path->addGeometry(createLine(points));
  addToScene(scene, path, math::Matrix4());
}

}  // namespace

void createPath(const std::deque<Point>& points) {
  const util::YPointer<scene::Scene> scene = scene::_GlobalScene();
  if (!scene || points.empty()) return;
  const scene::SceneChange change(scene, scene::LockAll);
  addPath(*scene, points);
}

util::YPointer<scene::SceneElement> createMarker(const std::deque<Point>& points) {
  const util::YPointer<scene::Scene> scene = scene::_GlobalScene();
  if (!scene || points.empty()) return nullptr;
  const scene::SceneChange change(scene, scene::LockAll);
  addPath(*scene, points);
  const util::YPointer<scene::SceneElement> marker(new scene::SceneElement(QStringLiteral("marker")));
  marker->setLayer(scene::LayerMarkers);
  marker->addGeometry(createBall(diagonal(scene->getRootNode()->getBoundingBox()) / 100));
  addToScene(*scene, marker, math::translation(points[0][0], points[0][1], points[0][2]));
  return marker;
}

}  // namespace nubo::trajectory
