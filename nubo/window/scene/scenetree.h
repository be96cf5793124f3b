// The elements of the scene as a tree.
#pragma once

#include <QTreeWidget>
#include <vector>

#include "module_scene/graph/sceneelement.h"

namespace nubo::window {

class SceneChanger;

/// Shows and hides elements by their check boxes, and selects one; a menu on each does more. Application thread.
class SceneTree : public QTreeWidget {
  Q_OBJECT
 public:
  using Element = util::YPointer<scene::SceneElement>;
  SceneTree(SceneChanger& changer, QWidget* parent);

  /// Shows the global scene as it is now; nothing is selected then.
  void rebuild();
  /// Lists only elements with the text in their names, in any case, and what these lie in.
  void setFilter(const QString& text);
  /// Those whose boxes are not checked, in the order of the tree.
  std::vector<Element> hidden() const;
  void setHidden(const std::vector<Element>& elements);

 signals:
  /// Null: nothing is selected.
  void elementSelected(const nubo::util::YPointer<nubo::scene::SceneElement>& element);
  /// The user wants to look at the selected element.
  void elementActivated();
  /// The user has shown or hidden elements.
  void visibilityChanged();
  /// The user wants the element, with all below it, in another colour.
  void colorRequested(const nubo::util::YPointer<nubo::scene::SceneElement>& element);

 private:
  class Item;
  void addElement(QTreeWidgetItem* parent, const Element& element);
  bool filter(QTreeWidgetItem* item) const;
  void applyVisibility(QTreeWidgetItem* item);
  void showMenu(const QPoint& place);
  void showOnly(QTreeWidgetItem* item);

  SceneChanger& m_Changer;
  QString m_Filter;
};

}  // namespace nubo::window
