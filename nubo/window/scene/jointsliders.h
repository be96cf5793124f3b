// Sliders for the joints of a robot.
#pragma once

#include <QScrollArea>
#include <utility>
#include <vector>

#include "module_scene/graph/machine.h"

QT_BEGIN_NAMESPACE
class QDoubleSpinBox;
class QGridLayout;
class QSlider;
QT_END_NAMESPACE

namespace nubo::window {

class SceneChanger;

/// Moves the joints of one robot of the scene by way of the changer; joints that follow others have no slider, and go
/// along. Not seen where there is no robot. Application thread.
class JointSliders : public QScrollArea {
  Q_OBJECT
 public:
  /// How a robot stands: where its joints are that are moved by themselves, in radians or metres.
  using Pose = std::pair<util::YPointer<scene::SceneElement>, std::vector<double>>;

  explicit JointSliders(SceneChanger& changer);

  /// Of the robot whose joints are shown; of none where there are none.
  Pose pose() const;
  /// Shows that robot and brings it there.
  void setPose(const Pose& pose);

  /// Shows those of the robot that the element is a part of; null: of the only one that there is.
  void select(const util::YPointer<scene::SceneElement>& element);
  /// Where something else has moved the robot: shows how it stands.
  void refresh();

 signals:
  /// By its user.
  void moved();
  /// The pose is another though nobody moved a joint here.
  void poseReplaced();

 private:
  /// A joint that is moved by itself.
  struct Row {
    util::YPointer<scene::SceneElement> element;
    double value;  ///< radians or metres
    double lower, upper;
    QSlider* slider;
    QDoubleSpinBox* number;  ///< degrees or metres
  };
  void addRow(const util::YPointer<scene::SceneElement>& element, QGridLayout& grid);
  void show(const Row& row) const;
  void move(std::size_t row, double value);

  SceneChanger& m_Changer;
  util::YPointer<scene::SceneElement> m_Robot;
  std::vector<Row> m_Rows;
  std::vector<scene::DrivenElement> m_Driven;  ///< by the rows' values
};

}  // namespace nubo::window
