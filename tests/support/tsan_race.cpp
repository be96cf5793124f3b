// Two threads that share a number, guarded by nothing but what the argument names: "mutex", "semaphore", "join" or
// "nothing". Run by tsan_test.cpp, which looks at what ThreadSanitizer says of it.
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

int main(int, char** arguments) {
  constexpr int Times = 10000;
  const std::string guard = arguments[1];
  int number = 0;
  QMutex mutex;
  QSemaphore filled, empty;
  const auto count = [&] {
    for (int i = 0; i < Times; ++i) {
      const QMutexLocker locker(guard == "mutex" ? &mutex : nullptr);
      ++number;
    }
  };
  const auto give = [&] {
    for (int i = 0; i < Times; ++i) {
      ++number;
      filled.release();
      empty.acquire();
    }
  };
  const auto take = [&] {
    for (int i = 0; i < Times; ++i) {
      filled.acquire();
      if (number != i + 1) std::puts("lost");
      empty.release();
    }
  };
  const std::unique_ptr<QThread> other(QThread::create(guard == "semaphore" ? std::function<void()>(give) : count));
  other->start();
  if (guard == "semaphore") take();
  if (guard == "mutex" || guard == "nothing") count();
  other->wait();
  std::printf("%d\n", number);
}
