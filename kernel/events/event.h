// What an event carries.
#pragma once

#include <QObject>

#include "kernel/visibility.h"

namespace nubo::main {

/// An event of a type (an id from EventHandler::addEvent) with up to two objects. A deferred event is
/// delivered on the application thread later (with null for an object that is gone by then), any other on
/// the firing thread before fireEvent returns.
class NUBO_KERNEL_EXPORT Event {
 public:
  Event(unsigned long type, QObject* first, QObject* second, bool deferred)
      : m_Type(type), mp_First(first), mp_Second(second), m_Deferred(deferred) {}

  unsigned long type() const { return m_Type; }
  QObject* first() const { return mp_First; }
  QObject* second() const { return mp_Second; }
  bool isDeferred() const { return m_Deferred; }

 private:
  unsigned long m_Type;
  QObject* mp_First;
  QObject* mp_Second;
  bool m_Deferred;
};

}  // namespace nubo::main
