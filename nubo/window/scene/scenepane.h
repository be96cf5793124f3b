// The tree of the scene, and a field to look for elements by name.
#pragma once

#include <QWidget>

namespace nubo::window {

class SceneTree;

/// Takes the tree over. Application thread.
class ScenePane : public QWidget {
  Q_OBJECT
 public:
  explicit ScenePane(SceneTree* tree);
};

}  // namespace nubo::window
