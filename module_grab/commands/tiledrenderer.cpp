#define NUBO_LOG_SOURCE "module_grab/commands/grabimage"
#include "module_grab/commands/tiledrenderer.h"

#include <QImage>
#include <QObject>
#include <QOpenGLFramebufferObject>
#include <memory>
#include <optional>

#include "kernel/log/logger.h"
#include "kernel/util/yprogressdialog.h"
#include "module_grab/cleardrawing.h"
#include "module_grab/commands/composetile.h"
#include "module_grab/commands/tiling.h"
#include "module_grab/offscreencontext.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"

namespace nubo::commands::grab {

namespace {

const char Function[] = "nubo::commands::grab::GrabImage::saveImage";

/// What the tiles of a picture have in common.
struct Picture {
  QImage* target;
  util::YPointer<scene::SceneElement> root;
  const math::Matrix4& transform;
  scene::SceneDrawer& drawer;
};

void setUpTile(scene::SceneDrawer& drawer, const Tile& tile, const Frustum& part) {
  nubo::grab::clearForDrawing(drawer, tile.width, tile.height);
  glFrustum(part.left, part.right, part.bottom, part.top, scene::SceneDrawer::ZNEAR, scene::SceneDrawer::ZFAR);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glEnable(GL_LIGHT0);
}

/// Neighbours of one size share a framebuffer.
void fitTo(std::unique_ptr<QOpenGLFramebufferObject>& framebuffer, QSize size) {
  if (framebuffer && framebuffer->size() == size) return;
  framebuffer.reset();
  framebuffer = std::make_unique<QOpenGLFramebufferObject>(size, QOpenGLFramebufferObject::CombinedDepthStencil,
                                                           GL_TEXTURE_2D, GL_RGBA8);
}

/// False if a tile has no framebuffer to be drawn into.
bool renderTiles(const Picture& picture, int edge, util::YProgressDialog& progress, const std::atomic<bool>& stop) {
  const int width = picture.target->width();
  const int height = picture.target->height();
  const TileGrid grid(width, height, edge);
  const Frustum whole = pictureFrustum(width, height, scene::SceneDrawer::ZNEAR);
  const auto outside = [target = picture.target](int x, int y) {
    NUBO_LOG(log::Failure, Function, "setPixel(%d, %d) oversizes target image dimensions (%d, %d)", x, y,
             target->width(), target->height());
  };
  std::unique_ptr<QOpenGLFramebufferObject> framebuffer;
  for (int i = 0; i < grid.count() && !stop; ++i) {
    progress.setValue(int(double(i) / grid.count() * 100.0));
    const Tile tile = grid.tile(i);
    fitTo(framebuffer, {tile.width, tile.height});
    if (!framebuffer->bind()) {
      NUBO_LOG(log::Failure, Function, "Couldn't bind framebuffer object!");
      return false;
    }
    setUpTile(picture.drawer, tile, tileFrustum(tile, whole, width, height));
    picture.drawer.glDraw(picture.root, nullptr, picture.transform, 0.0, 3, 7);
    glFlush();
    const QImage pixels = framebuffer->toImage();
    framebuffer->release();
    composeTile(picture.target, pixels, tile.x0, tile.targetRow, outside);
  }
  return true;
}

int largestTexture() {
  GLint size = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
  return size;
}

}  // namespace

void renderTiled(QImage* target, const math::Matrix4& transform, const std::atomic<bool>& stop) {
  const util::YPointer<scene::Scene> scene = gui::Viewer::getInstance()->getGlobalScene();
  const util::YPointer<scene::SceneElement> root = scene->getRootNode();
  if (!root) return;

  auto drawer = std::make_unique<scene::SceneDrawer>(scene);
  // Deleted after the lock is gone: the application thread does it, which may itself be waiting for the scene.
  std::optional<nubo::grab::OffscreenContext> context;
  const scene::SharedContext* shared = scene::_GlobalContext();
  if (shared && shared->glContext()) context.emplace(shared->glContext());
  if (!context || !context->isValid()) {
    NUBO_LOG(log::Failure, Function, "Could not create OpenGL context!");
    return;
  }
  if (!context->makeCurrent()) {
    NUBO_LOG(log::Failure, Function, "Current OpenGL context is invalid!");
    context->release();
    return;
  }
  const int edge = tileEdge(largestTexture());
  scene::SceneLocker lock(scene, scene::LOCKTYPE(7));
  util::YProgressDialog progress(QObject::tr("Building Picture"), false);
  const bool isComplete = renderTiles({target, root, transform, *drawer}, edge, progress, stop);
  if (isComplete) drawer.reset();
  context->release();
  if (isComplete) lock.unlock();
}

}  // namespace nubo::commands::grab
