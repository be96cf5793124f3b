// Conversion between a type's values and text.
#pragma once

#include <QString>
#include <functional>
#include <stdexcept>
#include <typeinfo>

#include "kernel/util/ypointer.h"

namespace nubo::main {

/// Why a text is not a value of the type wanted: a sentence for the user, such as
/// `"abc" is not a whole number`.
class NUBO_KERNEL_EXPORT CastError : public std::runtime_error {
 public:
  explicit CastError(const QString& reason) : std::runtime_error(reason.toUtf8().constData()) {}
  ~CastError() override;
};

/// Converts between text and the values of one type.
class NUBO_KERNEL_EXPORT CastClass : public util::YObject {
 public:
  ~CastClass() override;
  /// A new value, owned by the caller. Throws CastError.
  virtual void* fromString(const QString& text) = 0;
  /// A new copy of a value, or null for types that cannot be copied.
  virtual void* copy(const void* value) = 0;
  /// A text that fromString turns into an equal value, where the type has such texts.
  virtual QString toString(const void* value) = 0;
  /// Deletes a value that this class made.
  virtual void deleteValue(void* value) = 0;
  /// True when values must be deleted through deleteValue.
  bool needsSpecialDeletion() const { return m_SpecialDeletion; }

 protected:
  explicit CastClass(bool specialDeletion = false) : m_SpecialDeletion(specialDeletion) {}

 private:
  bool m_SpecialDeletion;
};

/// Knows a cast class for every type that libraries registered. The kernel brings int, double, bool
/// and QImage (from and to a file name). Thread-safe.
class NUBO_KERNEL_EXPORT CastClassManager {
 public:
  using Factory = std::function<CastClass*()>;
  static CastClassManager* getInstance();
  /// A new cast class, owned by the caller, or null for a type that nobody registered.
  CastClass* createCastClassForType(const std::type_info* type) const;
  /// A later registration of the same type replaces the earlier one.
  void registerCastClass(const std::type_info& type, Factory factory);

 private:
  CastClassManager();
  ~CastClassManager() = delete;  // used until the very end of the process
  struct Private;
  Private* d;
};

}  // namespace nubo::main
