// The typed side of a command's parameter.
#pragma once

#include <QString>
#include <boost/core/demangle.hpp>
#include <stdexcept>
#include <type_traits>

#include "kernel/log/logger.h"
#include "kernel/main/abstractparameter.h"

namespace nubo::main {

/// Holds at most one value of type T by pointer and converts it from and to text with the cast class
/// registered for T (QString needs none). A value is owned unless disableDeleteOnSet(true) was called.
/// Used from one thread at a time; no operation lets an exception out.
template <class T>
class Parameter : public AbstractParameter {
 public:
  Parameter(const QString& name, const QString& description, const QString& unit, bool required,
            ParameterPanelFactory* panelFactory)
      : AbstractParameter(name, description, unit, required, panelFactory) {
    mp_TypeInfo = &typeid(T);
    if constexpr (!isText) mp_CastClass = CastClassManager::getInstance()->createCastClassForType(mp_TypeInfo);
  }

  /// False, with a record in the log and the old value in place, for a text that is not a T.
  bool castString(const QString& text) override {
    try {
      T* value = fromString(text);
      deleteValue();
      hold(value);
      return true;
    } catch (...) {
      report("castString", 87, "Parameter::castString() There was an error!");
      return false;
    }
  }

  /// A null text without a value.
  QString toString() const override {
    if (!mp_Value) return QString();
    if constexpr (isText) return *mp_Value;
    return mp_CastClass ? mp_CastClass->toString(mp_Value) : QString();
  }

  void clearValue() override { deleteValue(); }

  /// Holds the other's very object from now on, if it is of the same type; the caller arranges which of
  /// the two owns it.
  void takeValue(AbstractParameter* other) override {
    if (const auto* source = dynamic_cast<Parameter<T>*>(other)) setValuePointer(source->mp_Value);
  }

  bool hasValue() const override { return mp_Value != nullptr; }

  QString toDebugString() const override {
    return QString::asprintf("%p (%s): value: %p  binded: %p\n", static_cast<const void*>(this),
                             getName().toLocal8Bit().constData(), static_cast<const void*>(mp_Value),
                             static_cast<const void*>(mp_Binded));
  }

  void* getValuePointer() const override { return mp_Value; }

  /// Setting the object that is already there keeps it.
  void setValuePointer(void* value) override {
    if (value != mp_Value) deleteValue();
    hold(static_cast<T*>(value));
  }

  /// From now on `*variable` always points to the value, and what it points to now becomes the value.
  /// The variable bound before becomes null. Null ends the binding and drops the value.
  virtual void bind(T** variable) {
    deleteValue();
    mp_Binded = variable;
    if (variable) mp_Value = *variable;
  }

  /// Deletes the value if it is owned, and forgets it in any case.
  void deleteValue() {
    try {
      if (m_DeleteOnSet) destroyValue();
    } catch (...) {
      report("deleteValue", 194, "Save your data!");
    }
    hold(nullptr);
  }

 private:
  static constexpr bool isText = std::is_same_v<T, QString>;

  T* fromString(const QString& text) const {
    if constexpr (isText) return new QString(text);
    if (!mp_CastClass) throw std::logic_error("no cast class");
    return static_cast<T*>(mp_CastClass->fromString(text));
  }

  void destroyValue() {
    if (mp_CastClass && mp_Value && mp_CastClass->needsSpecialDeletion()) {
      mp_CastClass->deleteValue(mp_Value);
    } else {
      delete mp_Value;
    }
  }

  void hold(T* value) {
    mp_Value = value;
    if (mp_Binded) *mp_Binded = value;
  }

  static void report(const char* operation, int line, const char* message) {
    const std::string function = "nubo::main::Parameter<" + boost::core::demangle(typeid(T).name()) + ">::" + operation;
    log::Logger::getInstance()->log(log::Severe, "kernel/main/parameter", line, function.c_str(), nullptr, "%s",
                                    message);
  }

  T* mp_Value = nullptr;
  T** mp_Binded = nullptr;
};

}  // namespace nubo::main
