#include "nubo/window/menus/savedviews.h"

#include <QFileInfo>
#include <QInputDialog>
#include <QSettings>
#include <QUrl>
#include <cmath>

#include "kernel/main/overseer.h"
#include "nubo/cli/commandline.h"
#include "nubo/cli/namedcamera.h"
#include "nubo/window/look/mnemonics.h"
#include "nubo/window/panels/panelarea.h"

namespace nubo::window {

namespace {

/// Names and paths may hold what divides groups of settings.
QString keyPart(const QString& text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); }

QStringList toTexts(const gui::Camera& camera) {
  QStringList texts;
  for (const double value : {camera.azimuth, camera.elevation, camera.distance, camera.scale, camera.center[0],
                             camera.center[1], camera.center[2], camera.roll, camera.lens})
    texts << QString::number(value, 'g', 17);
  return texts;
}

/// Nothing for texts that are no view: settings may hold anything.
std::optional<gui::Camera> toCamera(const QStringList& texts) {
  gui::Camera camera;
  double* const values[] = {&camera.azimuth,   &camera.elevation, &camera.distance, &camera.scale, &camera.center[0],
                            &camera.center[1], &camera.center[2], &camera.roll,     &camera.lens};
  constexpr int Fewest = 7;  // of views from before there were rolls and lenses
  if (texts.size() != int(std::size(values)) && texts.size() != Fewest) return std::nullopt;
  for (int i = 0; i < texts.size(); ++i) {
    bool isNumber = false;
    *values[i] = texts[i].toDouble(&isNumber);
    if (!isNumber || !std::isfinite(*values[i])) return std::nullopt;
  }
  if (!(camera.scale > 0 && camera.distance > 0 && camera.lens > 0)) return std::nullopt;
  return camera;
}

}  // namespace

SavedViews::SavedViews(PanelArea& panels, QWidget* parent)
    : QMenu(tr("Sa&ved Views"), parent), m_Panels(panels), mp_Delete(new QMenu(tr("&Delete"), this)) {
  setObjectName(QStringLiteral("savedViews"));
  fill();
}

void SavedViews::setScene(const QStringList& files, const std::vector<scene::FileCamera>& cameras) {
  m_Cameras = cameras;
  QStringList paths;
  for (const QString& file : files) paths << (file == app::BuiltinScene ? file : QFileInfo(file).absoluteFilePath());
  m_Scene = paths.join(QLatin1Char('\n'));
  fill();
}

QString SavedViews::settingsKey() const { return QStringLiteral("window/views/") + keyPart(m_Scene); }

std::optional<gui::Camera> SavedViews::load(const QString& name) const {
  return toCamera(main::nuboSettings()->value(settingsKey() + QLatin1Char('/') + keyPart(name)).toStringList());
}

QStringList SavedViews::names() const {
  QSettings* settings = main::nuboSettings();
  settings->beginGroup(settingsKey());
  const QStringList keys = settings->childKeys();
  settings->endGroup();
  QStringList names;
  for (const QString& key : keys)
    if (const QString name = QUrl::fromPercentEncoding(key.toLatin1()); load(name)) names << name;
  return names;
}

void SavedViews::fill() {
  clear();
  mp_Delete->clear();
  addAction(tr("&Save View…"), this, &SavedViews::askAndSave, QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_S));
  addMenu(mp_Delete);
  addSeparator();
  for (const QString& name : names()) {
    const QString label = QString(name).replace(QLatin1Char('&'), QLatin1String("&&"));
    addAction(label, this, [this, name] { recall(name); });
    mp_Delete->addAction(label, this, [this, name] { remove(name); });
  }
  addSeparator();
  for (const scene::FileCamera& camera : m_Cameras)
    addAction(tr("Camera “%1”").arg(QString(camera.name).replace(QLatin1Char('&'), QLatin1String("&&"))), this,
              [this, name = camera.name] { lookThrough(name); });
  mp_Delete->setEnabled(!mp_Delete->isEmpty());
  setEnabled(!m_Scene.isEmpty());
  addMnemonics(actions());
  addMnemonics(mp_Delete->actions());
}

/// The action that asks for it is among those that are replaced.
void SavedViews::fillLater() { QMetaObject::invokeMethod(this, &SavedViews::fill, Qt::QueuedConnection); }

void SavedViews::askAndSave() {
  const gui::Camera camera = m_Panels.activePanel()->getCamera();
  QInputDialog dialog(window());
  dialog.setObjectName(QStringLiteral("saveView"));
  dialog.setWindowTitle(tr("Save View"));
  dialog.setLabelText(tr("Name of the view (one of the same name is replaced):"));
  dialog.setTextValue(tr("View %1").arg(mp_Delete->actions().size() + 1));
  if (dialog.exec() != QDialog::Accepted) return;
  const QString name = dialog.textValue().simplified();
  if (name.isEmpty()) return;
  main::nuboSettings()->setValue(settingsKey() + QLatin1Char('/') + keyPart(name), toTexts(camera));
  fillLater();
}

void SavedViews::recall(const QString& name) {
  auto camera = load(name);
  if (!camera) return;
  camera->orthographic = m_Panels.activePanel()->getCamera().orthographic;  // views are directions and places
  m_Panels.activePanel()->setCamera(*camera);
}

void SavedViews::lookThrough(const QString& camera) {
  QString unknown;
  if (const auto view = app::namedCamera(m_Cameras, camera, unknown)) m_Panels.activePanel()->setCamera(*view);
}

void SavedViews::remove(const QString& name) {
  main::nuboSettings()->remove(settingsKey() + QLatin1Char('/') + keyPart(name));
  fillLater();
}

}  // namespace nubo::window
