#include "kernel/main/typesolver.h"

#include "kernel/log/logger.h"
#include "kernel/util/exceptiontext.h"

namespace nubo::main {

namespace {

bool isText(const AbstractParameter& parameter) { return parameter.getType() == typeid(QString); }

TypeSolver::Value owned(const AbstractParameter& target, void* value) {
  if (isText(target)) return {value, [](void* text) { delete static_cast<QString*>(text); }};
  return {value, [castClass = target.getCastClass()](void* old) { castClass->deleteValue(old); }};
}

/// Runs a conversion; whatever it throws means that the value does not fit.
template <class Conversion>
TypeSolver::Value converted(const AbstractParameter& target, Conversion conversion) {
  try {
    return owned(target, conversion());
  } catch (...) {
    NUBO_LOG(log::Debug, "nubo::main::TypeSolver::convert", util::exceptionText());
    return nullptr;
  }
}

}  // namespace

TypeSolver::Value TypeSolver::convert(const AbstractParameter& target, const QString& text) const {
  return converted(target, [&]() -> void* {
    if (isText(target)) return new QString(text);
    return target.getCastClass() ? target.getCastClass()->fromString(text) : nullptr;
  });
}

TypeSolver::Value TypeSolver::convert(const AbstractParameter& target, const AbstractParameter& source) const {
  if (!source.hasValue()) return nullptr;
  if (isText(source)) return convert(target, source.toString());
  if (!source.getCastClass()) return nullptr;
  if (target.getType() != source.getType()) return convert(target, source.toString());
  return converted(target, [&] { return source.getCastClass()->copy(source.getValuePointer()); });
}

bool TypeSolver::solve(AbstractParameter* target, const AbstractParameter* source) const {
  if (!target || !source) return false;
  Value value = convert(*target, *source);
  if (!value) return false;
  target->setValuePointer(value.release());
  return true;
}

}  // namespace nubo::main
