#include "nubo/window/sceneloader.h"

#include "module_scene/scene/builtinanimation.h"
#include "module_scene/scene/builtinscene.h"
#include "module_scene/scene/coarsening.h"
#include "nubo/commandline.h"

namespace nubo::window {

namespace {

io::ImportResult readOne(const QString& file) {
  if (!SceneLoader::isBuiltin(file)) return io::importFile(file);
  io::ImportResult result;
  result.root = scene::createBuiltinScene();
  result.animations = {scene::createBuiltinAnimation(*result.root)};
  return result;
}

/// Files that cannot be read are moved from `files` to `failed`.
io::ImportResult readAll(QStringList& files, QStringList& failed) {
  if (files.size() == 1) {
    io::ImportResult one = readOne(files.first());
    if (!one.root) std::swap(files, failed);
    return one;
  }
  io::ImportResult all;
  QStringList errors;
  for (const QString& file : QStringList(files)) {
    io::ImportResult one = readOne(file);
    if (one.root) {
      if (!all.root) all.root = new scene::SceneElement(SceneLoader::tr("Scene"));
      all.root->addChild(one.root);
    } else {
      errors << one.error;
      files.removeOne(file);
      failed << file;
    }
    all.animations.insert(all.animations.end(), one.animations.begin(), one.animations.end());
    all.warnings << one.warnings;
  }
  if (all.root)
    all.warnings = errors + all.warnings;
  else
    all.error = errors.join(QStringLiteral("; "));
  return all;
}

}  // namespace

SceneLoader::SceneLoader(QObject* parent) : QObject(parent) {}

SceneLoader::~SceneLoader() {
  if (m_Thread.joinable()) m_Thread.join();
}

bool SceneLoader::isBuiltin(const QString& file) { return file == app::BuiltinScene; }

void SceneLoader::load(const QStringList& files) {
  m_Next = files;
  if (!isLoading()) startNext();
}

void SceneLoader::startNext() {
  const QStringList files = std::exchange(m_Next, {});
  if (files.isEmpty()) return;
  emit started(files);
  m_Thread = std::thread([this, files = QStringList(files)]() mutable {
    QStringList failed;
    const auto result = std::make_shared<io::ImportResult>(readAll(files, failed));
    if (result->root) scene::makeCoarseVersions(*result->root);
    QMetaObject::invokeMethod(
        this, [this, files, failed, result] { end(files, failed, result); }, Qt::QueuedConnection);
  });
}

void SceneLoader::end(const QStringList& files, const QStringList& failed,
                      const std::shared_ptr<io::ImportResult>& result) {
  m_Thread.join();
  const bool outdated = !m_Next.isEmpty();
  if (!outdated) emit finished(files, failed, *result);
  startNext();
}

}  // namespace nubo::window
