// Tells ThreadSanitizer of the order that Qt's locks, semaphores and threads give. Qt is not built with the
// sanitizer and waits by futex, which the sanitizer does not see, so that everything guarded by Qt would look
// unguarded. Linked into programs built with the sanitizer, these definitions stand in front of Qt's own, call them,
// and say what they order. Nothing is suppressed: what Qt does not order is still reported.
#include <dlfcn.h>

#include <QCoreApplication>
#include <QMutex>
#include <QRunnable>
#include <QSemaphore>
#include <QSettings>
#include <QThread>
#include <QThreadPool>
#include <QWaitCondition>
#include <functional>
#include <optional>
#include <utility>

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace {

/// Qt's own definition of a function that is defined here as well.
template <class Function>
Function qtsOwn(const char* mangledName) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, mangledName));
}

/// While it lives, its thread runs nothing but Qt's own bookkeeping, guarded by a lock that cannot be seen.
class Bookkeeping {
 public:
  Bookkeeping() {
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
  }
  ~Bookkeeping() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
  }
  Bookkeeping(const Bookkeeping&) = delete;
  Bookkeeping& operator=(const Bookkeeping&) = delete;
};

/// Of a pool's thread, between two tasks.
thread_local std::optional<Bookkeeping> betweenTasks;

/// A task that sees all that happened before it was given to the pool.
class OrderedTask : public QRunnable {
 public:
  explicit OrderedTask(std::function<void()> work) : m_Work(std::move(work)) {}
  void run() override {
    betweenTasks.reset();
    __tsan_acquire(this);
    std::exchange(m_Work, nullptr)();
    betweenTasks.emplace();
  }

 private:
  std::function<void()> m_Work;
};

}  // namespace

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT {
  static const auto own = qtsOwn<void (*)(QMutex*)>("_ZN6QMutex4lockEv");
  own(this);
  __tsan_acquire(this);
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT {
  static const auto own = qtsOwn<bool (*)(QMutex*, int)>("_ZN6QMutex7tryLockEi");
  const bool locked = own(this, timeout);
  if (locked) __tsan_acquire(this);
  return locked;
}

void QMutex::unlock() noexcept {
  static const auto own = qtsOwn<void (*)(QMutex*)>("_ZN6QMutex6unlockEv");
  __tsan_release(this);
  own(this);
}

bool QWaitCondition::wait(QMutex* mutex, QDeadlineTimer deadline) {
  static const auto own =
      qtsOwn<bool (*)(QWaitCondition*, QMutex*, QDeadlineTimer)>("_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
  __tsan_release(mutex);
  const bool woken = own(this, mutex, deadline);
  __tsan_acquire(mutex);
  return woken;
}

bool QWaitCondition::wait(QMutex* mutex, unsigned long milliseconds) {
  static const auto own =
      qtsOwn<bool (*)(QWaitCondition*, QMutex*, unsigned long)>("_ZN14QWaitCondition4waitEP6QMutexm");
  __tsan_release(mutex);
  const bool woken = own(this, mutex, milliseconds);
  __tsan_acquire(mutex);
  return woken;
}

void QSemaphore::acquire(int count) {
  static const auto own = qtsOwn<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7acquireEi");
  own(this, count);
  __tsan_acquire(this);
}

bool QSemaphore::tryAcquire(int count) {
  static const auto own = qtsOwn<bool (*)(QSemaphore*, int)>("_ZN10QSemaphore10tryAcquireEi");
  const bool acquired = own(this, count);
  if (acquired) __tsan_acquire(this);
  return acquired;
}

bool QSemaphore::tryAcquire(int count, int timeout) {
  static const auto own = qtsOwn<bool (*)(QSemaphore*, int, int)>("_ZN10QSemaphore10tryAcquireEii");
  const bool acquired = own(this, count, timeout);
  if (acquired) __tsan_acquire(this);
  return acquired;
}

void QSemaphore::release(int count) {
  static const auto own = qtsOwn<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7releaseEi");
  __tsan_release(this);
  own(this, count);
}

// The start of a thread is seen as it is; its end is announced by a signal that is emitted on it just before.
void QThread::start(Priority priority) {
  static const auto own = qtsOwn<void (*)(QThread*, Priority)>("_ZN7QThread5startENS_8PriorityE");
  connect(
      this, &QThread::finished, this, [this] { __tsan_release(this); }, Qt::DirectConnection);
  own(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline) {
  static const auto own = qtsOwn<bool (*)(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
  const bool ended = own(this, deadline);
  if (ended) __tsan_acquire(this);
  return ended;
}

bool QThread::wait(unsigned long milliseconds) {
  static const auto own = qtsOwn<bool (*)(QThread*, unsigned long)>("_ZN7QThread4waitEm");
  const bool ended = own(this, milliseconds);
  if (ended) __tsan_acquire(this);
  return ended;
}

void QThreadPool::start(std::function<void()> work, int priority) {
  auto* task = new OrderedTask(std::move(work));
  __tsan_release(task);
  start(task, priority);
}

void QCoreApplication::postEvent(QObject* receiver, QEvent* event, int priority) {
  static const auto own =
      qtsOwn<void (*)(QObject*, QEvent*, int)>("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
  const Bookkeeping bookkeeping;
  own(receiver, event, priority);
}

void QSettings::setValue(const QString& key, const QVariant& value) {
  static const auto own =
      qtsOwn<void (*)(QSettings*, const QString&, const QVariant&)>("_ZN9QSettings8setValueERK7QStringRK8QVariant");
  const Bookkeeping bookkeeping;
  own(this, key, value);
}

// Constructors and destructors cannot be defined a second time in C++, but functions with their names for the linker
// can.
void makeSettings(QSettings* settings, const QString& fileName, QSettings::Format format,
                  QObject* parent) __asm__("_ZN9QSettingsC1ERK7QStringNS_6FormatEP7QObject");
void destroySettings(QSettings* settings) __asm__("_ZN9QSettingsD1Ev");

void makeSettings(QSettings* settings, const QString& fileName, QSettings::Format format, QObject* parent) {
  static const auto own = qtsOwn<decltype(&makeSettings)>("_ZN9QSettingsC1ERK7QStringNS_6FormatEP7QObject");
  const Bookkeeping bookkeeping;
  own(settings, fileName, format, parent);
}

void destroySettings(QSettings* settings) {
  static const auto own = qtsOwn<decltype(&destroySettings)>("_ZN9QSettingsD1Ev");
  const Bookkeeping bookkeeping;
  own(settings);
}
