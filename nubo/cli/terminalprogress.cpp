#include "nubo/cli/terminalprogress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace nubo::app {

namespace {

int terminalColumns() {
  winsize size = {};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

QString progressLine(const QString& text, int percent, int secondsGone, int secondsLeft, int columns) {
  QString state = secondsGone > 0 ? QLatin1Char(' ') + clockText(secondsGone) : QString();
  if (percent >= 0) {
    state.prepend(QStringLiteral("] %1 %").arg(percent, 3));
    if (secondsLeft >= 0) state += QStringLiteral("%1 %2 left").arg(secondsGone > 0 ? "," : "", clockText(secondsLeft));
    // A long text shortens the bar before it is cut itself.
    const int length = std::clamp(columns - int(text.size() + state.size()) - 2, 10, 30);
    const int filled = length * percent / 100;
    state.prepend(QStringLiteral(" [") + QString(filled, '#') + QString(length - filled, ' '));
  }
  return text.left(std::max(0, columns - int(state.size()))) + state.left(columns);
}

TerminalProgress::TerminalProgress() = default;

TerminalProgress::~TerminalProgress() { clear(); }

void TerminalProgress::setShown(bool wanted) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_Shown = wanted && isatty(STDERR_FILENO);
}

void TerminalProgress::begin(const void*, const QString& label, bool) { setText(label); }

void TerminalProgress::update(const void*, int percent) { setPercent(percent); }

void TerminalProgress::end(const void*) { setPercent(-1); }

void TerminalProgress::setText(const QString& text) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_Text = text;
  m_Clock = ProgressClock();
  draw();
}

void TerminalProgress::setDetail(const QString& detail) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_Detail = detail;
  draw();
}

void TerminalProgress::setPercent(int percent) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  if (m_Clock.percent() == percent) return;
  m_Clock.setPercent(percent);
  draw();
}

void TerminalProgress::clear() {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  erase();
}

void TerminalProgress::draw() {
  if (!m_Shown) return;
  const QString text = m_Detail.isEmpty() ? m_Text : m_Text + QStringLiteral(": ") + m_Detail;
  const QString line =
      progressLine(text, m_Clock.percent(), m_Clock.secondsGone(), m_Clock.secondsLeft(), terminalColumns() - 1);
  std::fprintf(stderr, "\r\033[K%s", line.toLocal8Bit().constData());
  std::fflush(stderr);
  m_Drawn = true;
}

void TerminalProgress::erase() {
  if (!m_Drawn) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  m_Drawn = false;
}

}  // namespace nubo::app
