// The inputs of one form of a command.
#pragma once

#include <QString>
#include <deque>
#include <memory>
#include <vector>

#include "kernel/main/abstractparameter.h"

namespace nubo::main {

/// Parameters in the order in which they were added. Copies of a set share its parameters; the last
/// copy clears their values (which deletes those that are owned) and deletes them.
class NUBO_KERNEL_EXPORT ParameterSet {
 public:
  ParameterSet(int id, const QString& name);
  /// Takes ownership.
  void addParameter(AbstractParameter* parameter);
  std::deque<AbstractParameter*>* getParameterList() { return &m_Parameters; }
  const std::deque<AbstractParameter*>& parameters() const { return m_Parameters; }
  int getID() const { return m_ID; }
  const QString& getName() const { return m_Name; }

 private:
  int m_ID;
  QString m_Name;
  std::deque<AbstractParameter*> m_Parameters;
  std::vector<std::shared_ptr<AbstractParameter>> m_Owned;
};

}  // namespace nubo::main
