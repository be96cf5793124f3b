// Waiting in tests, never for good.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <functional>

namespace nubo::test {

/// Handles events until the condition holds; false after a generous time, which means it never will.
inline bool waitUntil(const std::function<bool()>& condition, int milliseconds = 60000) {
  QElapsedTimer timer;
  timer.start();
  while (!condition()) {
    if (timer.elapsed() > milliseconds) return false;
    QCoreApplication::processEvents();
    QThread::msleep(1);  // leaves the processor to threads of idle priority
  }
  return true;
}

}  // namespace nubo::test
