#include "kernel/util/delegate.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "kernel/log/logger.h"
#include "kernel/util/callgate.h"
#include "kernel/util/exceptiontext.h"

namespace nubo::util {

namespace {

void runQuietly(AbstractDelegate& delegate) {
  try {
    delegate.invoke();
  } catch (...) {
    NUBO_LOG(log::Failure, "nubo::util::WorkerDelegate::invoke",
             QStringLiteral("A delegate failed: ") + exceptionText());
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
    m_ApplicationThread = std::this_thread::get_id();
  }

  void close() {
    std::unique_ptr<Receiver> receiver;
    {
      const std::lock_guard<std::mutex> lock(m_Mutex);
      receiver.swap(m_Receiver);
    }
    runAll();
  }

  void runAll() {
    while (runFirst()) {
    }
  }

  bool isApplicationThread() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return m_ApplicationThread == std::this_thread::get_id();
  }

  bool add(std::unique_ptr<AbstractDelegate>& delegate) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return addLocked(delegate, nullptr);
  }

  bool addAndWait(std::unique_ptr<AbstractDelegate>& delegate) {
    Call call;
    std::unique_lock<std::mutex> lock(m_Mutex);
    if (!addLocked(delegate, &call)) return false;
    const CallGate::Waiting waiting(call.gate);
    m_Done.wait(lock, [&] { return call.done; });
    return true;
  }

 private:
  /// A delegate that somebody waits for.
  struct Call {
    CallGate gate;      ///< tells gates that the waiting thread is held up by this delegate
    bool done = false;  ///< guarded by m_Mutex
  };

  struct Item {
    std::unique_ptr<AbstractDelegate> delegate;
    Call* call;  ///< null when nobody waits
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

  bool addLocked(std::unique_ptr<AbstractDelegate>& delegate, Call* call) {
    if (!m_Receiver) return false;
    m_Items.push_back({std::move(delegate), call});
    QCoreApplication::postEvent(m_Receiver.get(), new QEvent(QEvent::User));
    return true;
  }

  bool runFirst() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    if (m_Items.empty()) return false;
    Item item = std::move(m_Items.front());
    m_Items.pop_front();
    lock.unlock();
    if (!item.call) {
      runQuietly(*item.delegate);
      return true;
    }
    item.call->gate.pass([&] { runQuietly(*item.delegate); });
    item.delegate.reset();
    lock.lock();
    item.call->done = true;
    m_Done.notify_all();
    return true;
  }

  std::mutex m_Mutex;
  std::condition_variable m_Done;
  std::deque<Item> m_Items;
  std::unique_ptr<Receiver> m_Receiver;  ///< on the application thread; null while the way is closed
  std::thread::id m_ApplicationThread;   ///< that of the last open()
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
  if (!isApplicationThread()) return DelegateQueue::instance().addAndWait(owned);
  runQuietly(*owned);
  return true;
}

bool WorkerDelegate::isApplicationThread() { return DelegateQueue::instance().isApplicationThread(); }

void WorkerDelegate::runQueued() { DelegateQueue::instance().runAll(); }

void WorkerDelegate::open() { DelegateQueue::instance().open(); }

void WorkerDelegate::close() { DelegateQueue::instance().close(); }

}  // namespace nubo::util
