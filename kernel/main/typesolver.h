// Conversion between parameters of different types.
#pragma once

#include "kernel/main/abstractparameter.h"

namespace nubo::main {

class NUBO_KERNEL_EXPORT TypeSolver {
 public:
  /// Fills `target` with the value of `source` converted to the target's type: a copy for equal types,
  /// through text otherwise. False (and `target` as it was) when there is no value or it does not fit.
  [[nodiscard]] bool solve(AbstractParameter* target, const AbstractParameter* source) const;
};

}  // namespace nubo::main
