#include "picture/hugepages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>

#include "module_scene/mesh/parallel.h"

namespace nubo::picture {

PagesAhead::PagesAhead(void* memory, std::size_t bytes) {
  constexpr std::size_t WorthAThread = std::size_t(16) << 20;
  m_Page = std::size_t(sysconf(_SC_PAGESIZE));
  m_Begin = (std::uintptr_t(memory) + m_Page - 1) / m_Page * m_Page;
  m_End = (std::uintptr_t(memory) + bytes) / m_Page * m_Page;
  if (m_Begin >= m_End) return;
#ifdef MADV_HUGEPAGE
  // A wish that need not be granted.
  static_cast<void>(madvise(reinterpret_cast<void*>(m_Begin), m_End - m_Begin, MADV_HUGEPAGE));
#endif
  if (bytes < WorthAThread) return;
  try {
    m_Thread = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    // Then whoever writes waits for each.
  }
}

PagesAhead::~PagesAhead() {
  m_IsOver = true;
  if (m_Thread.joinable()) m_Thread.join();
}

/// Each page is touched, and not asked for with madvise(): that locks all of the process's memory, so that whoever
/// draws and has to have some would wait for all of this. Whoever writes meanwhile does so undisturbed, since a zero is
/// replaced by itself, and only where it still is.
[[gnu::no_sanitize_thread]] void PagesAhead::run() const {
  scene::letOthersGoFirst();  // a window, which draws meanwhile
  for (std::uintptr_t end = m_End; end > m_Begin && !m_IsOver; end -= m_Page) {
    std::uint8_t zero = 0;
    __atomic_compare_exchange_n(reinterpret_cast<std::uint8_t*>(end - m_Page), &zero, std::uint8_t(0), false,
                                __ATOMIC_RELAXED, __ATOMIC_RELAXED);
  }
}

}  // namespace nubo::picture
