#include "nubo/window/panels/panelarea.h"

#include <QSplitter>
#include <QTabBar>

#include "module_scene/gui/viewer.h"
#include "nubo/window/panels/panelframe.h"

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
  panel->setMargin(m_Margin);
  panel->setPicking(m_Picks, m_Marks);
  connect(panel, &ViewPanel::picked, this, &PanelArea::picked);
  connect(panel, &ViewPanel::sectionDragged, this, &PanelArea::sectionDragged);
  connect(panel, &ViewPanel::resized, this, [this, panel] {
    if (panel == activePanel()) emit viewChanged();
  });
  connect(panel, &ViewPanel::activated, this, [this, panel] { activate(panel); });
  emit panelAdded(panel);
  return panel;
}

void PanelArea::activate(ViewPanel* panel) {
  gui::Viewer::getInstance()->setActivePanel(panel);
  setFrame(m_Frame);
  updatePanels();  // the frame moves
  emit activePanelChanged();
  emit viewChanged();
}

ViewPanel* PanelArea::addPanelTab() {
  auto* splitter = new QSplitter;
  splitter->setChildrenCollapsible(false);
  ViewPanel* panel = createPanel();
  splitter->addWidget(new PanelFrame(panel));
  setCurrentIndex(addTab(splitter, tr("View %1").arg(++m_Tabs)));
  activate(panel);
  return panel;
}

ViewPanel* PanelArea::split(Qt::Orientation orientation) {
  ViewPanel* active = activePanel();
  PanelFrame* activePlace = place(active);
  auto* splitter = qobject_cast<QSplitter*>(activePlace->parentWidget());
  if (splitter->count() == 1) splitter->setOrientation(orientation);
  if (splitter->orientation() != orientation) {
    auto* inner = new QSplitter(orientation);
    inner->setChildrenCollapsible(false);
    splitter->replaceWidget(splitter->indexOf(activePlace), inner);
    inner->addWidget(activePlace);
    activePlace->show();
    splitter = inner;
  }
  ViewPanel* panel = createPanel();
  panel->lookLike(*active);
  auto* newPlace = new PanelFrame(panel);
  newPlace->setShape(activePlace->shape());
  splitter->insertWidget(splitter->indexOf(activePlace) + 1, newPlace);
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
  PanelFrame* closed = place(panel);
  auto* splitter = qobject_cast<QSplitter*>(closed->parentWidget());
  delete closed;
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

PanelFrame* PanelArea::place(ViewPanel* panel) const { return qobject_cast<PanelFrame*>(panel->parentWidget()); }

void PanelArea::setFrame(const main::ParameterSet::Frame& frame) {
  m_Frame = frame;
  for (ViewPanel* panel : panels()) panel->setFrame(panel == activePanel() ? frame : main::ParameterSet::Frame());
}

void PanelArea::setShape(const QSize& shape) { place(activePanel())->setShape(shape); }

QSize PanelArea::shape() const { return place(activePanel())->shape(); }

void PanelArea::setMargin(double margin) {
  m_Margin = margin;
  for (ViewPanel* panel : panels()) panel->setMargin(margin);
}

void PanelArea::setPicking(bool picks, const std::vector<math::Vector3>& points) {
  m_Picks = picks;
  m_Marks = points;
  for (ViewPanel* panel : panels()) panel->setPicking(picks, points);
}

void PanelArea::setSelection(const util::YPointer<scene::SceneElement>& element) {
  m_Selection = element;
  for (ViewPanel* panel : panels()) panel->setSelection(element);
}

void PanelArea::updatePanels() {
  for (ViewPanel* panel : panels()) panel->update();
}

}  // namespace nubo::window
