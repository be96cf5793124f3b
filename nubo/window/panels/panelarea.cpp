#include "nubo/window/panels/panelarea.h"

#include <QSplitter>
#include <QTabBar>

#include "module_scene/gui/viewer.h"

namespace nubo::window {

PanelArea::PanelArea(QWidget* parent) : QTabWidget(parent) {
  setDocumentMode(true);
  setTabsClosable(true);
  setTabBarAutoHide(true);
  // Else the Tab key ends at a tab bar that is hidden; one that is shown takes the focus itself.
  setFocusProxy(nullptr);
  setFocusPolicy(Qt::NoFocus);
  setMovable(true);
  connect(this, &QTabWidget::currentChanged, this, &PanelArea::tabChosen);
  connect(this, &QTabWidget::tabCloseRequested, this, [this](int index) { emit closeRequested(panelsOfTab(index)); });
  addPanelTab();
}

ViewPanel* PanelArea::createPanel() {
  auto* panel = new ViewPanel;
  panel->setSelection(m_Selection);
  connect(panel, &ViewPanel::activated, this, [this, panel] { activate(panel); });
  return panel;
}

void PanelArea::activate(ViewPanel* panel) {
  gui::Viewer::getInstance()->setActivePanel(panel);
  updatePanels();  // the frame moves
  emit activePanelChanged();
}

ViewPanel* PanelArea::addPanelTab() {
  auto* splitter = new QSplitter;
  splitter->setChildrenCollapsible(false);
  ViewPanel* panel = createPanel();
  splitter->addWidget(panel);
  setCurrentIndex(addTab(splitter, tr("View %1").arg(++m_Tabs)));
  activate(panel);
  return panel;
}

ViewPanel* PanelArea::split(Qt::Orientation orientation) {
  ViewPanel* active = activePanel();
  auto* splitter = qobject_cast<QSplitter*>(active->parentWidget());
  if (splitter->count() == 1) splitter->setOrientation(orientation);
  if (splitter->orientation() != orientation) {
    auto* inner = new QSplitter(orientation);
    inner->setChildrenCollapsible(false);
    splitter->replaceWidget(splitter->indexOf(active), inner);
    inner->addWidget(active);
    active->show();
    splitter = inner;
  }
  ViewPanel* panel = createPanel();
  panel->lookLike(*active);
  splitter->insertWidget(splitter->indexOf(active) + 1, panel);
  const QSize size = splitter->size();
  const int share = (orientation == Qt::Horizontal ? size.width() : size.height()) / splitter->count();
  splitter->setSizes(QList<int>::fromVector(QVector<int>(splitter->count(), share)));
  activate(panel);
  panel->setFocus();
  return panel;
}

ViewPanel* PanelArea::activePanel() const {
  return qobject_cast<ViewPanel*>(gui::Viewer::getInstance()->getActivePanel());
}

QList<ViewPanel*> PanelArea::panels() const { return findChildren<ViewPanel*>(); }

QList<ViewPanel*> PanelArea::panelsOfTab(int index) const {
  return widget(index) ? widget(index)->findChildren<ViewPanel*>() : QList<ViewPanel*>();
}

void PanelArea::closePanel(ViewPanel* panel) {
  auto* splitter = qobject_cast<QSplitter*>(panel->parentWidget());
  delete panel;
  removeEmptySplitters(splitter);
  if (count() == 0)
    addPanelTab();
  else if (!activePanel())
    tabChosen(currentIndex());
}

void PanelArea::removeEmptySplitters(QSplitter* splitter) {
  while (splitter && splitter->count() == 0) {
    auto* outer = qobject_cast<QSplitter*>(splitter->parentWidget());
    const int index = indexOf(splitter);
    if (index >= 0) removeTab(index);
    delete splitter;
    splitter = outer;
  }
}

void PanelArea::tabChosen(int index) {
  const QList<ViewPanel*> panels = panelsOfTab(index);
  if (panels.isEmpty() || panels.contains(activePanel())) return;
  auto* last = qobject_cast<ViewPanel*>(widget(index)->focusWidget());
  activate(last ? last : panels.first());
}

void PanelArea::setSelection(const util::YPointer<scene::SceneElement>& element) {
  m_Selection = element;
  for (ViewPanel* panel : panels()) panel->setSelection(element);
}

void PanelArea::updatePanels() {
  for (ViewPanel* panel : panels()) panel->update();
}

}  // namespace nubo::window
