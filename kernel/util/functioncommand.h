// A command made of a callable, for work that belongs on a command thread.
#pragma once

#include <boost/function.hpp>

#include "kernel/main/command.h"

namespace nubo::util {

/// Runs `function` when executed. `internal` marks work that no user interface shows; the descriptor
/// may be null. The command processor owns it once it is processed.
class NUBO_KERNEL_EXPORT FunctionCommand : public main::Command {
 public:
  FunctionCommand(boost::function<void()> function, bool internal, main::CommandDescriptor* descriptor);
  bool isInternal() const { return m_Internal; }
  void execute() override;

 private:
  boost::function<void()> m_Function;
  bool m_Internal;
};

}  // namespace nubo::util
