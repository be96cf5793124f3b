// Makes the platform `headless` known to Qt.
#include <qpa/qplatformintegrationplugin.h>

#include <QtGui/private/qguiapplication_p.h>
#include <qpa/qplatformintegrationfactory_p.h>

#include "plugins/platforms/headless/integration.h"

class HeadlessPlugin : public QPlatformIntegrationPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QPlatformIntegrationFactoryInterface_iid FILE "headless.json")

 public:
  QPlatformIntegration* create(const QString&, const QStringList& parameters, int& argc, char** argv) override {
    std::unique_ptr<QPlatformIntegration> offscreen(
        QPlatformIntegrationFactory::create(QStringLiteral("offscreen"), parameters, argc, argv));
    if (!offscreen) {
      qWarning("the platform headless needs Qt's platform offscreen, whose plug-in is missing");
      return nullptr;
    }
    return new nubo::headless::Integration(std::move(offscreen));
  }
};

#include "plugin.moc"
