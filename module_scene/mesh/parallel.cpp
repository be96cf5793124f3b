#include "module_scene/mesh/parallel.h"

#include <QMutex>
#include <QThread>
#include <QThreadPool>
#include <QWaitCondition>
#include <atomic>
#include <exception>
#include <memory>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace nubo::scene {

namespace {

/// The calls of one loop, of which whoever has time takes the next.
class Loop {
 public:
  Loop(std::size_t count, const std::function<void(std::size_t)>& work) : m_Count(count), m_Work(work) {}

  /// Works until all calls are taken. The work is not touched when none is left, for it may be gone by then.
  void help() {
    for (;;) {
      const std::size_t turn = m_Next.fetch_add(1);
      if (turn >= m_Count) return;
      call(turn);
      const QMutexLocker locker(&m_Mutex);
      if (++m_Ended == m_Count) m_AllEnded.wakeAll();
    }
  }

  void waitForOthers() {
    const QMutexLocker locker(&m_Mutex);
    while (m_Ended < m_Count) m_AllEnded.wait(&m_Mutex);
    if (m_Failure) std::rethrow_exception(m_Failure);
  }

 private:
  void call(std::size_t turn) {
    if (m_Failed.load(std::memory_order_relaxed)) return;
    try {
      m_Work(turn);
    } catch (...) {
      const QMutexLocker locker(&m_Mutex);
      if (!m_Failure) m_Failure = std::current_exception();
      m_Failed = true;
    }
  }

  const std::size_t m_Count;
  const std::function<void(std::size_t)>& m_Work;
  std::atomic<std::size_t> m_Next{0};
  std::atomic<bool> m_Failed{false};
  QMutex m_Mutex;
  QWaitCondition m_AllEnded;
  std::size_t m_Ended = 0;
  std::exception_ptr m_Failure;
};

thread_local bool t_LetsOthersGoFirst = false;

/// One for all loops, since more threads than cores would only be in each other's way; but one more for those in the
/// background, as nobody else is to wait for a thread that lets others go first.
class Pool : public QThreadPool {
 public:
  Pool() { setMaxThreadCount(int(coreCount()) - 1); }  // the caller is one more
};

}  // namespace

std::size_t coreCount() {
  static const auto count = std::size_t(std::max(1, QThread::idealThreadCount()));
  return count;
}

void letOthersGoFirst() {
  t_LetsOthersGoFirst = true;
#ifdef Q_OS_LINUX
  constexpr int Back = 10;  // which leaves it a tenth where somebody else has work
  const auto thread = id_t(syscall(SYS_gettid));
  setpriority(PRIO_PROCESS, thread, getpriority(PRIO_PROCESS, thread) + Back);
#endif
}

void runOnCores(std::size_t count, const std::function<void(std::size_t)>& work) {
  static Pool foreground, background;  // whose threads go as far back as those that start them
  const bool isBehind = t_LetsOthersGoFirst;
  Pool& pool = isBehind ? background : foreground;
  const std::size_t helpers = std::min(count, coreCount());
  // Helpers that come too late find the loop, though not its work, still there.
  const auto loop = std::make_shared<Loop>(count, work);
  for (std::size_t helper = 1; helper < helpers; ++helper)
    pool.start([loop, isBehind] {
      t_LetsOthersGoFirst = isBehind;  // also for loops inside this one
      loop->help();
    });
  loop->help();
  loop->waitForOthers();
}

}  // namespace nubo::scene
