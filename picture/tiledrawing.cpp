#include "picture/tiledrawing.h"

#include <QImage>
#include <QObject>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

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

/// Has the lowest row be the first one.
void turnOver(QImage& image) {
  const std::ptrdiff_t bytes = image.bytesPerLine();
  uchar* const rows = image.bits();
  for (int low = 0, high = image.height() - 1; low < high; ++low, --high)
    std::swap_ranges(rows + low * bytes, rows + (low + 1) * bytes, rows + high * bytes);
}

/// Where tiles are drawn to: a framebuffer with two pages of colours, which neighbours of one size share. While one
/// page is drawn the other is read back, which would otherwise have to wait until its own tile is drawn to the end.
class TileBuffer {
 public:
  explicit TileBuffer(TileReceiver& receiver) : m_Receiver(receiver) {}

  /// Binds the framebuffer for the next tile; false if it has none.
  bool begin(const Tile& tile) {
    const QSize size(tile.width, tile.height);
    if (!m_Framebuffer || m_Framebuffer->size() != size) {
      finish();
      create(size);
    }
    m_Page = (m_Page + 1) % m_Framebuffer->sizes().size();
    if (!m_Framebuffer->bind()) return false;
    glDrawBuffer(GLenum(GL_COLOR_ATTACHMENT0 + m_Page));
    return true;
  }
  /// The tile is drawn, as far as that is up to the caller; an empty one has nothing but the background.
  void end(const Tile& tile, bool isEmpty) {
    // Large pictures have many that need neither be filled nor be read, since they are all the same.
    if (isEmpty && m_Empty.size() == m_Framebuffer->size()) {
      finish();
      m_Framebuffer->release();
      return m_Receiver.take(tile, m_Empty);
    }
    glFlush();
    const std::optional<Drawn> before = std::exchange(m_Drawn, Drawn{tile, m_Page, isEmpty});
    if (before) read(*before);
    if (m_Framebuffer->sizes().size() == 1) finish();
  }
  /// Reads the last one.
  void finish() {
    if (m_Drawn) read(*m_Drawn);
    m_Drawn.reset();
  }

 private:
  struct Drawn {
    Tile tile;
    int page;
    bool isEmpty;
  };

  void create(QSize size) {
    m_Framebuffer.reset();
    m_Framebuffer = std::make_unique<QOpenGLFramebufferObject>(size, QOpenGLFramebufferObject::CombinedDepthStencil,
                                                               GL_TEXTURE_2D, GL_RGBA8);
    const auto* functions = QOpenGLContext::currentContext()->functions();
    if (functions->hasOpenGLFeature(QOpenGLFunctions::MultipleRenderTargets))
      m_Framebuffer->addColorAttachment(size, GL_RGBA8);
  }

  void read(const Drawn& drawn) {
    const QSize size(drawn.tile.width, drawn.tile.height);
    if (m_Pixels.size() != size) m_Pixels = QImage(size, QImage::Format_ARGB32_Premultiplied);
    m_Framebuffer->bind();
    glReadBuffer(GLenum(GL_COLOR_ATTACHMENT0 + drawn.page));
    glReadPixels(0, 0, size.width(), size.height(), GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, m_Pixels.bits());
    m_Framebuffer->release();
    turnOver(m_Pixels);
    if (drawn.isEmpty) m_Empty = m_Pixels;
    m_Receiver.take(drawn.tile, m_Pixels);
  }

  TileReceiver& m_Receiver;
  std::unique_ptr<QOpenGLFramebufferObject> m_Framebuffer;
  int m_Page = 0;
  std::optional<Drawn> m_Drawn;  // and not read yet
  QImage m_Pixels;               // of the last one that was read, whose memory the next one takes
  QImage m_Empty;                // the last empty one that was read
};

/// False if a tile has no framebuffer to be drawn into.
bool renderTiles(const Picture& picture, const TileRange& range, int edge, util::YProgressDialog& progress,
                 TileReceiver& receiver) {
  const int width = picture.size.width(), height = picture.size.height();
  const TileGrid grid(width, height, edge);
  const Frustum whole = pictureFrustum(width, height, scene::SceneDrawer::ZNEAR);
  TileBuffer buffer(receiver);
  const auto render = [&](const Tile& tile) {
    if (!buffer.begin(tile)) return false;
    setUpTile(picture.drawer, tile, tileFrustum(tile, whole, width, height));
    picture.drawer.glDraw(picture.root, nullptr, picture.transform, 0.0, 3, 7);
    return true;
  };
  // The drawer learns from the first tile what the whole view shows.
  bool isBound = range.first == 0 || range.count == 0 || render(grid.tile(0));
  for (int i = 0; i < range.count && isBound && receiver.wantsMore(); ++i) {
    progress.setValue(int(double(i) / range.count * 100.0));
    const Tile tile = grid.tile(range.first + i);
    isBound = render(tile);
    if (isBound) buffer.end(tile, picture.drawer.isEmpty());
  }
  buffer.finish();
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
