#include "nubo/window/menus/helpmenu.h"

#include <QApplication>
#include <QMessageBox>

#include "nubo/window/menus/aboutdialog.h"

namespace nubo::window {

HelpMenu::HelpMenu(QWidget* parent) : QMenu(tr("&Help"), parent) {
  setObjectName(QStringLiteral("helpMenu"));
  addAction(tr("&Keys and Mouse"), this, &HelpMenu::showKeys, QKeySequence(QKeySequence::HelpContents));
  addAction(tr("&About nubo"), this, [this] { AboutDialog(parentWidget()).exec(); });
  addAction(tr("About &Qt"), qApp, &QApplication::aboutQt);
}

void HelpMenu::showKeys() {
  const auto named = [](const char* keys) {
    return QKeySequence(QLatin1String(keys)).toString(QKeySequence::NativeText);
  };
  const std::pair<QString, QString> rows[] = {
      {tr("Turn"), tr("left button, or arrow keys")},
      {tr("Move"), tr("middle button, or Shift with the left one or the arrow keys")},
      {tr("Zoom"), tr("wheel, right button, + and −")},
      {tr("Show all"), tr("double click, or Home")},
      {tr("Show in parallel"), named("5")},
      {tr("Cut open"), tr("F7; then Ctrl and the left button")},
      {tr("Undo, redo"), named("Ctrl+Z") + ", " + named("Ctrl+Shift+Z")},
      {tr("Copy the view"), named("Ctrl+Shift+C")},
      {tr("Next panel"), named("F6")},
      {tr("Show or hide the scene and the log"), QStringLiteral("F9, F10")},
      {tr("Play and pause"), named("Ctrl+Space")},
      {tr("Stop a command"), named("Ctrl+.")},
      {tr("Close a message"), named("Esc")},
  };
  QString table;
  for (const auto& [what, keys] : rows) table += QStringLiteral("<tr><td>%1</td><td>%2</td></tr>").arg(what, keys);
  QMessageBox::information(parentWidget(), tr("Keys and Mouse"),
                           QStringLiteral("<table cellpadding=3>%1</table>").arg(table));
}

}  // namespace nubo::window
