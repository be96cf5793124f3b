// The tree of the scene, a field to look for elements by name, and the joints of the selected robot.
#pragma once

#include <QWidget>

namespace nubo::window {

class JointSliders;
class SceneChanger;
class SceneTree;

/// Takes the tree over. Application thread.
class ScenePane : public QWidget {
  Q_OBJECT
 public:
  ScenePane(SceneTree* tree, SceneChanger& changer);
  JointSliders* joints() const { return mp_Joints; }

 private:
  JointSliders* mp_Joints;
};

}  // namespace nubo::window
