#include "kernel/main/informationobject.h"

namespace nubo::main {

InformationObject::InformationObject(const QString& description, const QString& name, const QIcon& icon,
                                     const QUrl& homepage, const QUrl& support)
    : m_Description(description), m_Name(name), m_Icon(icon), m_Homepage(homepage), m_Support(support) {}

}  // namespace nubo::main
