// Delegates carry a piece of work to the application thread.
#pragma once

#include <functional>
#include <utility>

#include "kernel/visibility.h"

namespace nubo::util {

/// A piece of work. Whoever is handed one (WorkerDelegate) owns and deletes it.
class NUBO_KERNEL_EXPORT AbstractDelegate {
 public:
  virtual ~AbstractDelegate();
  virtual void invoke() = 0;
};

/// Runs any callable.
class NUBO_KERNEL_EXPORT FunctionDelegate : public AbstractDelegate {
 public:
  explicit FunctionDelegate(std::function<void()> function) : m_Function(std::move(function)) {}
  void invoke() override;

 private:
  std::function<void()> m_Function;
};

/// Runs a member function without arguments. The object must outlive the call.
template <class T>
class Delegate0 : public AbstractDelegate {
 public:
  Delegate0(T* object, void (T::*member)()) : mp_Object(object), mp_Member(member) {}
  void invoke() override { (mp_Object->*mp_Member)(); }

 private:
  T* mp_Object;
  void (T::*mp_Member)();
};

/// The way to the application thread. All operations may be called on any thread, take ownership of
/// the delegate and delete it after it ran (or when it can no longer run). Exceptions that leave a
/// delegate are logged and go no further.
class NUBO_KERNEL_EXPORT WorkerDelegate {
 public:
  /// Queues the delegate to the application thread and returns at once, also when called there.
  /// Queued delegates run in order. Returns false, without running it, when the program is ending.
  static bool invoke(AbstractDelegate* delegate);
  /// Runs the delegate on the application thread and returns when it has run; on that thread itself
  /// it runs directly, whatever the way is. On others it returns false, without running the delegate,
  /// when the program is ending: a waiting caller is released, never left blocked.
  static bool invokeSync(AbstractDelegate* delegate);

  /// Whether the caller is on the thread that opened the way.
  static bool isApplicationThread();
  /// Runs what is queued, and what is queued meanwhile, before the event loop comes to it. Application thread.
  static void runQueued();

  /// Opens and closes the way; called by the Overseer on the application thread. Closing runs what
  /// is queued, then refuses everything later.
  static void open();
  static void close();
};

}  // namespace nubo::util
