#include "kernel/util/callgate.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

#include "kernel/util/delegate.h"

namespace nubo::util {

namespace {

/// What guards all gates, since a circle of waiting threads may lead through several.
struct Gates {
  std::mutex mutex;
  std::condition_variable left;
  std::multimap<std::thread::id, const CallGate*> waits;

  static Gates& instance() {
    static auto* gates = new Gates;
    return *gates;
  }
  void beginWait(const CallGate* gate) { waits.emplace(std::this_thread::get_id(), gate); }
  void endWait(const CallGate* gate) {
    const auto [begin, end] = waits.equal_range(std::this_thread::get_id());
    waits.erase(std::find_if(begin, end, [gate](const auto& wait) { return wait.second == gate; }));
  }
};

}  // namespace

bool CallGate::enter() {
  const std::lock_guard<std::mutex> lock(Gates::instance().mutex);
  if (!m_Closed) m_Callers.push_back(std::this_thread::get_id());
  return !m_Closed;
}

void CallGate::leave() {
  Gates& gates = Gates::instance();
  const std::lock_guard<std::mutex> lock(gates.mutex);
  m_Callers.erase(std::find(m_Callers.begin(), m_Callers.end(), std::this_thread::get_id()));
  gates.left.notify_all();
}

/// Whether the thread is inside, or one that is waits for it.
bool CallGate::isHeldUpBy(std::thread::id thread) const {
  const Gates& gates = Gates::instance();
  std::vector<std::thread::id> reached = m_Callers;
  for (size_t i = 0; i < reached.size(); ++i) {
    if (reached[i] == thread) return true;
    const auto [begin, end] = gates.waits.equal_range(reached[i]);
    for (auto wait = begin; wait != end; ++wait)
      for (const std::thread::id next : wait->second->m_Callers)
        if (std::find(reached.begin(), reached.end(), next) == reached.end()) reached.push_back(next);
  }
  return false;
}

bool CallGate::close() {
  constexpr std::chrono::milliseconds LookAgain(2);
  const bool serves = WorkerDelegate::isApplicationThread();
  Gates& gates = Gates::instance();
  std::unique_lock<std::mutex> lock(gates.mutex);
  m_Closed = true;
  if (isHeldUpBy(std::this_thread::get_id())) return false;
  gates.beginWait(this);
  while (!m_Callers.empty()) {
    if (!serves) {
      gates.left.wait(lock);
      continue;
    }
    gates.left.wait_for(lock, LookAgain);
    lock.unlock();
    WorkerDelegate::runQueued();
    lock.lock();
  }
  gates.endWait(this);
  return true;
}

CallGate::Waiting::Waiting(const CallGate& gate) : m_Gate(gate) {
  const std::lock_guard<std::mutex> lock(Gates::instance().mutex);
  Gates::instance().beginWait(&m_Gate);
}

CallGate::Waiting::~Waiting() {
  const std::lock_guard<std::mutex> lock(Gates::instance().mutex);
  Gates::instance().endWait(&m_Gate);
}

}  // namespace nubo::util
