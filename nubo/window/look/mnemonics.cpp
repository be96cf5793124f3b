#include "nubo/window/look/mnemonics.h"

#include <QKeySequence>
#include <QSet>

namespace nubo::window {

namespace {

QString mnemonicOf(const QString& text) { return QKeySequence::mnemonic(text).toString(); }

}  // namespace

void addMnemonics(const QList<QAction*>& actions) {
  QSet<QString> used;
  for (const QAction* action : actions) used << mnemonicOf(action->text());
  for (QAction* action : actions) {
    if (action->isSeparator() || !mnemonicOf(action->text()).isEmpty()) continue;
    for (int i = 0; i < action->text().size(); ++i) {
      const QString marked = QString(action->text()).insert(i, QLatin1Char('&'));
      const QString key = action->text()[i].isLetterOrNumber() ? mnemonicOf(marked) : QString();
      if (key.isEmpty() || used.contains(key)) continue;
      used << key;
      action->setText(marked);
      break;
    }
  }
}

}  // namespace nubo::window
