#include "nubo/window/messagebar.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#include "nubo/window/colors.h"
#include "nubo/window/icons.h"

namespace nubo::window {

MessageBar::MessageBar(QTabWidget* below) : QFrame(below), mp_Below(below), mp_Text(new QLabel) {
  setObjectName(QStringLiteral("messageBar"));
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  mp_Text->setWordWrap(true);
  mp_Text->setTextFormat(Qt::PlainText);
  mp_Text->setTextInteractionFlags(Qt::TextSelectableByMouse);
  auto* log = new QPushButton(tr("Show &Log"));
  connect(log, &QPushButton::clicked, this, &MessageBar::logRequested);
  auto* close = new QToolButton;
  close->setIcon(makeIcon(Icon::Close));
  close->setToolTip(tr("Close this message"));
  close->setAccessibleName(tr("Close this message"));
  close->setShortcut(Qt::Key_Escape);
  close->setAutoRaise(true);
  connect(close, &QToolButton::clicked, this, &MessageBar::dismiss);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(10, 4, 6, 4);
  layout->addWidget(mp_Text, 1);
  layout->addWidget(log);
  layout->addWidget(close);
  below->installEventFilter(this);
  below->tabBar()->installEventFilter(this);
  hide();
}

void MessageBar::showFailure(const QString& text) {
  constexpr int TogetherMs = 2000;
  if (!isVisibleTo(parentWidget()) || m_Latest.hasExpired(TogetherMs)) m_Failures = 0;
  m_Latest.start();
  if (m_Failures++ == 0) m_First = text;
  display(m_Failures == 1 ? m_First : tr("%1 (and %n more)", "", m_Failures - 1).arg(m_First), true);
}

void MessageBar::showNotice(const QString& text) {
  if (m_Failures == 0) display(text, false);
}

QString MessageBar::text() const { return isVisibleTo(parentWidget()) ? mp_Text->text() : QString(); }

void MessageBar::display(const QString& text, bool isFailure) {
  QPalette colors = parentWidget()->palette();
  colors.setColor(QPalette::Window, isFailure ? failureBackground(colors) : noticeBackground(colors));
  setPalette(colors);
  mp_Text->setText(text);
  show();
  place();
  raise();
}

void MessageBar::place() {
  const int width = mp_Below->width();
  const int top = mp_Below->tabBar()->isVisibleTo(mp_Below) ? mp_Below->tabBar()->height() : 0;
  setGeometry(0, top, width, layout()->heightForWidth(width));  // sizeHint() thinks of a narrow text
}

void MessageBar::dismiss() {
  m_Failures = 0;
  hide();
}

bool MessageBar::eventFilter(QObject* watched, QEvent* event) {
  const bool moves = event->type() == QEvent::Resize || event->type() == QEvent::Show || event->type() == QEvent::Hide;
  if (moves && isVisible()) {
    place();
    raise();
  }
  return QFrame::eventFilter(watched, event);
}

void MessageBar::changeEvent(QEvent* event) {
  QFrame::changeEvent(event);
  if (event->type() == QEvent::ApplicationPaletteChange && isVisible()) display(mp_Text->text(), m_Failures > 0);
}

}  // namespace nubo::window
