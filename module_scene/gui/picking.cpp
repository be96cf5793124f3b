#include "module_scene/gui/picking.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "module_scene/draw/viewpoint.h"
#include "module_scene/mesh/surface.h"

namespace nubo::gui {

namespace {

constexpr double Never = std::numeric_limits<double>::infinity();

math::Vector3 pointOn(const Ray& ray, double time) {
  math::Vector3 point = ray.from;
  for (std::size_t i = 0; i < 3; ++i) point[i] += time * ray.along[i];
  return point;
}

/// In another space times stay the same.
Ray transformed(const Ray& ray, const math::Matrix4& m) {
  const math::Vector3 from = math::transformPoint(m, ray.from);
  return {from, scene::difference(math::transformPoint(m, pointOn(ray, 1)), from)};
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

/// Finds the first face that a ray meets in front of its beginning and on this side of a plane.
class Picker {
 public:
  Picker(const Ray& ray, const scene::Section* section) : m_Ray(ray), mp_Section(section) {}

  void visit(const scene::SceneElement& element, const math::Matrix4& parent) {
    if (!element.isVisible() || element.getLayer() != scene::LayerModel) return;
    const math::Matrix4 place = parent * element.getTransform();
    const Ray own = transformed(m_Ray, math::affineInverse(place));
    for (const auto& geometry : element.getGeometries())
      if (geometry->kind == scene::KindFaces && meets(own, geometry->box)) visit(*geometry, own);
    for (const auto& child : element.getChildren()) visit(*child, place);
  }
  double time() const { return m_Time; }

 private:
  void visit(const scene::Geometry& faces, const Ray& ray) {
    for (const scene::Cluster& cluster : faces.clusters) {
      if (!meets(ray, cluster)) continue;
      for (std::uint32_t corner = cluster.first; corner < cluster.first + cluster.count; corner += 3)
        take(timeOf(faces, &faces.indices[corner], ray));
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

  void take(double time) {
    if (!(time > 0 && time < m_Time)) return;
    if (!mp_Section || mp_Section->plane().beyond(pointOn(m_Ray, time)) <= 0) m_Time = time;
  }

  const Ray m_Ray;
  const scene::Section* mp_Section;
  double m_Time = Never;
};

}  // namespace

Ray rayThrough(const QPointF& place, const QSize& panel, const Camera& camera, double widening) {
  const double unit = 2 * std::tan(scene::HalfOpening) * widening / panel.height();
  const double x = (place.x() - 0.5 * panel.width()) * unit, y = (0.5 * panel.height() - place.y()) * unit;
  const double distance = camera.distance;
  const Ray inEye = camera.orthographic ? Ray{{x * distance, y * distance, 0}, {0, 0, -1}} : Ray{{}, {x, y, -1}};
  return transformed(inEye, math::affineInverse(camera.transform()));
}

std::optional<math::Vector3> pick(const scene::Scene& scene, const Ray& ray) {
  const auto root = scene.getRootNode();
  if (!root) return std::nullopt;
  const auto section = scene.getSection();
  Picker picker(ray, section.get());
  picker.visit(*root, math::Matrix4());
  return picker.time() < Never ? std::optional(pointOn(ray, picker.time())) : std::nullopt;
}

}  // namespace nubo::gui
