#include "nubo/cli/progressclock.h"

namespace nubo::app {

void ProgressClock::setPercent(int percent) {
  if (percent < m_Percent || m_Percent < 0) m_Part.start();
  m_Percent = percent;
}

int ProgressClock::secondsLeft() const {
  constexpr qint64 LeastMs = 2000;  // before that, a guess is worth nothing
  const qint64 elapsed = m_Percent > 0 ? m_Part.elapsed() : 0;
  return elapsed > LeastMs ? int(elapsed * (100 - m_Percent) / m_Percent / 1000) : -1;
}

QString clockText(int seconds) {
  const auto padded = [](int number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
  const int minutes = seconds / 60;
  const QString tail = QLatin1Char(':') + padded(seconds % 60);
  return minutes < 60 ? QString::number(minutes) + tail
                      : QStringLiteral("%1:%2").arg(minutes / 60).arg(padded(minutes % 60)) + tail;
}

}  // namespace nubo::app
