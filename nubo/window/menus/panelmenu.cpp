#include "nubo/window/menus/panelmenu.h"

#include <QActionGroup>

#include "nubo/window/look/icons.h"
#include "nubo/window/look/mnemonics.h"
#include "nubo/window/panels/panelarea.h"

namespace nubo::window {

PanelMenu::PanelMenu(PanelArea& panels, QWidget* parent) : QMenu(tr("&Panels"), parent), m_Panels(panels) {
  setObjectName(QStringLiteral("panelMenu"));
  m_Makers << addAction(
      makeIcon(Icon::NewTab), tr("New &Tab"), this, [this] { m_Panels.addPanelTab()->setFocus(); },
      QKeySequence(Qt::CTRL + Qt::Key_T));
  m_Makers << addAction(
      makeIcon(Icon::SplitRight), tr("Split to the &Right"), this, [this] { m_Panels.split(Qt::Horizontal); },
      QKeySequence(Qt::CTRL + Qt::Key_R));
  m_Makers << addAction(
      makeIcon(Icon::SplitDown), tr("Split &Downwards"), this, [this] { m_Panels.split(Qt::Vertical); },
      QKeySequence(Qt::CTRL + Qt::Key_D));
  addShapes();
  addAction(tr("&Next Panel"), this, &PanelMenu::activateNext, QKeySequence(Qt::Key_F6));
  addSeparator();
  addAction(
      makeIcon(Icon::Close), tr("&Close Panel"), this, [this] { emit closeRequested({m_Panels.activePanel()}); },
      QKeySequence(Qt::CTRL + Qt::Key_W));
}

/// Of the panel and of its pictures.
void PanelMenu::addShapes() {
  QMenu* menu = addMenu(tr("S&hape"));
  menu->setObjectName(QStringLiteral("shapeMenu"));
  auto* group = new QActionGroup(menu);
  const std::pair<QString, QSize> shapes[] = {{tr("&Free"), QSize()},
                                              {QStringLiteral("16 : 9"), {1920, 1080}},
                                              {QStringLiteral("4 : 3"), {1600, 1200}},
                                              {QStringLiteral("3 : 2"), {1500, 1000}},
                                              {tr("&Square"), {1080, 1080}},
                                              {tr("A4, Landscape"), {3508, 2480}},
                                              {tr("A4, Portrait"), {2480, 3508}}};
  for (const auto& [label, shape] : shapes) {
    QAction* action = menu->addAction(label, this, [this, size = shape] { m_Panels.setShape(size); });
    action->setCheckable(true);
    action->setData(shape);
    group->addAction(action);
  }
  addMnemonics(menu->actions());
  const auto isSame = [](const QSize& a, const QSize& b) { return a.width() * b.height() == a.height() * b.width(); };
  connect(menu, &QMenu::aboutToShow, this, [this, group, isSame] {
    const QSize current = m_Panels.shape();
    for (QAction* action : group->actions()) {
      const QSize shape = action->data().toSize();
      action->setChecked(shape.isEmpty() ? current.isEmpty() : !current.isEmpty() && isSame(shape, current));
    }
  });
}

void PanelMenu::activateNext() {
  const QList<ViewPanel*> panels = m_Panels.panelsOfTab(m_Panels.currentIndex());
  ViewPanel* next = panels[(panels.indexOf(m_Panels.activePanel()) + 1) % panels.size()];
  m_Panels.activate(next);
  next->setFocus();
}

}  // namespace nubo::window
