#include "kernel/util/largememory.h"

#include <sys/mman.h>

#include <cstdint>

namespace nubo::util {
namespace {

constexpr std::uintptr_t LargePage = std::uintptr_t(2) << 20;
constexpr std::uintptr_t Page = std::uintptr_t(1) << 16;  // a multiple of what any system has

std::uintptr_t roundUp(std::uintptr_t value, std::uintptr_t to) { return (value + to - 1) & ~(to - 1); }

}  // namespace

void* allocatePages(std::size_t bytes) {
  bytes = roundUp(bytes, Page);
  void* const memory = mmap(nullptr, bytes + LargePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  // Large pages begin at multiples of their size, so what lies before and behind goes back.
  const auto begin = reinterpret_cast<std::uintptr_t>(memory), first = roundUp(begin, LargePage);
  char* const pages = static_cast<char*>(memory) + (first - begin);
  if (first > begin) munmap(memory, first - begin);
  if (const std::size_t rest = LargePage - (first - begin); rest > 0) munmap(pages + bytes, rest);
  preferLargePages(pages, bytes);
  return pages;
}

void freePages(void* pages, std::size_t bytes) noexcept { munmap(pages, roundUp(bytes, Page)); }

void preferLargePages(void* memory, std::size_t bytes) noexcept {
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = roundUp(begin, LargePage), end = (begin + bytes) & ~(LargePage - 1);
  if (end > first) madvise(static_cast<char*>(memory) + (first - begin), end - first, MADV_HUGEPAGE);
}

void touchPages(void* memory, std::size_t bytes) noexcept {
  constexpr std::size_t SmallestPage = 4096;
  auto* const first = static_cast<volatile char*>(memory);
  for (std::size_t place = 0; place < bytes; place += SmallestPage) first[place] = 0;
}

}  // namespace nubo::util
