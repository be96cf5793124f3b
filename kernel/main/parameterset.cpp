#include "kernel/main/parameterset.h"

namespace nubo::main {

ParameterSet::ParameterSet(int id, const QString& name) : m_ID(id), m_Name(name) {}

void ParameterSet::addParameter(AbstractParameter* parameter) {
  m_Owned.emplace_back(parameter, [](AbstractParameter* last) {
    last->clearValue();
    delete last;
  });
  m_Parameters.push_back(parameter);
}

QString ParameterSet::summarize(const ParameterSet& values) const {
  return m_Summary && check(values).text.isEmpty() ? m_Summary(values) : QString();
}

}  // namespace nubo::main
