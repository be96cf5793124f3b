#include "nubo/cli/sectionplace.h"

#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <cmath>

#include "module_scene/draw/sectionfaces.h"
#include "module_scene/mesh/surface.h"
#include "nubo/cli/pointtext.h"

namespace nubo::app {

const char* const SectionForms = "x=0.3, y=50% or -z=0.3, or three points that are not on one line, X,Y,Z:X,Y,Z:X,Y,Z";

namespace {

math::Vector3 acrossOf(const std::array<math::Vector3, 3>& points) {
  return scene::normalized(
      scene::cross(scene::difference(points[1], points[0]), scene::difference(points[2], points[0])));
}

std::optional<SectionPlace> throughPoints(const QStringList& texts) {
  SectionPlace place;
  place.points.emplace();
  for (int i = 0; i < 3; ++i) {
    const auto point = pointOf(texts[i]);
    if (!point) return std::nullopt;
    (*place.points)[std::size_t(i)] = *point;
  }
  const math::Vector3 across = acrossOf(*place.points);
  return scene::dot(across, across) > 0 ? std::optional(place) : std::nullopt;
}

/// Of the plane and the scene's box.
QString whyNothingCut(const scene::Plane& plane, const scene::BoundingBox& box) {
  const auto [least, most] = plane.rangeOf(box);
  if (!box.isEmpty() && least > 0) return QStringLiteral("the section takes away the whole scene");
  return !box.isEmpty() && most > 0 ? QString()
                                    : QStringLiteral("the section lies outside of the scene and takes nothing away");
}

/// Parts without a name are counted, not listed.
QString whatIsOpen(QStringList names) {
  constexpr int Most = 3;
  const int count = names.size();
  names.removeAll(QString());
  if (count == 0) return QString();
  if (count == 1)
    return QStringLiteral("%1 has a border where it is cut, and cannot be closed there")
        .arg(names.value(0, QStringLiteral("a part")));
  const QString all = QStringLiteral("%1 parts have borders where they are cut, and cannot be closed there").arg(count);
  if (names.isEmpty()) return all;
  return all + ": " + QStringList(names.mid(0, Most)).join(", ") + (count > std::min(names.size(), Most) ? ", …" : "");
}

}  // namespace

std::optional<SectionPlace> sectionPlace(const QString& text) {
  const QStringList points = text.split(':');
  if (points.size() == 3) return throughPoints(points);
  static const QRegularExpression Form(QStringLiteral("^(-?)([xyz])=([^%]+)(%?)$"),
                                       QRegularExpression::CaseInsensitiveOption);
  const QRegularExpressionMatch match = Form.match(text);
  bool isNumber = false;
  SectionPlace place;
  place.position = match.captured(3).toDouble(&isNumber);
  place.percent = !match.captured(4).isEmpty();
  if (!isNumber || !std::isfinite(place.position)) return std::nullopt;
  place.flipped = !match.captured(1).isEmpty();
  place.axis = match.captured(2).at(0).toLower().unicode() - 'x';
  return place;
}

scene::Plane planeOf(const SectionPlace& place, const scene::BoundingBox& box) {
  scene::Plane plane;
  if (place.points) {
    plane.normal = acrossOf(*place.points);
    plane.distance = scene::dot(plane.normal, place.points->front());
  } else {
    const auto axis = std::size_t(place.axis);
    plane.normal = {};
    plane.normal[axis] = 1;
    plane.distance =
        place.percent ? box.min[axis] + place.position / 100 * (box.max[axis] - box.min[axis]) : place.position;
  }
  if (place.flipped) {
    for (double& value : plane.normal) value = 0 - value;
    plane.distance = -plane.distance;
  }
  return plane;
}

util::YPointer<scene::Section> sectionAlong(scene::Plane plane, const scene::BoundingBox& box) {
  constexpr double Share = 5e-6;  // of the scene: more than rounding takes, and less than a pixel
  if (!box.isEmpty() && plane.rangeOf(box).second > 0) {
    const math::Vector3 size = scene::difference(box.max, box.min);
    plane.distance -= Share * std::sqrt(scene::dot(size, size) * scene::dot(plane.normal, plane.normal));
  }
  return new scene::Section(plane);
}

QString setSection(scene::Scene& scene, const std::optional<SectionPlace>& place) {
  util::YPointer<scene::Section> section;
  {
    const scene::SceneLocker locker(util::YPointer<scene::Scene>(&scene), scene::LockAll);
    const auto root = scene.getRootNode();
    if (place && root) section = sectionAlong(planeOf(*place, root->getBoundingBox()), root->getBoundingBox());
  }
  scene.setSection(section);
  return sectionNote(scene);
}

QString sectionNote(scene::Scene& scene) {
  const scene::SceneLocker locker(util::YPointer<scene::Scene>(&scene), scene::LockAll);
  const auto root = scene.getRootNode();
  const auto section = scene.getSection();
  if (!section || !root) return QString();
  const QString nothing = whyNothingCut(section->plane(), root->getBoundingBox());
  return nothing.isEmpty() ? whatIsOpen(scene::openWhereCut(scene)) : nothing;
}

}  // namespace nubo::app
