#include "picture/tiledrawing.h"

#include <QImage>
#include <QObject>
#include <QOpenGLFramebufferObject>
#include <limits>
#include <memory>
#include <optional>

#include "kernel/util/yprogressdialog.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"
#include "picture/cleardrawing.h"
#include "picture/offscreencontext.h"

namespace nubo::picture {

namespace {

/// What the tiles of a picture have in common.
struct Picture {
  QSize size;
  util::YPointer<scene::SceneElement> root;
  const math::Matrix4& transform;
  scene::SceneDrawer& drawer;
};

void setUpTile(scene::SceneDrawer& drawer, const Tile& tile, const Frustum& part) {
  clearForDrawing(drawer, tile.width, tile.height);
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
bool renderTiles(const Picture& picture, const TileRange& range, int edge, util::YProgressDialog& progress,
                 TileReceiver& receiver) {
  const int width = picture.size.width(), height = picture.size.height();
  const TileGrid grid(width, height, edge);
  const Frustum whole = pictureFrustum(width, height, scene::SceneDrawer::ZNEAR);
  std::unique_ptr<QOpenGLFramebufferObject> framebuffer;
  const auto render = [&](const Tile& tile) {
    fitTo(framebuffer, {tile.width, tile.height});
    if (!framebuffer->bind()) return false;
    setUpTile(picture.drawer, tile, tileFrustum(tile, whole, width, height));
    picture.drawer.glDraw(picture.root, nullptr, picture.transform, 0.0, 3, 7);
    return true;
  };
  // The drawer learns from the first tile what the whole view shows.
  bool isBound = range.first == 0 || range.count == 0 || render(grid.tile(0));
  if (isBound && framebuffer) framebuffer->release();
  for (int i = 0; i < range.count && isBound && receiver.wantsMore(); ++i) {
    progress.setValue(int(double(i) / range.count * 100.0));
    const Tile tile = grid.tile(range.first + i);
    isBound = render(tile);
    if (!isBound) break;
    glFlush();
    const QImage pixels = framebuffer->toImage();
    framebuffer->release();
    receiver.take(tile, pixels);
  }
  if (!isBound) receiver.fail("Couldn't bind framebuffer object!");
  return isBound;
}

int largestTexture() {
  GLint size = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
  return size;
}

}  // namespace

TileReceiver::~TileReceiver() = default;

void drawTiles(QSize size, const math::Matrix4& transform, TileReceiver& receiver, const TileRows& rows) {
  const util::YPointer<scene::Scene> scene = gui::Viewer::getInstance()->getGlobalScene();
  const util::YPointer<scene::SceneElement> root = scene->getRootNode();
  if (!root) return;

  auto drawer = std::make_unique<scene::SceneDrawer>(scene);
  // Deleted after the lock is gone: the application thread does it, which may itself be waiting for the scene.
  std::optional<OffscreenContext> context;
  const scene::SharedContext* shared = scene::_GlobalContext();
  if (shared && shared->glContext()) context.emplace(shared->glContext());
  if (!context || !context->isValid()) {
    receiver.fail("Could not create OpenGL context!");
    return;
  }
  if (!context->makeCurrent()) {
    receiver.fail("Current OpenGL context is invalid!");
    context->release();
    return;
  }
  const int edge = tileEdge(largestTexture());
  if (edge != LargestTile && (rows.first > 0 || rows.last < std::numeric_limits<int>::max())) {
    receiver.fail("OpenGL has no textures as large as the tiles whose rows were asked for!");
    context->release();
    return;
  }
  scene::SceneLocker lock(scene, scene::LOCKTYPE(7));
  util::YProgressDialog progress(QObject::tr("Building Picture"), false);
  const TileRange range = TileGrid(size.width(), size.height(), edge).range(rows);
  const bool isComplete = renderTiles({size, root, transform, *drawer}, range, edge, progress, receiver);
  if (isComplete) drawer.reset();
  context->release();
  if (isComplete) lock.unlock();
}

}  // namespace nubo::picture
