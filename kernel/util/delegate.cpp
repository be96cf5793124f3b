#include "kernel/util/delegate.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>

#include "kernel/log/logger.h"

namespace nubo::util {

namespace {

void logFailure(const char* reason) {
  log::Logger::getInstance()->log(log::Failure, "kernel/util/delegate", __LINE__, "nubo::util::WorkerDelegate::invoke",
                                  nullptr, "A delegate failed: %s", reason);
}

void runQuietly(AbstractDelegate& delegate) {
  try {
    delegate.invoke();
  } catch (const std::exception& exception) {
    logFailure(exception.what());
  } catch (...) {
    logFailure("unknown exception");
  }
}

/// Delegates on their way to the application thread. Each has one event posted to the receiver, so that
/// the event loop comes to other things between two delegates.
class DelegateQueue {
 public:
  static DelegateQueue& instance() {
    static auto* queue = new DelegateQueue;
    return *queue;
  }

  void open() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Receiver = std::make_unique<Receiver>(*this);
  }

  void close() {
    std::unique_ptr<Receiver> receiver;
    {
      const std::lock_guard<std::mutex> lock(m_Mutex);
      receiver.swap(m_Receiver);
    }
    while (runFirst()) {
    }
  }

  bool isOnApplicationThread() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Receiver && m_Receiver->thread() == QThread::currentThread();
  }

  bool add(std::unique_ptr<AbstractDelegate>& delegate) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return addLocked(delegate, nullptr);
  }

  bool addAndWait(std::unique_ptr<AbstractDelegate>& delegate) {
    bool done = false;
    std::unique_lock<std::mutex> lock(m_Mutex);
    if (!addLocked(delegate, &done)) return false;
    m_Done.wait(lock, [&] { return done; });
    return true;
  }

 private:
  struct Item {
    std::unique_ptr<AbstractDelegate> delegate;
    bool* done;  ///< guarded by m_Mutex; null when nobody waits
  };

  class Receiver : public QObject {
   public:
    explicit Receiver(DelegateQueue& queue) : m_Queue(queue) {}
    bool event(QEvent* event) override {
      if (event->type() != QEvent::User) return QObject::event(event);
      m_Queue.runFirst();
      return true;
    }

   private:
    DelegateQueue& m_Queue;
  };

  bool addLocked(std::unique_ptr<AbstractDelegate>& delegate, bool* done) {
    if (!m_Receiver) return false;
    m_Items.push_back({std::move(delegate), done});
    QCoreApplication::postEvent(m_Receiver.get(), new QEvent(QEvent::User));
    return true;
  }

  bool runFirst() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    if (m_Items.empty()) return false;
    Item item = std::move(m_Items.front());
    m_Items.pop_front();
    lock.unlock();
    runQuietly(*item.delegate);
    item.delegate.reset();
    if (!item.done) return true;
    lock.lock();
    *item.done = true;
    m_Done.notify_all();
    return true;
  }

  std::mutex m_Mutex;
  std::condition_variable m_Done;
  std::deque<Item> m_Items;
  std::unique_ptr<Receiver> m_Receiver;  ///< on the application thread; null while the way is closed
};

}  // namespace

AbstractDelegate::~AbstractDelegate() = default;

void FunctionDelegate::invoke() { m_Function(); }

bool WorkerDelegate::invoke(AbstractDelegate* delegate) {
  std::unique_ptr<AbstractDelegate> owned(delegate);
  return DelegateQueue::instance().add(owned);
}

bool WorkerDelegate::invokeSync(AbstractDelegate* delegate) {
  std::unique_ptr<AbstractDelegate> owned(delegate);
  if (!DelegateQueue::instance().isOnApplicationThread()) return DelegateQueue::instance().addAndWait(owned);
  runQuietly(*owned);
  return true;
}

void WorkerDelegate::open() { DelegateQueue::instance().open(); }

void WorkerDelegate::close() { DelegateQueue::instance().close(); }

}  // namespace nubo::util
