#include "nubo/window/scene/scenetree.h"

#include <QHeaderView>
#include <QSignalBlocker>

#include "module_scene/graph/scene.h"
#include "nubo/window/scene/scenechanger.h"

namespace nubo::window {

/// Keeps its element alive, so that a change that waits still finds it.
class SceneTree::Item : public QTreeWidgetItem {
 public:
  explicit Item(const util::YPointer<scene::SceneElement>& element) : m_Element(element) {
    setFlags(flags() | Qt::ItemIsUserCheckable);
    setText(0, element->getName().isEmpty() ? SceneTree::tr("(unnamed)") : element->getName());
    setCheckState(0, element->isVisible() ? Qt::Checked : Qt::Unchecked);
  }
  const util::YPointer<scene::SceneElement>& element() const { return m_Element; }

 private:
  util::YPointer<scene::SceneElement> m_Element;
};

SceneTree::SceneTree(SceneChanger& changer, QWidget* parent) : QTreeWidget(parent), m_Changer(changer) {
  setObjectName(QStringLiteral("sceneTree"));
  setAccessibleName(tr("Scene elements"));
  setHeaderHidden(true);
  setUniformRowHeights(true);
  header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  header()->setStretchLastSection(false);
  connect(this, &QTreeWidget::itemChanged, this, &SceneTree::applyVisibility);
  // Not the current one, which the tree also chooses by itself when it gets the focus.
  connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
    const QTreeWidgetItem* item = selectedItems().value(0);
    emit elementSelected(item ? static_cast<const Item*>(item)->element() : nullptr);
  });
  connect(this, &QTreeWidget::itemActivated, this, &SceneTree::elementActivated);
}

void SceneTree::rebuild() {
  const QSignalBlocker blocker(this);
  clear();
  const auto scene = scene::_GlobalScene();
  {
    const scene::SceneLocker locker(scene, scene::LockAll);
    if (const auto root = scene->getRootNode()) addElement(invisibleRootItem(), root);
  }
  expandToDepth(1);
  emit elementSelected(nullptr);
}

void SceneTree::addElement(QTreeWidgetItem* parent, const util::YPointer<scene::SceneElement>& element) {
  auto* item = new Item(element);
  parent->addChild(item);
  for (const auto& child : element->getChildren()) addElement(item, child);
}

void SceneTree::applyVisibility(QTreeWidgetItem* item) {
  const auto element = static_cast<Item*>(item)->element();
  const bool visible = item->checkState(0) == Qt::Checked;
  const QString topic = QStringLiteral("visible:%1").arg(quintptr(element.get()));
  m_Changer.change(topic, [element, visible] {
    const scene::SceneChange change(scene::_GlobalScene(), scene::LockAll);
    element->setVisible(visible);
  });
}

}  // namespace nubo::window
