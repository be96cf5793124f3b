#include "module_scene/mesh/silhouette.h"

#include "module_scene/mesh/sides.h"
#include "module_scene/mesh/surface.h"

namespace nubo::scene {

namespace {

/// An edge between two faces, by vertices.
struct Fold {
  std::uint32_t from, to;
  std::uint32_t opposites[2];
};

struct Folds : util::YObject {
  std::vector<Fold> all;
};

util::YPointer<Folds> find(const Geometry& faces) {
  const util::YPointer<Folds> folds(new Folds);
  const std::vector<Side> sides = sidesOf(faces);
  for (std::size_t first = 0, end = 0; first < sides.size(); first = end) {
    while (end < sides.size() && sides[end].isOn(sides[first])) ++end;
    if (end - first != 2 || isCrease(faces, sides[first], sides[first + 1])) continue;
    folds->all.push_back({sides[first].atLow, sides[first].atHigh, {sides[first].opposite, sides[first + 1].opposite}});
  }
  return folds;
}

util::YPointer<Folds> foldsOf(const Geometry& faces) {
  CopySlot& slot = faces.foldSlot();
  const QMutexLocker locker(&slot.mutex);
  if (!slot.copy) slot.copy = find(faces);
  return static_cast<Folds*>(slot.copy.get());
}

}  // namespace

util::YPointer<Geometry> silhouette(const Geometry& faces, const Eye& eye) {
  if (faces.kind != KindFaces || faces.normals.empty()) return nullptr;
  const auto at = [&faces](std::uint32_t vertex) {
    const float* p = &faces.positions[std::size_t(vertex) * 3];
    return math::Vector3{p[0], p[1], p[2]};
  };
  const util::YPointer<Geometry> lines(new Geometry);
  const util::YPointer<Folds> folds = foldsOf(faces);
  for (const Fold& fold : folds->all) {
    const math::Vector3 from = at(fold.from);
    math::Vector3 toEye{};
    for (std::size_t i = 0; i < 3; ++i) toEye[i] = eye.place[i] - eye.nearness * from[i];
    // Seen from there, both faces lie on the same side of it.
    const math::Vector3 across = cross(difference(at(fold.to), from), toEye);
    const double sides[]{dot(across, difference(at(fold.opposites[0]), from)),
                         dot(across, difference(at(fold.opposites[1]), from))};
    if (sides[0] * sides[1] > 0) addLine(*lines, faces, fold.from, fold.to);
  }
  return inked(lines);
}

}  // namespace nubo::scene
