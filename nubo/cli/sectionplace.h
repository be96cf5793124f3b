// Where a call cuts its scene open.
#pragma once

#include <QString>
#include <optional>

#include "module_scene/graph/boundingbox.h"
#include "module_scene/graph/scene.h"

namespace nubo::app {

/// A section as options tell it.
struct SectionPlace {
  int axis = 0;          ///< that it lies across: 0 to 2 for x to z
  bool flipped = false;  ///< takes away what lies before the plane, not what lies beyond
  double position = 50;  ///< on the axis, in the scene's coordinates or percent of its extent
  bool percent = true;
  /// In place of an axis: three points of the plane. Seen from what is taken away they run counter-clockwise.
  std::optional<std::array<math::Vector3, 3>> points;
};

/// As written: x=0.3, -z=50%, or X,Y,Z:X,Y,Z:X,Y,Z. Nothing if it is none.
std::optional<SectionPlace> sectionPlace(const QString& text);
/// What sectionPlace() expects.
extern const char* const SectionForms;
/// In a scene with that box.
scene::Plane planeOf(const SectionPlace& place, const scene::BoundingBox& box);
/// Along the plane, but for so little before it that what lies in the plane is taken away, too, and not, by how OpenGL
/// rounds, some of it. Unless nothing of the box lies beyond.
util::YPointer<scene::Section> sectionAlong(scene::Plane plane, const scene::BoundingBox& box);
/// Cuts the scene open, which is there; no place: closes it. Takes the scene's lock. Returns what sectionNote() does.
QString setSection(scene::Scene& scene, const std::optional<SectionPlace>& place);
/// The empty text, or one line on what is worth knowing of the scene's section. Takes the scene's lock.
QString sectionNote(scene::Scene& scene);

}  // namespace nubo::app
