#include "module_scene/mesh/crosssection.h"

#include <algorithm>
#include <cmath>

#include "module_scene/mesh/contours.h"
#include "module_scene/mesh/featureedges.h"
#include "module_scene/mesh/positionitems.h"
#include "module_scene/mesh/preparation.h"
#include "module_scene/mesh/sectioncolor.h"
#include "module_scene/mesh/surface.h"
#include "module_scene/mesh/tessellation.h"

namespace nubo::scene {

namespace {

/// Finds where faces pass through a plane.
class Cutter {
 public:
  explicit Cutter(const Plane& plane) : m_Plane(plane) {}

  void cut(const Geometry& faces) {
    for (const Cluster& cluster : faces.clusters)
      if (isMet(cluster))
        for (std::uint32_t corner = cluster.first; corner < cluster.first + cluster.count; corner += 3)
          cutFace(faces, &faces.indices[corner]);
  }

  /// Two per cut, x y z each: from the one to the other the inside of a body whose faces look outwards lies to the
  /// left, seen from beyond.
  std::vector<float> points;
  /// For each of these cuts a vertex of the face.
  std::vector<std::uint32_t> vertices;

 private:
  bool isMet(const Cluster& cluster) const {
    const auto [least, most] = m_Plane.rangeOf(cluster);
    return least <= 0 && most >= 0;
  }

  void cutFace(const Geometry& faces, const std::uint32_t* corners) {
    math::Vector3 at[3];
    double beyond[3];
    for (std::size_t k = 0; k < 3; ++k) {
      const float* p = &faces.positions[std::size_t(corners[k]) * 3];
      at[k] = {p[0], p[1], p[2]};
      beyond[k] = m_Plane.beyond(at[k]);
    }
    std::size_t back = 3, forth = 3;  // the corners before the edges that lead back through the plane, and through it
    for (std::size_t k = 0; k < 3; ++k) {
      const bool isBeyond = beyond[k] > 0, willBe = beyond[(k + 1) % 3] > 0;
      if (isBeyond && !willBe) back = k;
      if (!isBeyond && willBe) forth = k;
    }
    if (back == 3) return;
    for (const std::size_t k : {back, forth}) add(at[k], at[(k + 1) % 3], beyond[k], beyond[(k + 1) % 3]);
    vertices.push_back(corners[0]);
  }

  /// Both faces of an edge must find the same point of it, whichever way they go along it.
  void add(const math::Vector3& from, const math::Vector3& to, double fromBeyond, double toBeyond) {
    if (to < from) return add(to, from, toBeyond, fromBeyond);
    const double share = fromBeyond / (fromBeyond - toBeyond);
    for (std::size_t i = 0; i < 3; ++i) {
      const double place = share == 1 ? to[i] : from[i] + share * (to[i] - from[i]);
      points.push_back(float(place) + 0.0f);  // without negative zeros
    }
  }

  const Plane m_Plane;
};

/// Coordinates in a plane, around the middle of what lies in it, so that distance from the origin costs no digits.
class PlaneFrame {
 public:
  PlaneFrame(const Plane& plane, const std::vector<float>& points) : m_Normal(normalized(plane.normal)) {
    const std::size_t count = points.size() / 3;
    for (std::size_t i = 0; i < points.size(); ++i) m_Origin[i % 3] += double(points[i]) / double(count);
    const std::size_t least =
        std::size_t(std::min_element(m_Normal.begin(), m_Normal.end(),
                                     [](double a, double b) { return std::abs(a) < std::abs(b); }) -
                    m_Normal.begin());
    math::Vector3 axis{};
    axis[least] = 1;
    m_Across = normalized(cross(axis, m_Normal));
    m_Up = cross(m_Normal, m_Across);
  }

  const math::Vector3& normal() const { return m_Normal; }
  std::array<double, 2> project(const float* point) const {
    const math::Vector3 p = difference({point[0], point[1], point[2]}, m_Origin);
    return {dot(p, m_Across), dot(p, m_Up)};
  }
  math::Vector3 place(const std::array<double, 2>& p) const {
    math::Vector3 result = m_Origin;
    for (std::size_t i = 0; i < 3; ++i) result[i] += p[0] * m_Across[i] + p[1] * m_Up[i];
    return result;
  }

 private:
  math::Vector3 m_Normal, m_Origin{}, m_Across{}, m_Up{};
};

/// What is cut of some geometries.
struct Outline {
  std::vector<float> points;  ///< x y z each
  Contours contours;          ///< of these points
  const Geometry* most = nullptr;
  std::vector<std::uint32_t> vertices;  ///< of that one, of which most comes

  bool isClosed() const { return contours.oriented && !contours.open; }
};

Outline outlineOf(const std::vector<const Geometry*>& geometries, const Plane& plane) {
  Outline result;
  for (const Geometry* geometry : geometries) {
    Cutter cutter(plane);
    cutter.cut(*geometry);
    result.points.insert(result.points.end(), cutter.points.begin(), cutter.points.end());
    if (cutter.vertices.size() <= result.vertices.size()) continue;
    result.vertices = std::move(cutter.vertices);
    result.most = geometry;
  }
  const auto ends = std::uint32_t(result.points.size() / 3);
  const auto places = findRepresentatives(ends, PositionItems(result.points));
  std::vector<Segment> segments;
  for (std::uint32_t end = 0; end < ends; end += 2) segments.push_back({places[end], places[end + 1]});
  result.contours = contoursOf(ends, segments);
  return result;
}

std::vector<std::array<double, 2>> projected(const std::vector<float>& points, const PlaneFrame& frame) {
  std::vector<std::array<double, 2>> places(points.size() / 3);
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = frame.project(&points[3 * i]);
  return places;
}

double signedArea(const std::vector<std::array<double, 2>>& places, const std::vector<std::uint32_t>& loop) {
  double twice = 0;
  for (std::size_t i = 0; i < loop.size(); ++i) {
    const auto &a = places[loop[i]], &b = places[loop[(i + 1) % loop.size()]];
    twice += a[0] * b[1] - a[1] * b[0];
  }
  return twice / 2;
}

/// Below 0: of what looks inwards, as the walls of a room in a body do.
double signedArea(const Outline& outline, const Plane& plane) {
  const std::vector<std::array<double, 2>> places = projected(outline.points, PlaneFrame(plane, outline.points));
  double area = 0;
  for (const auto& loop : outline.contours.loops) area += signedArea(places, loop);
  return area;
}

/// Faces in the plane between the points, and others where outlines cross.
SectionFace faceOf(const Outline& outline, const Plane& plane) {
  const PlaneFrame frame(plane, outline.points);
  const std::vector<std::array<double, 2>> places = projected(outline.points, frame);
  Tessellation found = tessellate(places, outline.contours.loops, !outline.contours.oriented);
  SectionFace result{new Geometry, 0};
  Geometry& faces = *result.faces;
  faces.positions = outline.points;
  for (std::size_t i = places.size(); i < found.points.size(); ++i)
    for (const double value : frame.place(found.points[i])) faces.positions.push_back(float(value));
  for (std::size_t i = 0; i < faces.positions.size(); ++i) faces.normals.push_back(float(frame.normal()[i % 3]));
  for (std::size_t i = 0; i < found.triangles.size(); i += 3)
    result.area += signedArea(found.points, {found.triangles[i], found.triangles[i + 1], found.triangles[i + 2]});
  faces.indices = std::move(found.triangles);
  return result;
}

/// Along the outlines, and not where triangles happen to meet.
util::YPointer<Geometry> linesOf(const Outline& outline) {
  util::YPointer<Geometry> lines(new Geometry);
  lines->positions = outline.points;
  for (const auto& loop : outline.contours.loops)
    for (std::size_t i = 0; i < loop.size(); ++i)
      for (const std::uint32_t place : {loop[i], loop[(i + 1) % loop.size()]}) lines->indices.push_back(place);
  return lines;
}

}  // namespace

CrossSection crossSection(const std::vector<util::YPointer<Geometry>>& geometries, const Plane& plane) {
  std::vector<Outline> outlines;
  std::vector<const Geometry*> all, others;
  for (const auto& geometry : geometries) {
    if (geometry->kind != KindFaces) continue;
    Outline outline = outlineOf({geometry.get()}, plane);
    if (!outline.most) continue;
    all.push_back(geometry.get());
    if (outline.isClosed())
      outlines.push_back(std::move(outline));
    else
      others.push_back(geometry.get());
  }
  const auto looksInwards = [&](const Outline& outline) { return signedArea(outline, plane) < 0; };
  if (all.size() > 1 && std::any_of(outlines.begin(), outlines.end(), looksInwards)) {
    outlines.clear();
    others = all;
  }
  if (!others.empty()) outlines.push_back(outlineOf(others, plane));
  CrossSection result;
  for (const Outline& outline : outlines) {
    result.open = result.open || outline.contours.open;
    if (outline.contours.loops.empty()) continue;
    const SectionFace face = faceOf(outline, plane);
    face.faces->material = sectionMaterial(*outline.most, outline.vertices);
    prepare(*face.faces);
    if (face.faces->indices.empty()) continue;
    setFeatureEdges(*face.faces, linesOf(outline));
    result.faces.push_back(face);
  }
  return result;
}

}  // namespace nubo::scene
