#include "module_scene/gui/castclasses.h"

#include <QRegularExpression>
#include <cmath>

#include "kernel/main/castclass.h"
#include "module_scene/gui/viewer.h"

namespace nubo::gui {

namespace {

class MatrixCastClass : public main::CastClass {
 public:
  void* fromString(const QString& text) override {
    static const QRegularExpression Separators(QStringLiteral("[\\s,;]+"));
    const QStringList parts = text.split(Separators, Qt::SkipEmptyParts);
    auto matrix = std::make_unique<math::Matrix4>();
    bool isMatrix = parts.size() == 16;
    for (int i = 0; isMatrix && i < 16; ++i) {
      double& value = (*matrix)(i / 4, i % 4);
      value = parts[i].toDouble(&isMatrix);
      isMatrix = isMatrix && std::isfinite(value);
    }
    if (!isMatrix) throw main::CastError(QStringLiteral("\"%1\" is not a matrix of 16 numbers").arg(text));
    return matrix.release();
  }
  void* copy(const void* value) override { return new math::Matrix4(*static_cast<const math::Matrix4*>(value)); }
  QString toString(const void* value) override {
    const auto& matrix = *static_cast<const math::Matrix4*>(value);
    QStringList parts;
    for (int i = 0; i < 16; ++i) parts << QString::number(matrix(i / 4, i % 4), 'g', 17);
    return parts.join(QLatin1Char(' '));
  }
  void deleteValue(void* value) override { delete static_cast<math::Matrix4*>(value); }
};

/// Panels belong to their windows: a parameter that lets go of one leaves it alone.
class ScenePanelCastClass : public main::CastClass {
 public:
  ScenePanelCastClass() : CastClass(true) {}
  void* fromString(const QString& text) override {
    const Viewer* viewer = Viewer::getInstance();
    if (viewer && text.isEmpty() && viewer->getActivePanel()) return viewer->getActivePanel();
    if (viewer)
      for (ScenePanel* panel : viewer->getPanels())
        if (!text.isEmpty() && panel->objectName() == text) return panel;
    throw main::CastError(text.isEmpty() ? QStringLiteral("There is no active panel")
                                         : QStringLiteral("\"%1\" is not the name of a panel").arg(text));
  }
  void* copy(const void*) override { return nullptr; }
  QString toString(const void* value) override { return static_cast<const ScenePanel*>(value)->objectName(); }
  void deleteValue(void*) override {}
};

}  // namespace

void registerCastClasses() {
  main::CastClassManager* manager = main::CastClassManager::getInstance();
  manager->registerCastClass(typeid(math::Matrix4), [] { return new MatrixCastClass; });
  manager->registerCastClass(typeid(ScenePanel), [] { return new ScenePanelCastClass; });
}

}  // namespace nubo::gui
