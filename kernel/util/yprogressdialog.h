// Progress of long work, reported from any thread and shown by whoever the program chose.
#pragma once

#include <QString>
#include <memory>

#include "kernel/visibility.h"

namespace nubo::util {

/// Shows progress to the user. Called on the application thread only.
class NUBO_KERNEL_EXPORT ProgressPresenter {
 public:
  virtual ~ProgressPresenter();
  virtual void begin(const void* id, const QString& label, bool modal) = 0;
  /// `percent` is 0 to 100.
  virtual void update(const void* id, int percent) = 0;
  virtual void end(const void* id) = 0;
};

/// One piece of long work that reports a percentage, usable from command threads: construction,
/// setValue and destruction cross to the application thread without waiting for it.
class NUBO_KERNEL_EXPORT YProgressDialog {
 public:
  YProgressDialog(const QString& label, bool modal);
  ~YProgressDialog();
  YProgressDialog(const YProgressDialog&) = delete;
  YProgressDialog& operator=(const YProgressDialog&) = delete;

  /// Percentage, 0 to 100; values outside are bounded, repeated values cost nothing.
  void setValue(int percent);

  /// Replaces the presenter for progress that begins from now on (application thread). Null shows nothing; the default
  /// is a QProgressDialog when the program has a window.
  static void setPresenter(std::shared_ptr<ProgressPresenter> presenter);

 private:
  struct State;
  std::shared_ptr<State> m_State;
};

}  // namespace nubo::util
