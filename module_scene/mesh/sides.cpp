#include "module_scene/mesh/sides.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "module_scene/mesh/positionitems.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::scene {

namespace {

constexpr float CosineOfCrease = 0.9f;  // of about 26 degrees; steps of round shapes are finer

/// For each vertex the first one that lies where it does: which of them stands for all is left to chance otherwise, and
/// lines that run the other way have other pixels.
util::Scratch<std::uint32_t> placesOf(const Geometry& faces) {
  constexpr std::uint32_t None = std::numeric_limits<std::uint32_t>::max();
  auto places = findRepresentatives(faces.vertexCount(), PositionItems(faces.positions));
  std::vector<std::uint32_t> first(places.size(), None);
  for (std::uint32_t vertex = 0; vertex < first.size(); ++vertex) {
    std::uint32_t& found = first[places[vertex]];
    found = std::min(found, vertex);
    places[vertex] = found;
  }
  return places;
}

}  // namespace

std::vector<Side> sidesOf(const Geometry& faces) {
  const auto places = placesOf(faces);
  std::vector<Side> sides;
  sides.reserve(faces.indices.size());
  for (std::size_t i = 0; i < faces.indices.size(); i += 3)
    for (std::size_t k = 0; k < 3; ++k) {
      // Prepared indices count from the geometry's first vertex.
      std::uint32_t a = faces.indices[i + k], b = faces.indices[i + (k + 1) % 3];
      if (places[b] < places[a]) std::swap(a, b);
      if (places[a] != places[b]) sides.push_back({places[a], places[b], a, b, faces.indices[i + (k + 2) % 3]});
    }
  std::sort(sides.begin(), sides.end(), [](const Side& a, const Side& b) {
    return a.low != b.low ? a.low < b.low : a.high != b.high ? a.high < b.high : a.atLow < b.atLow;
  });
  return sides;
}

bool isCrease(const Geometry& faces, const Side& one, const Side& other) {
  const auto cosine = [&faces](std::uint32_t a, std::uint32_t b) {
    const float *n = &faces.normals[std::size_t(a) * 3], *m = &faces.normals[std::size_t(b) * 3];
    const float lengths =
        std::sqrt((n[0] * n[0] + n[1] * n[1] + n[2] * n[2]) * (m[0] * m[0] + m[1] * m[1] + m[2] * m[2]));
    return (n[0] * m[0] + n[1] * m[1] + n[2] * m[2]) / lengths;
  };
  return cosine(one.atLow, other.atLow) < CosineOfCrease || cosine(one.atHigh, other.atHigh) < CosineOfCrease;
}

util::YPointer<Geometry> inked(const util::YPointer<Geometry>& lines) {
  static const util::YPointer<Material> Ink = [] {
    util::YPointer<Material> ink(new Material);
    ink->diffuse = {0, 0, 0, 1};
    ink->lit = false;
    return ink;
  }();
  lines->kind = KindLines;
  lines->width = EdgeWidth;
  lines->material = Ink;
  prepare(*lines);
  return lines->indices.empty() ? nullptr : lines;
}

void addLine(Geometry& lines, const Geometry& faces, std::uint32_t from, std::uint32_t to) {
  for (const std::uint32_t vertex : {from, to}) {
    lines.indices.push_back(std::uint32_t(lines.vertexCount()));
    const auto first = faces.positions.begin() + std::ptrdiff_t(vertex) * 3;
    lines.positions.insert(lines.positions.end(), first, first + 3);
  }
}

}  // namespace nubo::scene
