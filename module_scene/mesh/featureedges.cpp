#include "module_scene/mesh/featureedges.h"

#include <algorithm>

#include "module_scene/mesh/positionitems.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::scene {

namespace {

constexpr float CosineOfCrease = 0.9f;  // of about 26 degrees; steps of round shapes are finer
constexpr float Width = 1.5f;

/// A face's side, by two of its vertices.
struct Side {
  std::uint32_t low, high;      ///< the places of its ends
  std::uint32_t atLow, atHigh;  ///< the face's own vertices there

  bool isOn(const Side& other) const { return low == other.low && high == other.high; }
};

std::vector<Side> sidesOf(const Geometry& faces) {
  const std::vector<std::uint32_t> places = findRepresentatives(faces.vertexCount(), PositionItems(faces.positions));
  std::vector<Side> sides;
  sides.reserve(faces.indices.size());
  for (std::size_t i = 0; i < faces.indices.size(); i += 3)
    for (std::size_t k = 0; k < 3; ++k) {
      // Prepared indices count from the geometry's first vertex.
      std::uint32_t a = faces.indices[i + k], b = faces.indices[i + (k + 1) % 3];
      if (places[b] < places[a]) std::swap(a, b);
      if (places[a] != places[b]) sides.push_back({places[a], places[b], a, b});
    }
  std::sort(sides.begin(), sides.end(), [](const Side& a, const Side& b) {
    return a.low != b.low ? a.low < b.low : a.high != b.high ? a.high < b.high : a.atLow < b.atLow;
  });
  return sides;
}

/// Whether light falls differently onto both sides of an edge, at one of its ends.
bool isCrease(const Geometry& faces, const Side& one, const Side& other) {
  const auto cosine = [&faces](std::uint32_t a, std::uint32_t b) {
    const float *n = &faces.normals[std::size_t(a) * 3], *m = &faces.normals[std::size_t(b) * 3];
    const float lengths =
        std::sqrt((n[0] * n[0] + n[1] * n[1] + n[2] * n[2]) * (m[0] * m[0] + m[1] * m[1] + m[2] * m[2]));
    return (n[0] * m[0] + n[1] * m[1] + n[2] * m[2]) / lengths;
  };
  return cosine(one.atLow, other.atLow) < CosineOfCrease || cosine(one.atHigh, other.atHigh) < CosineOfCrease;
}

/// Lines, ready to be drawn; null: none.
util::YPointer<Geometry> finished(const util::YPointer<Geometry>& lines) {
  static const util::YPointer<Material> Ink = [] {
    util::YPointer<Material> ink(new Material);
    ink->diffuse = {0, 0, 0, 1};
    ink->lit = false;
    return ink;
  }();
  lines->kind = KindLines;
  lines->width = Width;
  lines->material = Ink;
  prepare(*lines);
  return lines->indices.empty() ? nullptr : lines;
}

util::YPointer<Geometry> find(const Geometry& faces) {
  const util::YPointer<Geometry> lines(new Geometry);
  const std::vector<Side> sides = sidesOf(faces);
  for (std::size_t first = 0, end = 0; first < sides.size(); first = end) {
    while (end < sides.size() && sides[end].isOn(sides[first])) ++end;
    if (end - first == 2 && !isCrease(faces, sides[first], sides[first + 1])) continue;
    for (const std::uint32_t vertex : {sides[first].atLow, sides[first].atHigh}) {
      lines->indices.push_back(std::uint32_t(lines->vertexCount()));
      lines->positions.insert(lines->positions.end(), &faces.positions[std::size_t(vertex) * 3],
                              &faces.positions[std::size_t(vertex) * 3] + 3);
    }
  }
  return finished(lines);
}

/// Found edges, if there are any.
struct Found : util::YObject {
  util::YPointer<Geometry> lines;
};

}  // namespace

void setFeatureEdges(const Geometry& faces, const util::YPointer<Geometry>& lines) {
  const util::YPointer<Found> found(new Found);
  found->lines = finished(lines);
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
