#include "nubo/window/messagebar.h"

#include <QAction>
#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>

#include "nubo/window/look/colors.h"
#include "nubo/window/look/elidedlabel.h"
#include "nubo/window/look/icons.h"

namespace nubo::window {

MessageBar::MessageBar(QWidget* parent)
    : QToolBar(tr("Messages"), parent), mp_Frame(new QFrame), mp_Text(new ElidedLabel) {
  setObjectName(QStringLiteral("messageBar"));
  setMovable(false);
  toggleViewAction()->setVisible(false);  // or a user who has hidden the bar would miss what it tells
  addWidgets();
  mp_Frame->hide();
}

void MessageBar::addWidgets() {
  auto* log = new QPushButton(tr("Show &Log"));
  connect(log, &QPushButton::clicked, this, &MessageBar::logRequested);
  auto* close = new QToolButton;
  close->setObjectName(QStringLiteral("closeMessage"));  // a tool bar has buttons of its own
  close->setIcon(makeIcon(Icon::Close));
  close->setToolTip(tr("Close this message"));
  close->setAccessibleName(tr("Close this message"));
  close->setShortcut(Qt::Key_Escape);
  close->setAutoRaise(true);
  connect(close, &QToolButton::clicked, this, &MessageBar::dismiss);
  mp_Frame->setFrameShape(QFrame::StyledPanel);
  mp_Frame->setAutoFillBackground(true);
  mp_Frame->setBackgroundRole(QPalette::Window);
  auto* layout = new QHBoxLayout(mp_Frame);
  layout->setContentsMargins(10, 0, 2, 0);
  layout->addWidget(mp_Text, 1);
  layout->addWidget(log);
  layout->addWidget(close);
  // The tool bar would give up the room of a widget of its own while that is hidden.
  auto* room = new QWidget;
  room->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  room->setMinimumSize(mp_Frame->minimumSizeHint());
  auto* around = new QHBoxLayout(room);
  around->setContentsMargins(0, 0, 0, 0);
  around->addWidget(mp_Frame);
  addWidget(room);
}

void MessageBar::showFailure(const QString& text) {
  constexpr int TogetherMs = 2000;
  if (mp_Frame->isHidden() || m_Latest.hasExpired(TogetherMs)) m_Failures = 0;
  m_Latest.start();
  if (m_Failures++ == 0) m_First = text;
  display(m_Failures == 1 ? m_First : tr("%1 (and %n more)", "", m_Failures - 1).arg(m_First));
}

void MessageBar::addReason(const QString& reason) {
  if (mp_Frame->isHidden() || m_Failures != 1 || reason.isEmpty()) return;
  m_First += QLatin1Char(' ') + reason;
  display(m_First);
}

void MessageBar::showNotice(const QString& text) {
  if (m_Failures == 0) display(text);
}

void MessageBar::dismissNotice() {
  if (m_Failures == 0) dismiss();
}

QString MessageBar::text() const { return mp_Frame->isHidden() ? QString() : mp_Text->text(); }

void MessageBar::display(const QString& text) {
  mp_Text->setText(text);
  mp_Text->setToolTip(text);
  showColors();
  mp_Frame->show();
}

void MessageBar::showColors() {
  QPalette colors = palette();
  colors.setColor(QPalette::Window, m_Failures > 0 ? failureBackground(colors) : noticeBackground(colors));
  mp_Frame->setPalette(colors);
}

void MessageBar::dismiss() {
  m_Failures = 0;
  mp_Frame->hide();
}

void MessageBar::changeEvent(QEvent* event) {
  QToolBar::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) showColors();
}

}  // namespace nubo::window
