// Delivery of events to the functions registered for them.
#pragma once

#include <boost/function.hpp>

#include "kernel/events/event.h"

namespace nubo::events {

/// Thread-safe. Functions are called on the firing thread with no lock held, so they may do what they like: fire,
/// register, unregister, and wait for the application thread. Events fired on several threads are delivered side by
/// side.
class NUBO_KERNEL_EXPORT EventManager {
 public:
  using Function = boost::function<void(const main::Event*)>;
  using Filter = boost::function<bool(const main::Event*)>;

  static EventManager* getInstance();

  /// Calls `function` for every event of `type`; `filter`, if given, decides first (by returning true)
  /// whether it is called. The manager owns both. `owner` is only compared.
  void registerEventFunction(unsigned long type, Function* function, const void* owner, Filter* filter);
  /// When this returns, none of the owner's functions will run, nor still runs on another thread. On the application
  /// thread it serves delegates while it waits for that. Called from inside such a function, or by one for whom such a
  /// function waits, it returns at once.
  void unregisterAllEventFunctionsOf(const void* owner);
  /// Delivers the event as it says: at once on this thread, or later on the application thread.
  void fireEvent(const main::Event& event);

 private:
  EventManager();
  ~EventManager() = delete;  // used until the very end of the process
  struct Private;
  Private* d;
};

}  // namespace nubo::events
