// Observers that may come and go while others are being called.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace nubo::log {

/// Thread-safe. Observers are called without any lock held, so that they may log, add and remove.
template <class Argument>
class ObserverList {
 public:
  using Observer = std::function<void(const Argument&)>;

  int add(Observer observer) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back(std::make_shared<Entry>(Entry{++m_LastId, std::move(observer), {}, false}));
    return m_LastId;
  }

  /// Returns when the observer runs on no other thread, or at once when it is called by that observer.
  void remove(int id) {
    std::unique_lock<std::mutex> lock(m_Mutex);
    const auto found =
        std::find_if(m_Entries.begin(), m_Entries.end(), [id](const auto& entry) { return entry->id == id; });
    if (found == m_Entries.end()) return;
    const std::shared_ptr<Entry> entry = *found;
    m_Entries.erase(found);
    entry->removed = true;
    if (entry->runsOn(std::this_thread::get_id())) return;
    m_Idle.wait(lock, [&] { return entry->callers.empty(); });
  }

  void call(const Argument& argument) {
    std::unique_lock<std::mutex> lock(m_Mutex);
    const auto entries = m_Entries;
    for (const auto& entry : entries) {
      if (entry->removed) continue;
      entry->callers.push_back(std::this_thread::get_id());
      lock.unlock();
      callQuietly(entry->observer, argument);
      lock.lock();
      entry->callers.erase(std::find(entry->callers.begin(), entry->callers.end(), std::this_thread::get_id()));
      m_Idle.notify_all();
    }
  }

 private:
  struct Entry {
    int id;
    Observer observer;
    std::vector<std::thread::id> callers;
    bool removed;
    bool runsOn(std::thread::id thread) const {
      return std::find(callers.begin(), callers.end(), thread) != callers.end();
    }
  };

  /// Whoever logs must not suffer from who listens.
  static void callQuietly(const Observer& observer, const Argument& argument) {
    try {
      observer(argument);
    } catch (...) {
    }
  }

  std::mutex m_Mutex;
  std::condition_variable m_Idle;
  std::vector<std::shared_ptr<Entry>> m_Entries;
  int m_LastId = 0;
};

}  // namespace nubo::log
