// Values for a command, as user interfaces hand them over.
#pragma once

#include <QStringList>

#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"

namespace nubo::test {

/// Texts for the parameters of a command's set with this ID, in their order; null for a missing one.
inline main::ParameterSet textValues(int id, const QStringList& texts) {
  main::ParameterSet set(id, QString());
  for (const QString& text : texts) {
    auto* parameter = new main::Parameter<QString>("value", "", "", true, nullptr);
    if (!text.isNull()) parameter->castString(text);
    set.addParameter(parameter);
  }
  return set;
}

}  // namespace nubo::test
