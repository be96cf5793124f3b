#include "picture/offscreencontext.h"

#include <QCoreApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QThread>

#include "kernel/util/delegate.h"

namespace nubo::picture {

namespace {
void onApplicationThread(std::function<void()> work) {
  util::WorkerDelegate::invokeSync(new util::FunctionDelegate(std::move(work)));
}
}  // namespace

OffscreenContext::OffscreenContext(QOpenGLContext* share) {
  QThread* const user = QThread::currentThread();
  onApplicationThread([this, share, user] {
    auto context = std::make_unique<QOpenGLContext>();
    if (share) context->setShareContext(share);
    if (!context->create()) return;
    context->moveToThread(user);
    auto surface = std::make_unique<QOffscreenSurface>();
    surface->setFormat(share ? share->format() : QSurfaceFormat());
    surface->create();
    surface->moveToThread(user);
    mp_Context = std::move(context);
    mp_Surface = std::move(surface);
  });
}

OffscreenContext::~OffscreenContext() {
  if (!mp_Context) return;
  doneCurrent();
  QThread* const application = QCoreApplication::instance()->thread();
  mp_Context->moveToThread(application);
  mp_Surface->moveToThread(application);
  onApplicationThread([this] {
    mp_Surface->destroy();
    mp_Surface.reset();
    mp_Context.reset();
  });
}

bool OffscreenContext::makeCurrent() { return mp_Context->makeCurrent(mp_Surface.get()); }

void OffscreenContext::release() {
  doneCurrent();
  mp_Surface->destroy();
}

void OffscreenContext::doneCurrent() {
  if (QOpenGLContext::currentContext() == mp_Context.get()) mp_Context->doneCurrent();
}

}  // namespace nubo::picture
