// Makes segments on several threads and hands them over one by one, in order.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "plugins/imageformats/png/segmentencoder.h"

namespace nubo::png {

// A number of numbered jobs. At most two segments for each thread wait to be taken, so that memory stays bounded
// however slow the taker is.
class OrderedWork {
 public:
  using Encode = std::function<Segment(int)>;

  // `makeEncode` is called on each thread for a function of its own, which then makes the segments that fall to this
  // thread. With `threads` 0, or where the system grants no thread, the taker's thread does the work.
  OrderedWork(int jobs, int threads, std::function<Encode()> makeEncode);
  // Gives up what hasn't been taken.
  ~OrderedWork();
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;

  // The next segment, on the thread that owns this object; to be called at most once for each job. Nothing if making
  // a segment failed, and from then on.
  [[nodiscard]] std::optional<Segment> takeNext();

 private:
  void startThreads(int threads);
  void work();
  std::optional<int> claimJob();
  std::optional<Segment> makeHere();

  const int m_jobs;
  const std::function<Encode()> m_makeEncode;
  Encode m_encodeHere;

  std::mutex m_mutex;
  std::condition_variable m_changed;
  // Guarded by m_mutex.
  std::vector<std::optional<Segment>> m_done;  // job i at i modulo the size
  int m_claimed = 0;
  int m_taken = 0;
  bool m_isOver = false;

  std::vector<std::thread> m_threads;
};

}  // namespace nubo::png
