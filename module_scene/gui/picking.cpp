#include "module_scene/gui/picking.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "module_scene/draw/viewpoint.h"
#include "module_scene/mesh/surface.h"

namespace nubo::gui {

namespace {

constexpr double Never = std::numeric_limits<double>::infinity();
constexpr double PointReach = 3;  // pixels

math::Vector3 pointOn(const Ray& ray, double time) {
  math::Vector3 point = ray.from;
  for (std::size_t i = 0; i < 3; ++i) point[i] += time * ray.along[i];
  return point;
}

/// In another space times stay the same.
Ray transformed(const Ray& ray, const math::Matrix4& m) {
  const math::Vector3 from = math::transformPoint(m, ray.from);
  const double scale = std::cbrt(std::abs(math::determinant(m)));
  return {from, scene::difference(math::transformPoint(m, pointOn(ray, 1)), from), scale * ray.thickness,
          scale * ray.thicker};
}

template <class Box>
bool meets(const Ray& ray, const Box& box) {
  double first = 0, last = Never;
  for (std::size_t i = 0; i < 3; ++i) {
    const double a = (double(box.min[i]) - ray.from[i]) / ray.along[i];
    const double b = (double(box.max[i]) - ray.from[i]) / ray.along[i];
    if (std::isnan(a) || std::isnan(b)) continue;  // it runs along that side
    first = std::max(first, std::min(a, b));
    last = std::min(last, std::max(a, b));
  }
  return first <= last;
}

/// When a ray is nearest to a place, and how near that is.
struct Approach {
  double time, distance;

  Approach(const Ray& ray, const math::Vector3& place)
      : time(scene::dot(scene::difference(place, ray.from), ray.along) / scene::dot(ray.along, ray.along)) {
    const math::Vector3 off = scene::difference(place, pointOn(ray, time));
    distance = std::sqrt(scene::dot(off, off));
  }
};

/// Whether the ray, with its thickness, may meet something in the box.
template <class Box>
bool mayMeetPoints(const Ray& ray, const Box& box) {
  math::Vector3 middle{}, half{};
  for (std::size_t i = 0; i < 3; ++i) {
    middle[i] = 0.5 * (double(box.min[i]) + box.max[i]);
    half[i] = 0.5 * (double(box.max[i]) - box.min[i]);
  }
  const double radius = std::sqrt(scene::dot(half, half));
  const Approach approach(ray, middle);
  const double latest = approach.time + radius / std::sqrt(scene::dot(ray.along, ray.along));
  return latest > 0 && approach.distance <= radius + ray.thicknessAt(latest);
}

/// Finds the first face or point that a ray meets in front of its beginning and on this side of a plane.
class Picker {
 public:
  Picker(const Ray& ray, const scene::Section* section) : m_Ray(ray), mp_Section(section) {}

  void visit(const scene::SceneElement& element, const math::Matrix4& parent) {
    if (!element.isVisible() || element.getLayer() != scene::LayerModel) return;
    const math::Matrix4 place = parent * element.getTransform();
    const Ray own = transformed(m_Ray, math::affineInverse(place));
    for (const auto& geometry : element.getGeometries()) {
      if (geometry->kind == scene::KindFaces && meets(own, geometry->box)) visitFaces(*geometry, own);
      if (geometry->kind == scene::KindPoints && mayMeetPoints(own, geometry->box)) visitPoints(*geometry, own, place);
    }
    for (const auto& child : element.getChildren()) visit(*child, place);
  }
  std::optional<math::Vector3> found() const { return m_Time < Never ? std::optional(m_Found) : std::nullopt; }

 private:
  void visitFaces(const scene::Geometry& faces, const Ray& ray) {
    for (const scene::Cluster& cluster : faces.clusters) {
      if (!meets(ray, cluster)) continue;
      for (std::uint32_t corner = cluster.first; corner < cluster.first + cluster.count; corner += 3)
        if (const double time = timeOf(faces, &faces.indices[corner], ray); isNext(time))
          take(time, pointOn(m_Ray, time));
    }
  }

  void visitPoints(const scene::Geometry& points, const Ray& ray, const math::Matrix4& place) {
    for (const scene::Cluster& cluster : points.clusters) {
      if (!mayMeetPoints(ray, cluster)) continue;
      for (std::uint32_t i = cluster.first; i < cluster.first + cluster.count; ++i) {
        const float* p = &points.positions[std::size_t(points.indices[i]) * 3];
        const math::Vector3 point{p[0], p[1], p[2]};
        const Approach approach(ray, point);
        if (isNext(approach.time) && approach.distance <= ray.thicknessAt(approach.time))
          take(approach.time, math::transformPoint(place, point));
      }
    }
  }

  /// Of meeting a face, by Möller and Trumbore.
  static double timeOf(const scene::Geometry& faces, const std::uint32_t* corners, const Ray& ray) {
    math::Vector3 at[3];
    for (std::size_t k = 0; k < 3; ++k) std::copy_n(&faces.positions[std::size_t(corners[k]) * 3], 3, at[k].begin());
    const math::Vector3 a = scene::difference(at[1], at[0]), b = scene::difference(at[2], at[0]);
    const math::Vector3 across = scene::cross(ray.along, b), off = scene::difference(ray.from, at[0]);
    const double volume = scene::dot(a, across);
    const math::Vector3 turned = scene::cross(off, a);
    const double u = scene::dot(off, across) / volume, v = scene::dot(ray.along, turned) / volume;
    return u >= 0 && v >= 0 && u + v <= 1 ? scene::dot(b, turned) / volume : Never;
  }

  bool isNext(double time) const { return time > 0 && time < m_Time; }

  void take(double time, const math::Vector3& place) {
    if (mp_Section && mp_Section->plane().beyond(place) > 0) return;
    m_Time = time;
    m_Found = place;
  }

  const Ray m_Ray;
  const scene::Section* mp_Section;
  double m_Time = Never;
  math::Vector3 m_Found{};
};

}  // namespace

Ray rayThrough(const QPointF& place, const QSize& panel, const Camera& camera, double widening) {
  const double unit = 2 * std::tan(scene::HalfOpening) * widening / panel.height();
  const double x = (place.x() - 0.5 * panel.width()) * unit, y = (0.5 * panel.height() - place.y()) * unit;
  const double distance = camera.distance;
  const double reach = PointReach * unit;
  const Ray inEye = camera.orthographic ? Ray{{x * distance, y * distance, 0}, {0, 0, -1}, reach * distance, 0}
                                        : Ray{{}, {x, y, -1}, 0, reach};
  return transformed(inEye, math::affineInverse(camera.transform()));
}

std::optional<math::Vector3> pick(const scene::Scene& scene, const Ray& ray) {
  const auto root = scene.getRootNode();
  if (!root) return std::nullopt;
  const auto section = scene.getSection();
  Picker picker(ray, section.get());
  picker.visit(*root, math::Matrix4());
  return picker.found();
}

}  // namespace nubo::gui
