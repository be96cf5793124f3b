#include "kernel/main/commandprocessor.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>
#include <QTimer>
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <limits>
#include <mutex>
#include <thread>
#include <utility>

#include "kernel/util/delegate.h"

namespace nubo::main {

namespace {

/// One command on its way through the processor.
struct Run {
  Command* command;
  bool keep;
  std::thread::id thread;
  int aborts = 0;  ///< calls of abort() under way, which the command must outlive
  bool executing = false;
  bool executed = false;
  bool ended = false;
};
using RunPointer = std::shared_ptr<Run>;

thread_local bool isCommandThread = false;

void wakeApplicationThread() {
  if (!QCoreApplication::instance()) return;
  if (auto* dispatcher = QAbstractEventDispatcher::instance(QCoreApplication::instance()->thread())) {
    dispatcher->wakeUp();
  }
}

/// Commands carry icons, which belong to the application thread.
void deleteOnApplicationThread(Command* command) {
  if (!util::WorkerDelegate::invokeSync(new util::FunctionDelegate([command] { delete command; }))) delete command;
}

}  // namespace

/// All members are guarded by the mutex, under which no foreign code is called.
struct CommandProcessor::Private {
  bool isBusy(const Command* command) const;
  bool isAtRest() const { return queue.empty() && running.empty(); }
  void startNext();
  void runOnThread();
  void execute(const RunPointer& run, std::unique_lock<std::mutex>& lock, const std::function<void()>& onStarted);
  bool runHere(const RunPointer& run);
  bool waitFor(const RunPointer& run);
  void waitUntil(const std::function<bool()>& reached, QEventLoop::ProcessEventsFlags flags);
  void abortRunning();
  std::deque<RunPointer> dropQueue();
  void end(const RunPointer& run);

  mutable std::mutex mutex;
  std::condition_variable changed;
  std::deque<RunPointer> queue;
  std::vector<RunPointer> running;
  RunPointer starting;  ///< given to a thread that has not announced its start yet
  bool closing = false;
  QThreadPool threads;
};

bool CommandProcessor::Private::isBusy(const Command* command) const {
  return std::any_of(running.begin(), running.end(), [command](const auto& run) { return run->command == command; });
}

/// Starts follow each other, so that their order is the order of the queue.
void CommandProcessor::Private::startNext() {
  if (starting) return;
  const auto next = std::find_if(queue.begin(), queue.end(), [this](const auto& run) { return !isBusy(run->command); });
  if (next == queue.end()) return;
  starting = *next;
  queue.erase(next);
  running.push_back(starting);
  threads.start([this] { runOnThread(); });
}

void CommandProcessor::Private::runOnThread() {
  isCommandThread = true;
  std::unique_lock<std::mutex> lock(mutex);
  const RunPointer run = starting;
  execute(run, lock, [this] {
    starting = nullptr;
    startNext();
  });
}

/// Runs the command with the lock released. `onStarted` is called with the lock held once receivers know
/// that the command started.
void CommandProcessor::Private::execute(const RunPointer& run, std::unique_lock<std::mutex>& lock,
                                        const std::function<void()>& onStarted) {
  Command* command = run->command;
  run->thread = std::this_thread::get_id();
  command->m_Aborted = false;
  run->executing = true;
  lock.unlock();
  emit command->monitor()->started();
  lock.lock();
  onStarted();
  lock.unlock();
  command->run();
  emit command->monitor()->finished();

  lock.lock();
  run->executing = false;
  changed.wait(lock, [&] { return run->aborts == 0; });
  if (!run->keep) {
    lock.unlock();
    deleteOnApplicationThread(command);
    lock.lock();
  }
  run->executed = true;
  end(run);
}

void CommandProcessor::Private::end(const RunPointer& run) {
  run->ended = true;
  running.erase(std::remove(running.begin(), running.end(), run), running.end());
  startNext();
  changed.notify_all();
  wakeApplicationThread();
}

/// On a command thread. A command object that runs elsewhere is waited for; one that hands over itself
/// runs again inside itself.
bool CommandProcessor::Private::runHere(const RunPointer& run) {
  std::unique_lock<std::mutex> lock(mutex);
  changed.wait(lock, [&] {
    return std::none_of(running.begin(), running.end(), [&](const auto& other) {
      return other->command == run->command && other->thread != std::this_thread::get_id();
    });
  });
  running.push_back(run);
  execute(run, lock, [] {});
  return true;
}

bool CommandProcessor::Private::waitFor(const RunPointer& run) {
  waitUntil([&] { return run->ended; }, QEventLoop::AllEvents);
  const std::lock_guard<std::mutex> lock(mutex);
  return run->executed;
}

/// `reached` is asked with the lock held.
void CommandProcessor::Private::waitUntil(const std::function<bool()>& reached, QEventLoop::ProcessEventsFlags flags) {
  std::unique_lock<std::mutex> lock(mutex);
  if (!util::WorkerDelegate::isApplicationThread()) return changed.wait(lock, reached);
  while (!reached()) {
    lock.unlock();
    QCoreApplication::processEvents(flags | QEventLoop::WaitForMoreEvents);
    lock.lock();
  }
}

void CommandProcessor::Private::abortRunning() {
  std::vector<RunPointer> targets;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    for (const auto& run : running) {
      if (!run->executing || !run->command->canBeStopped()) continue;
      ++run->aborts;
      targets.push_back(run);
    }
  }
  for (const auto& run : targets) {
    run->command->abort();
    const std::lock_guard<std::mutex> lock(mutex);
    --run->aborts;
    changed.notify_all();
  }
}

std::deque<RunPointer> CommandProcessor::Private::dropQueue() {
  const std::lock_guard<std::mutex> lock(mutex);
  closing = true;
  std::deque<RunPointer> dropped;
  dropped.swap(queue);
  for (const auto& run : dropped) run->ended = true;
  changed.notify_all();
  return dropped;
}

CommandProcessor::CommandProcessor() : d(std::make_unique<Private>()) {
  // A recording blocks its thread for as long as it lasts.
  d->threads.setMaxThreadCount(std::numeric_limits<int>::max());
}

CommandProcessor::~CommandProcessor() { shutDown(); }

bool CommandProcessor::processCommand(Command* command, int mode, bool keep) {
  if (!command) return false;
  const auto run = std::make_shared<Run>();
  run->command = command;
  run->keep = keep;
  const bool waits = mode == Wait;
  {
    std::unique_lock<std::mutex> lock(d->mutex);
    if (d->closing) {
      lock.unlock();
      if (!keep) deleteOnApplicationThread(command);
      return false;
    }
    if (!waits || !isCommandThread) {
      d->queue.push_back(run);
      d->startNext();
      if (!waits) return true;
    }
  }
  return isCommandThread ? d->runHere(run) : d->waitFor(run);
}

bool CommandProcessor::isRunning() const {
  const std::lock_guard<std::mutex> lock(d->mutex);
  return !d->isAtRest();
}

void CommandProcessor::abortAll() { d->abortRunning(); }

void CommandProcessor::shutDown() {
  const std::deque<RunPointer> dropped = d->dropQueue();
  d->abortRunning();
  QTimer again;
  QObject::connect(&again, &QTimer::timeout, [this] { d->abortRunning(); });
  if (util::WorkerDelegate::isApplicationThread()) again.start(200);
  d->waitUntil([this] { return d->isAtRest(); }, QEventLoop::ExcludeUserInputEvents);
  d->threads.waitForDone();
  // Not before, since a command that was to run once more may have been running.
  for (const auto& run : dropped)
    if (!run->keep) deleteOnApplicationThread(run->command);
}

}  // namespace nubo::main
