#include "kernel/main/abstractparameter.h"

#include <QCoreApplication>
#include <exception>

namespace nubo::main {

AbstractParameter::AbstractParameter(const QString& name, const QString& description, const QString& unit,
                                     bool required, ParameterPanelFactory* panelFactory)
    : m_Name(name), m_Description(description), m_Unit(unit), m_Required(required), mp_PanelFactory(panelFactory) {}

AbstractParameter::~AbstractParameter() = default;

QString AbstractParameter::explainRefusal(const QString& text) const {
  if (*mp_TypeInfo == typeid(QString)) return QString();
  if (!mp_CastClass) return QCoreApplication::translate("AbstractParameter", "it cannot be given as text");
  try {
    mp_CastClass->deleteValue(mp_CastClass->fromString(text));
    return QString();
  } catch (const std::exception& exception) {
    return QString::fromUtf8(exception.what());
  } catch (...) {
    return QCoreApplication::translate("AbstractParameter", "\"%1\" does not fit").arg(text);
  }
}

}  // namespace nubo::main
