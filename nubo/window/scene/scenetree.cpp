#include "nubo/window/scene/scenetree.h"

#include <QHeaderView>
#include <QMenu>
#include <QSignalBlocker>
#include <QTreeWidgetItemIterator>
#include <set>

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
  connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
    applyVisibility(item);
    emit visibilityChanged();
  });
  setContextMenuPolicy(Qt::CustomContextMenu);
  connect(this, &QWidget::customContextMenuRequested, this, &SceneTree::showMenu);
  // Not the current one, which the tree also chooses by itself when it gets the focus.
  connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
    const QTreeWidgetItem* item = selectedItems().value(0);
    emit elementSelected(item ? static_cast<const Item*>(item)->element() : nullptr);
  });
  connect(this, &QTreeWidget::itemActivated, this, &SceneTree::elementActivated);
}

void SceneTree::rebuild() {
  QSignalBlocker blocker(this);
  clear();
  const auto scene = scene::_GlobalScene();
  {
    const scene::SceneLocker locker(scene, scene::LockAll);
    if (const auto root = scene->getRootNode()) addElement(invisibleRootItem(), root);
  }
  expandToDepth(1);
  setFilter(m_Filter);
  blocker.unblock();
  emit elementSelected(nullptr);
}

void SceneTree::setFilter(const QString& text) {
  m_Filter = text;
  for (int i = 0; i < topLevelItemCount(); ++i) filter(topLevelItem(i));
}

/// Whether the item, or one below it, has a name that is looked for.
bool SceneTree::filter(QTreeWidgetItem* item) const {
  bool isListed = item->text(0).contains(m_Filter, Qt::CaseInsensitive);
  bool isAbove = false;
  for (int i = 0; i < item->childCount(); ++i) isAbove = filter(item->child(i)) || isAbove;
  item->setHidden(!isListed && !isAbove);
  if (isAbove && !m_Filter.isEmpty()) item->setExpanded(true);
  return isListed || isAbove;
}

std::vector<SceneTree::Element> SceneTree::hidden() const {
  std::vector<Element> result;
  for (QTreeWidgetItemIterator item(const_cast<SceneTree*>(this)); *item; ++item)
    if ((*item)->checkState(0) == Qt::Unchecked) result.push_back(static_cast<Item*>(*item)->element());
  return result;
}

void SceneTree::setHidden(const std::vector<Element>& elements) {
  const std::set<Element> hidden(elements.begin(), elements.end());
  const QSignalBlocker blocker(this);
  for (QTreeWidgetItemIterator item(this); *item; ++item) {
    const Qt::CheckState state = hidden.count(static_cast<Item*>(*item)->element()) ? Qt::Unchecked : Qt::Checked;
    if ((*item)->checkState(0) == state) continue;
    (*item)->setCheckState(0, state);
    applyVisibility(*item);
  }
  viewport()->update();
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

void SceneTree::showMenu(const QPoint& place) {
  QTreeWidgetItem* item = itemAt(place);
  if (!item) return;
  setCurrentItem(item);
  const Element element = static_cast<Item*>(item)->element();
  auto* menu = new QMenu(this);
  menu->setObjectName(QStringLiteral("elementMenu"));
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->addAction(tr("&Fit View"), this, &SceneTree::elementActivated);
  const bool isShown = item->checkState(0) == Qt::Checked;
  menu->addAction(isShown ? tr("&Hide") : tr("&Show"), this,
                  [item, isShown] { item->setCheckState(0, isShown ? Qt::Unchecked : Qt::Checked); });
  menu->addAction(tr("Show &Only This"), this, [this, item] { showOnly(item); });
  menu->addAction(tr("Hide &Nothing"), this, [this] {
    setHidden({});
    emit visibilityChanged();
  });
  menu->addAction(tr("&Colour…"), this, [this, element] { emit colorRequested(element); });
  menu->popup(viewport()->mapToGlobal(place));
}

/// Hides what lies beside the item and what it lies in.
void SceneTree::showOnly(QTreeWidgetItem* item) {
  std::vector<Element> others;
  for (QTreeWidgetItem* inner = item; inner; inner = inner->parent()) {
    const QTreeWidgetItem* outer = inner->parent() ? inner->parent() : invisibleRootItem();
    for (int i = 0; i < outer->childCount(); ++i)
      if (outer->child(i) != inner) others.push_back(static_cast<Item*>(outer->child(i))->element());
  }
  setHidden(others);
  emit visibilityChanged();
}

}  // namespace nubo::window
