// Delivery of events to the functions registered for them.
#pragma once

#include <boost/function.hpp>

#include "kernel/events/event.h"

namespace nubo::events {

/// Thread-safe. A delivery holds the manager's recursive lock, so that unregisterAllEventFunctionsOf
/// returns only when no function of that owner is running on another thread.
class NUBO_KERNEL_EXPORT EventManager {
 public:
  using Function = boost::function<void(const main::Event*)>;

  static EventManager* getInstance();

  /// Calls `function` for every event of `type`; `filter`, if given, decides first (by returning true)
  /// whether it is called. The manager owns both. `owner` is only compared.
  void registerEventFunction(unsigned long type, Function* function, const void* owner,
                             boost::function<bool(const main::Event*)>* filter);
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
