#include "module_scene/gui/framing.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "module_scene/gui/visiblepoints.h"

namespace nubo::gui {

namespace {

constexpr int SlabsPerSize = 512;
constexpr double FullTurn = 2 * 3.14159265358979323846;  // radians
constexpr double Infinity = std::numeric_limits<double>::infinity();

double sizeOf(const scene::BoundingBox& box) {
  const double size = std::hypot(box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]);
  return size > 0 && std::isfinite(size) ? size : 1;
}

math::Vector3 middleOf(const scene::BoundingBox& box) {
  math::Vector3 middle{};
  for (std::size_t i = 0; i < 3 && !box.isEmpty(); ++i) middle[i] = (box.min[i] + box.max[i]) / 2;
  return middle;
}

Camera withUsualLens(Camera camera) {
  camera.lens = 1;
  return camera;
}

math::Matrix4 toViewOf(Camera camera, const math::Vector3& middle) {
  camera.distance = 0;
  camera.scale = 1;
  camera.center = middle;
  return camera.transform();
}

}  // namespace

Framing::Framing(const Camera& direction, const scene::BoundingBox& box, const std::optional<scene::Plane>& section)
    : m_Direction(withUsualLens(direction)),
      m_Section(section),
      m_Middle(middleOf(box)),
      m_ToView(toViewOf(m_Direction, m_Middle)),
      m_Slices(sizeOf(box) / SlabsPerSize, Slice{{Infinity, Infinity}, {-Infinity, -Infinity}}) {}

void Framing::add(const scene::SceneElement& element, const math::Matrix4& parent) {
  VisiblePoints(
      m_ToView, m_Section, [this](const scene::BoundingBox& box) { return covers(box); },
      [this](const math::Vector3& point) { add(point); })
      .visit(element, parent);
}

/// Of what turns, only how far from the axis it reaches at each height decides.
void Framing::addTurning(const scene::SceneElement& element, const math::Matrix4& parent) {
  m_Turns = true;
  Slabs<double> radii(m_Slices.thickness(), -1);
  VisiblePoints(
      math::translation(-m_Middle[0], -m_Middle[1], -m_Middle[2]), m_Section,
      [&radii](const scene::BoundingBox& box) {
        const double farthest = std::hypot(std::max(-box.min[0], box.max[0]), std::max(-box.min[1], box.max[1]));
        return radii.all(box.min[2], box.max[2], [farthest](double radius) { return radius >= farthest; });
      },
      [&radii](const math::Vector3& point) {
        double& radius = radii.at(point[2]);
        const double square = point[0] * point[0] + point[1] * point[1];
        if (square > radius * radius || radius < 0) radius = std::sqrt(square);
      })
      .visit(element, parent);
  const math::Matrix4 toView = m_ToView * math::translation(m_Middle[0], m_Middle[1], m_Middle[2]);
  constexpr int Steps = 48;
  constexpr double Inside = 0.01;  // of a slab, so that rounding leaves all of a ring in the same slice
  for (std::size_t slab = 0; slab < radii.size(); ++slab)
    for (int step = 0; step < Steps && radii[slab] >= 0; ++step) {
      const double angle = FullTurn * step / Steps;
      const double x = radii[slab] * std::cos(angle), y = radii[slab] * std::sin(angle);
      for (const double part : {Inside, 1 - Inside})
        add(math::transformPoint(toView, {x, y, radii.begin(slab) + part * radii.thickness()}));
    }
}

void Framing::add(const math::Vector3& point) {
  Slice& slice = m_Slices.at(point[2]);
  for (int axis = 0; axis < 2; ++axis) {
    slice.least[axis] = std::min(slice.least[axis], point[std::size_t(axis)]);
    slice.most[axis] = std::max(slice.most[axis], point[std::size_t(axis)]);
  }
}

bool Framing::gatheredLike(const Framing& other) const {
  return m_ToView == other.m_ToView && m_Turns == other.m_Turns && m_Slices == other.m_Slices;
}

/// Whether nothing in the box, which is in the view's own space, would change anything.
bool Framing::covers(const scene::BoundingBox& box) const {
  return m_Slices.all(box.min[2], box.max[2], [&box](const Slice& slice) {
    return slice.least[0] <= box.min[0] && slice.least[1] <= box.min[1] && slice.most[0] >= box.max[0] &&
           slice.most[1] >= box.max[1];
  });
}

/// How far towards the eye that must at least be, for all to lie between two planes of that slope that meet in it.
double Framing::closest(int axis, double slope) const {
  double high = -Infinity, low = -Infinity;
  for (std::size_t i = 0; i < m_Slices.size(); ++i) {
    high = std::max(high, m_Slices[i].most[axis] + slope * front(i));
    low = std::max(low, -m_Slices[i].least[axis] + slope * front(i));
  }
  return (high + low) / (2 * slope);
}

/// The same for planes as far from a line of sight through `place` on the one side as on the other.
double Framing::closest(int axis, double slope, double place) const {
  double distance = -Infinity;
  for (std::size_t i = 0; i < m_Slices.size(); ++i)
    distance = std::max(distance,
                        std::max(m_Slices[i].most[axis] - place, place - m_Slices[i].least[axis]) / slope + front(i));
  return distance;
}

/// Where the eye must be across the line of sight to see as much to one side as to the other.
double Framing::middle(int axis, double eye) const {
  double low = Infinity, high = -Infinity;
  for (std::size_t i = 0; i < m_Slices.size(); ++i) {
    low = std::min(low, m_Slices[i].least[axis]);
    high = std::max(high, m_Slices[i].most[axis]);
  }
  constexpr int Iterations = 40;
  for (int iteration = 0; iteration < Iterations; ++iteration) {
    const double place = (low + high) / 2;
    double first = Infinity, last = -Infinity;
    for (std::size_t i = 0; i < m_Slices.size(); ++i) {
      first = std::min(first, (m_Slices[i].least[axis] - place) / (eye - front(i)));
      last = std::max(last, (m_Slices[i].most[axis] - place) / (eye - front(i)));
    }
    (first + last > 0 ? low : high) = place;
  }
  return (low + high) / 2;
}

/// In the view's own space.
scene::BoundingBox Framing::extent() const {
  scene::BoundingBox box;
  for (std::size_t i = 0; i < m_Slices.size(); ++i) {
    const Slice& slice = m_Slices[i];
    if (slice.least[0] > slice.most[0]) continue;
    box.add(math::Vector3{slice.least[0], slice.least[1], front(i) - m_Slices.thickness()});
    box.add(math::Vector3{slice.most[0], slice.most[1], front(i)});
  }
  return box;
}

Camera Framing::camera(int width, int height, const Framing* centred, double margin) const {
  Camera camera = m_Direction;
  if (m_Slices.size() == 0) return camera;
  const scene::BoundingBox box = extent();
  const double radius = sizeOf(box) / 2;
  camera.scale = 1 / radius;
  const double slope = Camera::usableSlope(margin), aspect = double(std::max(width, 1)) / std::max(height, 1);
  const Framing& inMiddle = centred ? *centred : *this;
  math::Vector3 place;
  double distance = 0;
  if (camera.orthographic) {
    place = middleOf(inMiddle.extent());
    for (const auto& [axis, most] : {std::pair{0u, slope * aspect}, {1u, slope}})
      distance = std::max({distance, (box.max[axis] - place[axis]) / most, (place[axis] - box.min[axis]) / most});
    place[2] = middleOf(box)[2];
  } else {
    double eye =
        std::max({closest(0, slope * aspect), closest(1, slope), box.max[2] + Camera::NearestDistance * radius});
    place = {inMiddle.middle(0, eye), inMiddle.middle(1, eye), middleOf(box)[2]};
    constexpr int Steps = 4;  // what moves the eye back moves the middle a little, too
    for (int step = 0; centred && step < Steps; ++step) {
      eye = std::max({eye, closest(0, slope * aspect, place[0]), closest(1, slope, place[1])});
      for (const int axis : {0, 1}) place[std::size_t(axis)] = inMiddle.middle(axis, eye);
    }
    distance = eye - place[2];
  }
  // Where the line of sight meets the axis, so that cameras can orbit and see the scene turn in its place.
  constexpr double Steep = 75;
  if (m_Turns && camera.roll == 0 && std::abs(camera.elevation) < Steep) {
    const double moved = place[1] * std::tan(camera.elevation * FullTurn / 360) - place[2];
    place[2] += moved;
    if (!camera.orthographic) distance -= moved;
  }
  camera.center = math::transformPoint(math::affineInverse(m_ToView), place);
  camera.distance = std::clamp(distance / radius, Camera::NearestDistance, Camera::FarthestDistance);
  return camera;
}

}  // namespace nubo::gui
