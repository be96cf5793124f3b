// Counted references: YObject carries the count, YPointer holds one reference.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>

#include "kernel/visibility.h"

namespace nubo::util {

/// Base of everything held by a YPointer. The count starts at 0 and is atomic, so references may be
/// taken and dropped on any thread; the holder that drops the last one deletes the object there.
class NUBO_KERNEL_EXPORT YObject {
 public:
  YObject() = default;
  YObject(const YObject&) : m_References(0) {}
  YObject& operator=(const YObject&) { return *this; }
  virtual ~YObject();

  void reference() const { m_References.fetch_add(1, std::memory_order_relaxed); }
  void release() const {
    if (m_References.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  std::int32_t referenceCount() const { return m_References.load(std::memory_order_acquire); }

 private:
  mutable std::atomic<std::int32_t> m_References{0};
};

/// A counted reference to a YObject. Assigning takes the new reference before dropping the old one.
/// One YPointer is used from one thread at a time; the object behind it may be shared.
template <class T>
class YPointer {
 public:
  YPointer() = default;
  YPointer(std::nullptr_t) {}
  YPointer(T* object) : mp_Object(object) { reference(); }
  YPointer(const YPointer& other) : YPointer(other.mp_Object) {}
  YPointer(YPointer&& other) noexcept : mp_Object(std::exchange(other.mp_Object, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  YPointer(const YPointer<U>& other) : YPointer(other.get()) {}
  ~YPointer() { drop(mp_Object); }

  YPointer& operator=(YPointer other) noexcept {
    std::swap(mp_Object, other.mp_Object);
    return *this;
  }

  T* get() const { return mp_Object; }
  T* operator->() const { return mp_Object; }
  T& operator*() const { return *mp_Object; }
  explicit operator bool() const { return mp_Object != nullptr; }

  friend bool operator==(const YPointer& a, const YPointer& b) { return a.mp_Object == b.mp_Object; }
  friend bool operator!=(const YPointer& a, const YPointer& b) { return a.mp_Object != b.mp_Object; }
  friend bool operator<(const YPointer& a, const YPointer& b) {
    return std::less<const T*>()(a.mp_Object, b.mp_Object);
  }

 private:
  void reference() const {
    if (mp_Object) mp_Object->reference();
  }
  static void drop(T* object) {
    if (object) object->release();
  }

  T* mp_Object = nullptr;
};

}  // namespace nubo::util
