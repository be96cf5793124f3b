// Memory for long arrays.
#pragma once

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "kernel/visibility.h"

namespace nubo::util {

/// What is at least as long has pages of its own.
constexpr std::size_t LongArray = std::size_t(2) << 20;

/// Pages of the large kind, where the system has such: touching memory for the first time is then many times as quick.
/// All bytes are 0. Throws std::bad_alloc.
NUBO_KERNEL_EXPORT void* allocatePages(std::size_t bytes);
/// Gives them back to the system at once, which the heap would not.
NUBO_KERNEL_EXPORT void freePages(void* pages, std::size_t bytes) noexcept;
/// Asks for large pages for memory that has not been touched yet.
NUBO_KERNEL_EXPORT void preferLargePages(void* memory, std::size_t bytes) noexcept;
/// Has the system give that memory now; what it holds is lost. Each page is touched, and not asked for with madvise():
/// that locks all of the process's memory, so that other threads would wait for all of it.
NUBO_KERNEL_EXPORT void touchPages(void* memory, std::size_t bytes) noexcept;

/// See Scratch.
template <class T>
struct PageAllocator {
  using value_type = T;

  PageAllocator() = default;
  template <class U>
  PageAllocator(const PageAllocator<U>&) noexcept {}  // NOLINT(google-explicit-constructor): as allocators must

  T* allocate(std::size_t count) {
    if (count > std::size_t(-1) / sizeof(T)) throw std::bad_alloc();
    const std::size_t bytes = count * sizeof(T);
    return static_cast<T*>(bytes < LongArray ? ::operator new(bytes) : allocatePages(bytes));
  }
  void deallocate(T* memory, std::size_t count) noexcept {
    if (count * sizeof(T) < LongArray)
      ::operator delete(memory);
    else
      freePages(memory, count * sizeof(T));
  }
  template <class U>
  void construct(U* place) noexcept {
    ::new (static_cast<void*>(place)) U;
  }
  template <class U, class... Values>
  void construct(U* place, Values&&... values) {
    ::new (static_cast<void*>(place)) U(std::forward<Values>(values)...);
  }
  bool operator==(const PageAllocator&) const { return true; }
  bool operator!=(const PageAllocator&) const { return false; }
};

/// Values that are there for a short time only, of which there may be very many. New numbers that are given no value
/// have any.
template <class T>
using Scratch = std::vector<T, PageAllocator<T>>;

/// An empty list with room for so many values, and for a quarter more: the clusters of a mesh will have vertices of
/// their own.
template <class T>
std::vector<T> listWithRoom(std::size_t size) {
  std::vector<T> list;
  list.reserve(size + size / 4);
  preferLargePages(list.data(), list.capacity() * sizeof(T));
  return list;
}

}  // namespace nubo::util
