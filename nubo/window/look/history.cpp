#include "nubo/window/look/history.h"

namespace nubo::window {

History::History(QObject* parent) : QObject(parent), mp_Undo(new QAction(this)), mp_Redo(new QAction(this)) {
  constexpr int Most = 200;
  m_Stack.setUndoLimit(Most);
  mp_Undo->setObjectName(QStringLiteral("undo"));
  mp_Redo->setObjectName(QStringLiteral("redo"));
  mp_Undo->setShortcut(QKeySequence::Undo);
  mp_Redo->setShortcut(Qt::CTRL + Qt::SHIFT + Qt::Key_Z);
  connect(mp_Undo, &QAction::triggered, this, [this] { go(true); });
  connect(mp_Redo, &QAction::triggered, this, [this] { go(false); });
  connect(&m_Stack, &QUndoStack::indexChanged, this, &History::show);
  show();
}

void History::push(QUndoCommand* command) {
  emit flushed();  // what was done before comes before
  m_Stack.push(command);
  m_Expects = false;
  show();
}

void History::expect(bool expects) {
  m_Expects = expects;
  show();
}

void History::clear() {
  m_Stack.clear();
  emit cleared();
  m_Expects = false;
  show();
}

void History::go(bool back) {
  emit flushed();
  back ? m_Stack.undo() : m_Stack.redo();
  m_Expects = false;  // what it has brought back is nothing new
  show();
}

void History::show() {
  mp_Undo->setEnabled(m_Expects || m_Stack.canUndo());
  mp_Redo->setEnabled(!m_Expects && m_Stack.canRedo());
  mp_Undo->setText(m_Stack.canUndo() && !m_Expects ? tr("&Undo: %1").arg(m_Stack.undoText()) : tr("&Undo"));
  mp_Redo->setText(m_Stack.canRedo() ? tr("Re&do: %1").arg(m_Stack.redoText()) : tr("Re&do"));
}

}  // namespace nubo::window
