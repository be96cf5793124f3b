#include "plugins/imageformats/png/orderedwork.h"

#include <exception>
#include <system_error>
#include <utility>

namespace nubo::png {

OrderedWork::OrderedWork(int jobs, int threads, std::function<Encode()> makeEncode)
    : m_jobs(jobs), m_makeEncode(std::move(makeEncode)), m_done(size_t(2 * threads)) {
  startThreads(threads);
}

OrderedWork::~OrderedWork() {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isOver = true;
  }
  m_changed.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

void OrderedWork::startThreads(int threads) {
  m_threads.reserve(size_t(threads));
  try {
    while (int(m_threads.size()) < threads) m_threads.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    // Fewer threads do as well.
  }
}

std::optional<int> OrderedWork::claimJob() {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_changed.wait(lock, [this] { return m_isOver || m_claimed == m_jobs || m_claimed < m_taken + int(m_done.size()); });
  if (m_isOver || m_claimed == m_jobs) return std::nullopt;
  return m_claimed++;
}

void OrderedWork::work() {
  try {
    const Encode encode = m_makeEncode();
    while (const auto job = claimJob()) {
      Segment segment = encode(*job);
      {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_done[size_t(*job) % m_done.size()] = std::move(segment);
      }
      m_changed.notify_all();
    }
  } catch (const std::exception&) {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_isOver = true;
    }
    m_changed.notify_all();
  }
}

std::optional<Segment> OrderedWork::makeHere() {
  try {
    if (!m_encodeHere) m_encodeHere = m_makeEncode();
    return m_encodeHere(m_taken++);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<Segment> OrderedWork::takeNext() {
  if (m_threads.empty()) return makeHere();
  std::unique_lock<std::mutex> lock(m_mutex);
  std::optional<Segment>& slot = m_done[size_t(m_taken) % m_done.size()];
  m_changed.wait(lock, [&] { return m_isOver || slot; });
  if (!slot) return std::nullopt;
  std::optional<Segment> segment = std::exchange(slot, std::nullopt);
  ++m_taken;
  lock.unlock();
  m_changed.notify_all();
  return segment;
}

}  // namespace nubo::png
