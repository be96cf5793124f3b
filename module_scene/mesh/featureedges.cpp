#include "module_scene/mesh/featureedges.h"

#include "module_scene/mesh/sides.h"

namespace nubo::scene {

namespace {

util::YPointer<Geometry> find(const Geometry& faces) {
  const util::YPointer<Geometry> lines(new Geometry);
  const std::vector<Side> sides = sidesOf(faces);
  for (std::size_t first = 0, end = 0; first < sides.size(); first = end) {
    while (end < sides.size() && sides[end].isOn(sides[first])) ++end;
    if (end - first == 2 && !isCrease(faces, sides[first], sides[first + 1])) continue;
    addLine(*lines, faces, sides[first].atLow, sides[first].atHigh);
  }
  return inked(lines);
}

/// Found edges, if there are any.
struct Found : util::YObject {
  util::YPointer<Geometry> lines;
};

}  // namespace

void setFeatureEdges(const Geometry& faces, const util::YPointer<Geometry>& lines) {
  const util::YPointer<Found> found(new Found);
  found->lines = inked(lines);
  CopySlot& slot = faces.edgeSlot();
  const QMutexLocker locker(&slot.mutex);
  slot.copy = found;
}

util::YPointer<Geometry> featureEdges(const Geometry& faces) {
  if (faces.kind != KindFaces || faces.normals.empty()) return nullptr;
  CopySlot& slot = faces.edgeSlot();
  const QMutexLocker locker(&slot.mutex);
  if (!slot.copy) {
    const util::YPointer<Found> found(new Found);
    found->lines = find(faces);
    slot.copy = found;
  }
  return static_cast<Found*>(slot.copy.get())->lines;
}

}  // namespace nubo::scene
