// The untyped side of a command's parameter.
#pragma once

#include <QString>
#include <QtDebug>
#include <functional>
#include <typeinfo>

#include "kernel/main/castclass.h"

namespace nubo::main {

class ParameterPanelFactory;

/// A named input of a command. Not guarded: used from one thread at a time.
class NUBO_KERNEL_EXPORT AbstractParameter {
 public:
  /// `unit` names the value's unit for dialogs (often empty); `required` parameters without a value or
  /// a default keep a command from running. The panel factory stays the caller's.
  AbstractParameter(const QString& name, const QString& description, const QString& unit, bool required,
                    ParameterPanelFactory* panelFactory);
  /// Leaves the value and the bound variable alone; clearValue() first where the value is owned.
  virtual ~AbstractParameter();
  AbstractParameter(const AbstractParameter&) = delete;
  AbstractParameter& operator=(const AbstractParameter&) = delete;

  /// What a number counts, so that user interfaces can offer sizes as people think of them.
  enum class Quantity { Plain, PixelsAcross, PixelsDown };

  /// Takes the value that the text stands for; false, with the old value in place, for a text of another type.
  virtual bool castString(const QString& text) = 0;
  /// A null text without a value.
  virtual QString toString() const = 0;
  /// Deletes the value if it is owned, and forgets it in any case.
  virtual void clearValue() = 0;
  /// Holds the other's very object from now on, if it is of the same type.
  virtual void takeValue(AbstractParameter* other) = 0;
  virtual bool hasValue() const = 0;
  virtual QString toDebugString() const = 0;
  /// The untyped way to getValue and setValue; the type is not checked.
  virtual void* getValuePointer() const = 0;
  virtual void setValuePointer(void* value) = 0;

  /// The value, not a copy; null without one, or with a critical message when T is another type.
  template <class T>
  T* getValue() const {
    if (typeid(T) != *mp_TypeInfo) {
      qCritical("Invalid type!");
      return nullptr;
    }
    return static_cast<T*>(getValuePointer());
  }
  /// Hands over that very object; with a critical message nothing changes when T is another type.
  template <class T>
  void setValue(T* value) {
    if (typeid(T) != *mp_TypeInfo) {
      qCritical("Invalid type! (%s <-> %s)", typeid(T).name(), mp_TypeInfo->name());
      return;
    }
    setValuePointer(value);
  }

  /// True: the value belongs to the caller and is never deleted here.
  void disableDeleteOnSet(bool disable) { m_DeleteOnSet = !disable; }
  void setParameterPanelFactory(ParameterPanelFactory* factory) { mp_PanelFactory = factory; }
  ParameterPanelFactory* getParameterPanelFactory() const { return mp_PanelFactory; }
  /// The text that dialogs and the command line start from.
  void setDefaultParameterForDefaultGUI(const QString& text) { m_Default = text; }
  const QString& getDefaultParameterForDefaultGUI() const { return m_Default; }
  /// What a dialog starts from in place of the default until its user has chosen otherwise; asked for when the dialog
  /// is made, and empty where there is nothing to suggest. Of a file's name it can be the suffix alone, ".mp4".
  void setSuggestion(const std::function<QString()>& suggestion) { m_Suggestion = suggestion; }
  QString getSuggestion() const { return m_Suggestion ? m_Suggestion() : QString(); }

  void setQuantity(Quantity quantity) { m_Quantity = quantity; }
  Quantity getQuantity() const { return m_Quantity; }
  bool countsPixels() const { return m_Quantity != Quantity::Plain; }
  /// How many of the pixels that the value counts stand on an inch of paper; 0: nobody has said. It goes with the value
  /// to whoever takes it over.
  void setDotsPerInch(double dotsPerInch) { m_DotsPerInch = dotsPerInch; }
  double getDotsPerInch() const { return m_DotsPerInch; }
  /// Whether the user gave the value, and did not just leave what was offered. It goes with the value, too.
  void setChosen(bool chosen) { m_Chosen = chosen; }
  bool isChosen() const { return m_Chosen; }

  const QString& getName() const { return m_Name; }
  const QString& getDescription() const { return m_Description; }
  const QString& getUnit() const { return m_Unit; }
  bool isRequired() const { return m_Required; }
  const std::type_info& getType() const { return *mp_TypeInfo; }
  const util::YPointer<CastClass>& getCastClass() const { return mp_CastClass; }
  /// Empty if castString would accept the text, else a sentence that says why not.
  QString explainRefusal(const QString& text) const;

 protected:
  util::YPointer<CastClass> mp_CastClass;
  const std::type_info* mp_TypeInfo = nullptr;
  bool m_DeleteOnSet = true;

 private:
  QString m_Name;
  QString m_Description;
  QString m_Unit;
  QString m_Default;
  std::function<QString()> m_Suggestion;
  bool m_Required;
  bool m_Chosen = false;
  Quantity m_Quantity = Quantity::Plain;
  double m_DotsPerInch = 0;
  ParameterPanelFactory* mp_PanelFactory;
};

}  // namespace nubo::main
