#include "picture/hugepages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace nubo::picture {

void preferHugePages(void* memory, std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  const auto page = std::uintptr_t(sysconf(_SC_PAGESIZE));
  const std::uintptr_t begin = (std::uintptr_t(memory) + page - 1) / page * page;
  const std::uintptr_t end = (std::uintptr_t(memory) + bytes) / page * page;
  // A wish that need not be granted.
  if (begin < end) (void)madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}

}  // namespace nubo::picture
