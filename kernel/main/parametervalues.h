// Makes a command's parameters and reads them as plain values.
#pragma once

#include <cstddef>
#include <optional>

#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/typesolver.h"

namespace nubo::main {

/// A parameter without a panel factory; the caller owns it until it adds it to a set.
template <class T>
Parameter<T>* newParameter(const char* name, const QString& description) {
  return new Parameter<T>(QString::fromLatin1(name), description, QString(), true, nullptr);
}

/// The value of the parameter at `index`, converted to a T; nothing if there is no such value.
template <class T>
std::optional<T> solveParameter(const TypeSolver& solver, const ParameterSet& set, std::size_t index) {
  Parameter<T> local(QStringLiteral("noName"), QStringLiteral("noDesc"), QString(), true, nullptr);
  if (index >= set.parameters().size() || !solver.solve(&local, set.parameters()[index])) return std::nullopt;
  std::optional<T> value = *local.template getValue<T>();
  local.clearValue();
  return value;
}

}  // namespace nubo::main
