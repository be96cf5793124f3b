// Lets foreign functions be called without a lock held, and withdrawn while other threads are calling them.
#pragma once

#include <thread>
#include <vector>

#include "kernel/visibility.h"

namespace nubo::util {

/// Stands before one function that any thread may call. Thread-safe; shared by those who call and who close.
class NUBO_KERNEL_EXPORT CallGate {
 public:
  CallGate() = default;
  CallGate(const CallGate&) = delete;
  CallGate& operator=(const CallGate&) = delete;

  /// Runs `call` unless the gate is closed. Several threads may be inside at once, and one several times.
  template <class Call>
  void pass(const Call& call) {
    if (!enter()) return;
    const Leaving leaving{*this};
    call();
  }

  /// No call begins from now on. Waits for those under way, on the application thread serving delegates meanwhile, and
  /// returns true when none is left. Returns false at once where it would wait for itself: inside such a call, or when
  /// one who makes it waits, across any number of gates, for this thread.
  bool close();

  /// The thread waits for what lies behind the gate as long as this lives.
  class Waiting {
   public:
    explicit Waiting(const CallGate& gate);
    ~Waiting();
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

   private:
    const CallGate& m_Gate;
  };

 private:
  struct Leaving {
    CallGate& gate;
    ~Leaving() { gate.leave(); }
  };

  bool enter();
  void leave();
  bool isHeldUpBy(std::thread::id thread) const;

  std::vector<std::thread::id> m_Callers;
  bool m_Closed = false;
};

}  // namespace nubo::util
