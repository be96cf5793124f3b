// Where a panel looks from.
#pragma once

#include <QString>
#include <QStringList>

#include "module_scene/math/matrix.h"
#include "module_scene/visibility.h"

namespace nubo::gui {

/// An orbiting camera: angles about a centre, a distance and a scale that mostly gives the model a radius of 1.
/// A value without an owner's thread; z is up, angles are in degrees.
class NUBO_MODULE_SCENE_EXPORT Camera {
 public:
  /// Turns about the vertical axis; 0 looks along +y (the front), 90 from the right (+x).
  double azimuth = 30.0;
  /// -90 (from below) to 90 (from above).
  double elevation = 25.0;
  /// Turns the camera about the line of sight, anticlockwise seen from behind it.
  double roll = 0.0;
  /// How much larger all is shown than where 45 degrees fit from bottom to top.
  double lens = 1.0;
  /// From the centre, in scaled units.
  double distance = 3.0;
  math::Vector3 center{0, 0, 0};
  double scale = 1.0;
  /// Seen in parallel, at the size that the centre has in perspective.
  bool orthographic = false;

  /// From the scene to eye space, scaled; no projection, whatever the view's. x and y are scaled by the lens, too.
  math::Matrix4 transform() const;
  /// The same, and in parallel where the camera is orthographic: a projective transform then, with which every frustum
  /// between the drawer's distances shows the scene so.
  math::Matrix4 viewTransform() const;
  /// How much the view shows from bottom to top where the centre is, in the scene's units.
  double viewHeight() const;
  /// Turns by degrees; the elevation stays within its bounds.
  void orbit(double azimuthDelta, double elevationDelta);
  /// Moves the centre across the view, in fractions of the view's height.
  void pan(double right, double up);
  /// Above 1 comes closer, within bounds; factors that are not above 0 do nothing.
  void zoom(double factor);
  /// Stands at a point of the scene and looks at another, which becomes the centre; keeps the scale and the roll.
  /// False, with nothing changed, where both are the same.
  [[nodiscard]] bool lookAt(const math::Vector3& eye, const math::Vector3& target);
  /// Rolls so that a direction of the scene points up in the view; false, with nothing changed, where it is the line of
  /// sight.
  [[nodiscard]] bool setUp(const math::Vector3& up);
  /// "front", "back", "left", "right", "top", "bottom", "oblique" or "AZIMUTH,ELEVATION", upright and with the usual
  /// lens; false, with nothing changed, for anything else.
  [[nodiscard]] bool setView(const QString& view);
  static QStringList viewNames();

  /// What is closer to the eye may be cut off, and what is farther away is too small to be seen; scaled.
  static constexpr double NearestDistance = 0.06, FarthestDistance = 50.0;
  /// The part of a view that is left free at each side, so that there is a little room around a model.
  static constexpr double UsualMargin = 0.5 - 0.5 / 1.05;
  /// The tangent of half the vertical angle that a model may take.
  static double usableSlope(double margin = UsualMargin);
};

}  // namespace nubo::gui
