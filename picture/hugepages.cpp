#include "picture/hugepages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>

namespace nubo::picture {

PagesAhead::PagesAhead(void* memory, std::size_t bytes) {
#ifdef MADV_POPULATE_WRITE
  constexpr std::size_t WorthAThread = std::size_t(16) << 20;
  const auto page = std::uintptr_t(sysconf(_SC_PAGESIZE));
  m_Begin = (std::uintptr_t(memory) + page - 1) / page * page;
  m_End = (std::uintptr_t(memory) + bytes) / page * page;
  if (m_Begin >= m_End) return;
  // Wishes that need not be granted.
  static_cast<void>(madvise(reinterpret_cast<void*>(m_Begin), m_End - m_Begin, MADV_HUGEPAGE));
  if (bytes < WorthAThread) return;
  try {
    m_Thread = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    // Then whoever writes waits for each.
  }
#endif
}

PagesAhead::~PagesAhead() {
  m_IsOver = true;
  if (m_Thread.joinable()) m_Thread.join();
}

void PagesAhead::run() const {
#ifdef MADV_POPULATE_WRITE
  constexpr std::uintptr_t AtOnce = std::uintptr_t(4) << 20;
  for (std::uintptr_t end = m_End; end > m_Begin && !m_IsOver;) {
    const std::uintptr_t begin = end - std::min(AtOnce, end - m_Begin);
    if (madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE) != 0) return;
    end = begin;
  }
#endif
}

}  // namespace nubo::picture
