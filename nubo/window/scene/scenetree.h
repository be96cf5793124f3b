// The elements of the scene as a tree.
#pragma once

#include <QTreeWidget>

#include "module_scene/graph/sceneelement.h"

namespace nubo::window {

class SceneChanger;

/// Shows and hides elements by their check boxes, and selects one. Application thread.
class SceneTree : public QTreeWidget {
  Q_OBJECT
 public:
  SceneTree(SceneChanger& changer, QWidget* parent);

  /// Shows the global scene as it is now; nothing is selected then.
  void rebuild();

 signals:
  /// Null: nothing is selected.
  void elementSelected(const nubo::util::YPointer<nubo::scene::SceneElement>& element);
  /// The user wants to look at the selected element.
  void elementActivated();

 private:
  class Item;
  void addElement(QTreeWidgetItem* parent, const util::YPointer<scene::SceneElement>& element);
  void applyVisibility(QTreeWidgetItem* item);

  SceneChanger& m_Changer;
};

}  // namespace nubo::window
