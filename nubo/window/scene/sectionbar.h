// Cuts the scene open.
#pragma once

#include <QTimer>
#include <QToolBar>
#include <optional>
#include <vector>

#include "nubo/cli/sectionplace.h"

QT_BEGIN_NAMESPACE
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QSlider;
QT_END_NAMESPACE

namespace nubo::window {

/// What the section is: which way it lies, and where in the scene's box.
struct SectionState {
  bool on = false;
  int direction = 0;              ///< 0 to 2: across x to z; 3: through points
  math::Vector3 normal{1, 0, 0};  ///< of length 1
  double share = 0.5;             ///< of the box's extent along the normal
  bool flipped = false;           ///< takes away what lies before the plane

  bool operator==(const SectionState& o) const {
    return on == o.on && direction == o.direction && normal == o.normal && share == o.share && flipped == o.flipped;
  }
};

/// Moves the global scene's section while it is shown. Application thread.
class SectionBar : public QToolBar {
  Q_OBJECT
 public:
  explicit SectionBar(QWidget* parent);

  /// Shows and hides the bar, and so the section.
  QAction* switchAction() const { return mp_Switch; }
  /// To be called when another scene is there; it is cut where `place` says, if at all.
  void setScene(const std::optional<app::SectionPlace>& place, bool inMetres);
  const SectionState& state() const { return m_State; }
  void setState(const SectionState& state);
  /// Moves the plane along its normal, in the scene's units.
  void moveBy(double distance);
  /// Of three points the plane is laid through them.
  void addPoint(const math::Vector3& point);

 signals:
  /// The scene is cut elsewhere, or not at all.
  void sectionChanged();
  /// Whether the user is to pick points, and which have been picked.
  void pickingChanged(bool picks, const std::vector<nubo::math::Vector3>& points);

 private:
  void addWidgets();
  void chooseDirection(int index);
  void setPicking(bool picks);
  void look();
  void apply();
  void show();
  void tellOpen();

  SectionState m_State;
  scene::BoundingBox m_Box;        ///< the scene's
  double m_Least = 0, m_Most = 0;  ///< its extent along the normal
  bool m_Picks = false;
  std::vector<math::Vector3> m_Points;
  QAction* mp_Switch;
  QAction* mp_Flip;
  QComboBox* mp_Directions;
  QSlider* mp_Slider;
  QDoubleSpinBox* mp_Place;
  QLabel* mp_Note;
  QTimer m_Rest;  ///< runs while the plane moves
};

}  // namespace nubo::window
