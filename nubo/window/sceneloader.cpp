#include "nubo/window/sceneloader.h"

#include "module_scene/scene/builtinanimation.h"
#include "module_scene/scene/builtinscene.h"
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

io::ImportResult readAll(const QStringList& files) {
  if (files.size() == 1) return readOne(files.first());
  io::ImportResult all;
  QStringList errors;
  for (const QString& file : files) {
    io::ImportResult one = readOne(file);
    if (one.root) {
      if (!all.root) all.root = new scene::SceneElement(SceneLoader::tr("Scene"));
      all.root->addChild(one.root);
    } else {
      errors << one.error;
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
  m_Thread = std::thread([this, files] {
    const auto result = std::make_shared<io::ImportResult>(readAll(files));
    QMetaObject::invokeMethod(
        this, [this, files, result] { end(files, result); }, Qt::QueuedConnection);
  });
}

void SceneLoader::end(const QStringList& files, const std::shared_ptr<io::ImportResult>& result) {
  m_Thread.join();
  const bool outdated = !m_Next.isEmpty();
  if (!outdated) emit finished(files, *result);
  startNext();
}

}  // namespace nubo::window
