// Memory for very large pictures.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>

#include "picture/visibility.h"

namespace nubo::picture {

/// Has the system give a picture's memory, which is not in use yet, while the picture is drawn into it: in large pages
/// where it can, and from the end on, where the first tiles go, on a thread of its own. To get it when it is written
/// takes longer than to fill it. What is there already stays as it is. The memory must outlive the object.
class NUBO_PICTURE_EXPORT PagesAhead {
 public:
  PagesAhead(void* memory, std::size_t bytes);
  ~PagesAhead();
  PagesAhead(const PagesAhead&) = delete;
  PagesAhead& operator=(const PagesAhead&) = delete;

 private:
  void run() const;

  std::size_t m_Page = 0;  // bytes
  std::uintptr_t m_Begin = 0, m_End = 0;
  std::atomic<bool> m_IsOver{false};
  std::thread m_Thread;
};

}  // namespace nubo::picture
