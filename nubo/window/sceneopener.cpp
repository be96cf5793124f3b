#include "nubo/window/sceneopener.h"

#include <QFileDialog>
#include <QFileInfo>

#include "kernel/log/logger.h"
#include "module_trajectory/trajectory.h"
#include "nubo/cli/namedcamera.h"
#include "nubo/cli/scenefile.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/commands/runningcommands.h"
#include "nubo/window/menus/recentfiles.h"
#include "nubo/window/menus/savedviews.h"
#include "nubo/window/messagebar.h"
#include "nubo/window/panels/panelarea.h"
#include "nubo/window/scene/sceneloader.h"
#include "nubo/window/scene/scenetree.h"
#include "nubo/window/scene/sectionbar.h"
#include "nubo/window/scene/trajectorybar.h"

namespace nubo::window {

namespace {

QString namesOf(const QStringList& files) {
  QStringList names;
  for (const QString& file : files)
    names << (file == app::BuiltinScene ? SceneOpener::tr("Built-in scene") : QFileInfo(file).fileName());
  return names.join(QStringLiteral(", "));
}

}  // namespace

SceneOpener::SceneOpener(const Parts& parts, QWidget* window)
    : QObject(window), m_Parts(parts), mp_Window(window), mp_Loader(new SceneLoader(this)) {
  connect(mp_Loader, &SceneLoader::started, this, &SceneOpener::showReading);
  connect(mp_Loader, &SceneLoader::finished, this, &SceneOpener::sceneRead);
  connect(mp_Loader, &SceneLoader::cancelled, this, [this] { m_Parts.running.end(mp_Loader); });
  connect(mp_Loader, &SceneLoader::progressed, this,
          [this](int percent) { m_Parts.running.update(mp_Loader, percent); });
  connect(&parts.trajectory, &TrajectoryBar::failed, this, &SceneOpener::showTrajectoryFailure);
  connect(&parts.trajectory, &TrajectoryBar::sceneChanged, this, [this] { dismiss(m_TrajectoryFailure); });
}

void SceneOpener::openFirst(const app::CommandLine& line) {
  m_Line = line;
  mp_Loader->setSettings(app::readingSettings(line));
  open(line.scenes);
}

void SceneOpener::open(const QStringList& files) {
  if (!files.isEmpty()) mp_Loader->load(files);
}

bool SceneOpener::isLoading() const { return mp_Loader->isLoading(); }

void SceneOpener::chooseFiles() {
  QStringList patterns;
  for (const QString& suffix : io::importableSuffixes()) patterns << QStringLiteral("*.") + suffix;
  QFileDialog dialog(mp_Window, tr("Open Models"));
  dialog.setFileMode(QFileDialog::ExistingFiles);
  dialog.setDirectory(m_Parts.recent.latestDirectory());
  dialog.setOption(QFileDialog::HideNameFilterDetails);
  dialog.setNameFilters({tr("Models (%1)").arg(patterns.join(QLatin1Char(' '))), tr("All Files (*)")});
  if (dialog.exec() == QDialog::Accepted) open(dialog.selectedFiles());
}

void SceneOpener::showReading(const QStringList& files) {
  dismiss(m_ReadFailure);  // what was wrong with other files says nothing about these
  m_Parts.running.end(mp_Loader);
  m_Parts.running.begin(mp_Loader, tr("Reading %1").arg(namesOf(files)), [this] { mp_Loader->cancel(); });
}

void SceneOpener::showTrajectoryFailure(const QString& text) {
  m_TrajectoryFailure = text;
  m_Parts.messages.showFailure(text);
}

/// If the message still stands there.
void SceneOpener::dismiss(QString& message) {
  if (!message.isEmpty() && m_Parts.messages.text() == std::exchange(message, {})) m_Parts.messages.dismiss();
}

void SceneOpener::sceneRead(const QStringList& files, const QStringList& failed, const io::ImportResult& result) {
  m_Parts.running.end(mp_Loader);
  for (const QString& file : failed) m_Parts.recent.remove(file);
  if (!result.root) {
    m_ReadFailure = result.error.simplified();
    NUBO_LOG(log::Failure, "nubo::window::SceneOpener::sceneRead", result.error);
    return;
  }
  const QString notice = tr("%1 is read, and will be shown when no command runs any more.").arg(namesOf(files));
  if (!m_Parts.runner.isIdle()) m_Parts.messages.showNotice(notice);
  // Of several that wait only the last is shown: to show each for a moment would keep the window from answering.
  m_Parts.runner.whenIdle([this, files, result, notice, number = ++m_Read] {
    if (m_Parts.messages.text() == notice) m_Parts.messages.dismiss();
    if (number == m_Read) install(files, result);
  });
}

/// Nothing runs, so that nobody uses the old scene or its trajectory.
void SceneOpener::install(const QStringList& files, const io::ImportResult& result) {
  m_Parts.messages.dismissNotice();
  m_Parts.trajectory.clear();
  m_Parts.panels.setSelection(nullptr);
  m_Parts.section.setScene({}, false);
  scene::_GlobalScene()->setRootNode(result.root);
  const app::CommandLine line = std::exchange(m_Line, {});
  QStringList failures = {m_Parts.trajectory.setScene(result.animations, line),
                          app::whyNoVariant(line.variant, result.variants)};
  m_Thinner.thin(*result.root);
  m_Parts.tree.rebuild();
  m_Parts.views.setScene(files, result.cameras);
  for (ViewPanel* panel : m_Parts.panels.panels()) panel->showAll();
  m_Parts.section.setScene(line.section, result.inMetres);  // the first view is of the whole, as without a window
  if (const auto camera = trajectory::SelectedTrajectory().camera()) m_Parts.panels.activePanel()->setCamera(*camera);
  if (const auto name = app::cameraName(line.view)) {
    failures << QString();
    const auto camera = app::namedCamera(result.cameras, *name, failures.last());
    if (camera) m_Parts.panels.activePanel()->setCamera(*camera);
  }
  mp_Window->setWindowTitle(QStringLiteral("%1 – nubo").arg(namesOf(files)));
  for (const QString& file : files)
    if (file != app::BuiltinScene) m_Parts.recent.add(file);
  failures.removeAll(QString());
  emit opened();
  tellWarnings(failures + result.warnings);
}

void SceneOpener::tellWarnings(const QStringList& warnings) {
  for (const QString& warning : warnings) NUBO_LOG(log::Note, "nubo::window::SceneOpener::install", warning);
  if (!warnings.isEmpty())
    m_Parts.messages.showNotice(warnings.size() == 1
                                    ? warnings.first()
                                    : tr("%1 (and %n more)", "", warnings.size() - 1).arg(warnings.first()));
}

}  // namespace nubo::window
