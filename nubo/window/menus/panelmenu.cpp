#include "nubo/window/menus/panelmenu.h"

#include "nubo/window/look/icons.h"
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
  addAction(tr("&Next Panel"), this, &PanelMenu::activateNext, QKeySequence(Qt::Key_F6));
  addSeparator();
  addAction(
      makeIcon(Icon::Close), tr("&Close Panel"), this, [this] { emit closeRequested({m_Panels.activePanel()}); },
      QKeySequence(Qt::CTRL + Qt::Key_W));
}

void PanelMenu::activateNext() {
  const QList<ViewPanel*> panels = m_Panels.panelsOfTab(m_Panels.currentIndex());
  ViewPanel* next = panels[(panels.indexOf(m_Panels.activePanel()) + 1) % panels.size()];
  m_Panels.activate(next);
  next->setFocus();
}

}  // namespace nubo::window
