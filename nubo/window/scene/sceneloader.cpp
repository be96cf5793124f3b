#include "nubo/window/scene/sceneloader.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QOffscreenSurface>
#include <QOpenGLContext>

#include "module_scene/draw/scenedrawer.h"
#include "module_scene/draw/sharedcontext.h"
#include "module_scene/io/sidebyside.h"
#include "module_scene/mesh/coarsening.h"
#include "module_scene/mesh/parallel.h"
#include "nubo/cli/scenefile.h"

namespace nubo::window {

namespace {

/// Without its last dot and all behind it this is a name for what is made of them, as one file's is.
QString nameOf(const QStringList& files) {
  const QString first = QFileInfo(files.first()).fileName();
  return files.size() == 1 ? first : SceneLoader::tr("%1 and %n more", "", int(files.size()) - 1).arg(first);
}

/// Files that cannot be read are moved from `files` to `failed`.
io::ImportResult readAll(QStringList& files, QStringList& failed, io::ImportControl& control) {
  if (files.size() == 1) {
    io::ImportResult one = app::readScene(files.first(), control);
    if (!one.root) std::swap(files, failed);
    return one;
  }
  io::ImportResult all;
  QStringList errors;
  const std::vector<io::ImportResult> results = io::readSideBySide(files, control, io::Others::AreRead, app::readScene);
  QStringList read;
  for (int i = 0; i < files.size(); ++i) {
    const io::ImportResult& one = results[std::size_t(i)];
    if (one.root) {
      if (!all.root) all.root = new scene::SceneElement;
      all.add(one);
      read << files[i];
    } else {
      errors << one.error;
      failed << files[i];
    }
  }
  files = read;
  if (all.root) {
    all.root->setName(nameOf(read));
    all.warnings = errors + all.warnings;
  } else {
    all.error = errors.join(QStringLiteral("; "));
  }
  return all;
}

}  // namespace

/// An OpenGL context for the reading thread. Made and destroyed on the application thread.
class SceneLoader::Uploader {
 public:
  Uploader() {
    const scene::SharedContext* shared = scene::_GlobalContext();
    if (!shared || !shared->glContext()) return;
    m_Context.setShareContext(shared->glContext());
    m_Context.setFormat(shared->glContext()->format());
    m_Surface.setFormat(m_Context.format());
    m_Surface.create();
    m_Context.create();
  }

  /// Before the thread starts.
  void giveTo(QThread* thread) { m_Context.moveToThread(thread); }

  /// On the thread that it was given to, which then has it no more.
  void upload(const scene::SceneElement* root) {
    if (root && m_Context.isValid() && m_Context.makeCurrent(&m_Surface)) {
      scene::SceneDrawer::upload(*root);
      m_Context.doneCurrent();
    }
    m_Context.moveToThread(QCoreApplication::instance()->thread());
  }

 private:
  QOpenGLContext m_Context;
  QOffscreenSurface m_Surface;
};

SceneLoader::SceneLoader(QObject* parent) : QObject(parent) {
  constexpr int Often = 200;  // milliseconds
  m_Glance.setInterval(Often);
  connect(&m_Glance, &QTimer::timeout, this, [this] { emit progressed(m_Control->percent); });
}

SceneLoader::~SceneLoader() {
  if (!m_Thread) return;
  m_Control->cancelled = true;
  m_Thread->wait();
}

void SceneLoader::load(const QStringList& files) {
  m_Next = files;
  if (isLoading())
    m_Control->cancelled = true;
  else
    startNext();
}

void SceneLoader::cancel() {
  m_Next.clear();
  if (isLoading()) m_Control->cancelled = true;
}

void SceneLoader::startNext() {
  const QStringList files = std::exchange(m_Next, {});
  if (files.isEmpty()) return;
  m_Control = std::make_unique<io::ImportControl>(m_Settings);
  m_Glance.start();
  emit started(files);
  if (!m_Uploader) m_Uploader = std::make_unique<Uploader>();
  m_Thread.reset(QThread::create([this, files = QStringList(files)]() mutable {
    scene::letOthersGoFirst();
    QStringList failed;
    const auto result = std::make_shared<io::ImportResult>(readAll(files, failed, *m_Control));
    if (result->root)
      makeCoarseVersions(scene::worthCoarsening(*result->root), scene::Coarsening::Quick, m_Control->cancelled);
    m_Uploader->upload(result->root.get());
    QMetaObject::invokeMethod(
        this, [this, files, failed, result] { end(files, failed, result); }, Qt::QueuedConnection);
  }));
  m_Uploader->giveTo(m_Thread.get());
  m_Thread->start();
}

void SceneLoader::end(const QStringList& files, const QStringList& failed,
                      const std::shared_ptr<io::ImportResult>& result) {
  m_Thread->wait();
  m_Thread.reset();
  m_Glance.stop();
  const bool outdated = !m_Next.isEmpty();
  if (!outdated && m_Control->cancelled)
    emit cancelled();
  else if (!outdated)
    emit finished(files, failed, *result);
  startNext();
}

}  // namespace nubo::window
