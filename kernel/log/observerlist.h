// Observers that may come and go while others are being called.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "kernel/util/callgate.h"

namespace nubo::log {

/// Thread-safe. Observers are called without any lock held, so that they may log, add and remove.
template <class Argument>
class ObserverList {
 public:
  using Observer = std::function<void(const Argument&)>;

  int add(Observer observer) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Entries.push_back(std::make_shared<Entry>(++m_LastId, std::move(observer)));
    return m_LastId;
  }

  /// Returns when the observer runs on no other thread; see CallGate::close.
  void remove(int id) {
    const std::shared_ptr<Entry> entry = take(id);
    // Whoever is calling others at this time may keep the entry for longer than the observer's library is loaded.
    if (entry && entry->gate.close()) entry->observer = nullptr;
  }

  void call(const Argument& argument) {
    for (const auto& entry : entries()) entry->gate.pass([&] { callQuietly(entry->observer, argument); });
  }

 private:
  struct Entry {
    Entry(int id, Observer observer) : id(id), observer(std::move(observer)) {}
    int id;
    Observer observer;
    util::CallGate gate;
  };

  std::vector<std::shared_ptr<Entry>> entries() const {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Entries;
  }

  std::shared_ptr<Entry> take(int id) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    const auto found =
        std::find_if(m_Entries.begin(), m_Entries.end(), [id](const auto& entry) { return entry->id == id; });
    if (found == m_Entries.end()) return nullptr;
    const std::shared_ptr<Entry> entry = *found;
    m_Entries.erase(found);
    return entry;
  }

  /// Whoever logs must not suffer from who listens.
  static void callQuietly(const Observer& observer, const Argument& argument) {
    try {
      observer(argument);
    } catch (...) {
    }
  }

  mutable std::mutex m_Mutex;
  std::vector<std::shared_ptr<Entry>> m_Entries;
  int m_LastId = 0;
};

}  // namespace nubo::log
