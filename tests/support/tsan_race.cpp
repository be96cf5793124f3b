// Two threads that share a number, guarded by nothing but what its argument names: "mutex", "semaphore", "join" or
// "nothing". Run by tsan_test.cpp, which looks at what ThreadSanitizer says of it.
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <cstdio>
#include <cstring>
#include <functional>

namespace {

class Worker : public QThread {
 public:
  explicit Worker(std::function<void()> work) : m_Work(std::move(work)) {}

 protected:
  void run() override { m_Work(); }

 private:
  std::function<void()> m_Work;
};

int countUnderMutex(QMutex* mutex) {
  int number = 0;
  const auto count = [&] {
    for (int i = 0; i < 10000; ++i) {
      const QMutexLocker locker(mutex);
      ++number;
    }
  };
  Worker worker(count);
  worker.start();
  count();
  worker.wait();
  return number;
}

int handOverBySemaphore() {
  int number = 0;
  QSemaphore filled, empty;
  Worker worker([&] {
    for (int i = 0; i < 10000; ++i) {
      number = i + 1;
      filled.release();
      empty.acquire();
    }
  });
  worker.start();
  int sum = 0;
  for (int i = 0; i < 10000; ++i) {
    filled.acquire();
    sum += number > 0;
    empty.release();
  }
  worker.wait();
  return sum;
}

int readAfterJoin() {
  int number = 0;
  Worker worker([&] { number = 1; });
  worker.start();
  worker.wait();
  return number;
}

}  // namespace

int main(int, char** arguments) {
  QMutex mutex;
  int result = 0;
  if (!std::strcmp(arguments[1], "mutex")) result = countUnderMutex(&mutex);
  if (!std::strcmp(arguments[1], "semaphore")) result = handOverBySemaphore();
  if (!std::strcmp(arguments[1], "join")) result = readAfterJoin();
  if (!std::strcmp(arguments[1], "nothing")) result = countUnderMutex(nullptr);
  std::printf("%d\n", result);
}
