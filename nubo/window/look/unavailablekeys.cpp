#include "nubo/window/look/unavailablekeys.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <algorithm>

namespace nubo::window {

UnavailableKeys::UnavailableKeys(QWidget* window) : QObject(window), mp_Window(window) {
  qApp->installEventFilter(this);  // whatever has the focus gets its keys through the application
}

bool UnavailableKeys::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress || !watched->isWidgetType()) return false;
  if (static_cast<QWidget*>(watched)->window() != mp_Window) return false;
  const auto* key = static_cast<QKeyEvent*>(event);
  const QKeySequence keys(key->key() | int(key->modifiers() & ~Qt::KeypadModifier));
  const QList<QAction*> actions = mp_Window->findChildren<QAction*>();
  return std::any_of(actions.begin(), actions.end(),
                     [&](const QAction* action) { return !action->isEnabled() && action->shortcuts().contains(keys); });
}

}  // namespace nubo::window
