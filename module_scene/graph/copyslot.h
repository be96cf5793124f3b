// Where data carries what others made of it.
#pragma once

#include <QMutex>

#include "kernel/util/ypointer.h"

namespace nubo::scene {

/// A place on a piece of data for a copy of it that somebody else makes and knows the type of, such as OpenGL's. The
/// copy goes with the data. Whoever reads or sets it holds the mutex.
struct CopySlot {
  CopySlot() = default;
  CopySlot(const CopySlot&) {}  ///< what was made of one piece of data is not made of another
  CopySlot& operator=(const CopySlot&) = delete;

  void drop() {
    const QMutexLocker locker(&mutex);
    copy = nullptr;
  }

  QMutex mutex;
  util::YPointer<util::YObject> copy;
};

}  // namespace nubo::scene
