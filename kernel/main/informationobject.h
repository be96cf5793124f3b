// What a module tells about itself and what it is built on.
#pragma once

#include <QIcon>
#include <QList>
#include <QString>
#include <QUrl>

#include "kernel/visibility.h"

namespace nubo::main {

/// Names a library that a module or plug-in uses.
struct ThirdPartyInfos {
  QString name;
  QString version;
  QString licence;
  QString url;
};

/// What the About box and `nubo --version` say of a module, which is also found by this name. Made by the module's
/// factory, deleted by the module manager after the module.
class NUBO_KERNEL_EXPORT InformationObject {
 public:
  InformationObject(const QString& description, const QString& name, const QIcon& icon, const QUrl& homepage,
                    const QUrl& support);
  const QString& getDescription() const { return m_Description; }
  const QString& getName() const { return m_Name; }
  const QIcon& getIcon() const { return m_Icon; }
  const QUrl& getHomepage() const { return m_Homepage; }
  const QUrl& getSupport() const { return m_Support; }
  /// Edited in place by modules; application thread.
  QList<ThirdPartyInfos>* getAdditionalInformations() { return &m_AdditionalInformations; }

 private:
  QString m_Description;
  QString m_Name;
  QIcon m_Icon;
  QUrl m_Homepage;
  QUrl m_Support;
  QList<ThirdPartyInfos> m_AdditionalInformations;
};

}  // namespace nubo::main
