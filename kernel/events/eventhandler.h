// Event types: numbers for names.
#pragma once

#include <QByteArray>

#include "kernel/visibility.h"

namespace nubo::events {

/// Gives event types their ids. Thread-safe; usable while libraries load.
class NUBO_KERNEL_EXPORT EventHandler {
 public:
  static EventHandler* getInstance();

  /// The id of the type `name` of `category`, the same for every call with equal texts; never 0.
  unsigned long addEvent(const char* category, const char* name);
  /// Announces and withdraws a module's own category. Ids stay valid; while a category that was once
  /// registered is withdrawn, its events are not delivered.
  void registerEventTypes(const char* category);
  void unregisterEventTypes(const char* category);
  bool isRegistered(const char* category) const;
  /// False for events of a withdrawn category.
  bool isDeliverable(unsigned long type) const;

 private:
  EventHandler();
  ~EventHandler() = delete;  // used until the very end of the process
  struct Private;
  Private* d;
};

}  // namespace nubo::events
