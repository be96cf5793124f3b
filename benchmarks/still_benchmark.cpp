// Where the time of a big picture goes, and what its tiles cost against one pass of the same size. Prints seconds as
// one line of JSON.
#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <cstdio>

#include "kernel/main/overseer.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"
#include "module_scene/io/importer.h"
#include "picture/composetile.h"
#include "picture/tiling.h"

namespace {

using namespace nubo;
using picture::TileGrid;

/// Adds up seconds by the names of the parts that end.
class Clock {
 public:
  Clock() { m_Timer.start(); }
  void end(const char* part) {
    m_Parts[QLatin1String(part)] = m_Parts[QLatin1String(part)].toDouble() + double(m_Timer.nsecsElapsed()) * 1e-9;
    m_Timer.restart();
  }
  void restart() { m_Timer.restart(); }
  const QJsonObject& parts() const { return m_Parts; }

 private:
  QElapsedTimer m_Timer;
  QJsonObject m_Parts;
};

/// Draws the global scene as the command for pictures does.
class Picture {
 public:
  Picture(int width, int height, int samples) : m_Width(width), m_Height(height), m_Drawer(scene::_GlobalScene()) {
    m_Panel.resize(1280, 720);
    m_Panel.fit();
    m_Drawer.setSamples(samples);
    m_Drawer.setLook(scene::Look::Plain);
  }

  void draw(const picture::Tile& tile) {
    if (!m_Target || m_Target->size() != QSize(tile.width, tile.height)) {
      m_Target.reset();
      m_Target = std::make_unique<QOpenGLFramebufferObject>(
          QSize(tile.width, tile.height), QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D, GL_RGBA8);
    }
    if (!m_Target->bind()) qFatal("Couldn't bind the framebuffer object");
    const auto frustum = picture::pictureFrustum(m_Width, m_Height, scene::SceneDrawer::ZNEAR);
    const auto part = picture::tileFrustum(tile, frustum, m_Width, m_Height);
    m_Drawer.resize(tile.width, tile.height);
    glClearColor(1, 1, 1, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(part.left, part.right, part.bottom, part.top, scene::SceneDrawer::ZNEAR, scene::SceneDrawer::ZFAR);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    m_Drawer.glDraw(scene::_GlobalScene()->getRootNode(), nullptr, m_Panel.getScaledTransformMatrix(), 0.0, 3, 7);
    glFinish();
  }

  void drawAll(int edge) {
    const TileGrid grid(m_Width, m_Height, edge);
    for (int i = 0; i < grid.count(); ++i) draw(grid.tile(i));
  }

  QImage compose(int edge, Clock& clock) {
    QImage image(m_Width, m_Height, QImage::Format_ARGB32);
    const TileGrid grid(m_Width, m_Height, edge);
    for (int i = 0; i < grid.count(); ++i) {
      const auto tile = grid.tile(i);
      draw(tile);
      clock.end("draw");
      picture::composeTile(&image, m_Target->toImage(), tile.x0, tile.targetRow, [](int, int) {});
      clock.end("read back, compose");
    }
    return image;
  }

 private:
  int m_Width, m_Height;
  gui::ScenePanel m_Panel;
  scene::SceneDrawer m_Drawer;
  std::unique_ptr<QOpenGLFramebufferObject> m_Target;
};

void measureParts(Picture& picture, const QString& output, Clock& clock) {
  clock.restart();
  const QImage image = picture.compose(512, clock);
  if (!image.save(output)) qFatal("Couldn't save the picture");
  clock.end("write");
}

void compareWithOnePass(Picture& picture, int width, int height, Clock& clock) {
  picture.drawAll(512);  // gives OpenGL its copies
  for (int round = 0; round < 3; ++round) {
    clock.restart();
    picture.drawAll(512);
    clock.end("tiles of 512");
    picture.drawAll(std::max(width, height));
    clock.end("one pass");
  }
  picture.drawAll(64);
  clock.end("tiles of 64");
}

int run(const QCommandLineParser& options) {
  const main::Overseer overseer((QString()));
  gui::Viewer viewer;
  Clock clock;
  const io::ImportResult result = io::importFile(options.positionalArguments().value(0));
  if (!result.root) qFatal("%s", qPrintable(result.error));
  clock.end("load");
  viewer.getGlobalScene()->setRootNode(result.root);

  QOffscreenSurface surface;
  surface.setFormat(scene::_GlobalContext()->glContext()->format());
  surface.create();
  QOpenGLContext context;
  context.setShareContext(scene::_GlobalContext()->glContext());
  if (!context.create() || !context.makeCurrent(&surface)) qFatal("No OpenGL");
  const int width = options.value(QStringLiteral("width")).toInt(), height = width * 9 / 16;
  {
    Picture picture(width, height, options.value(QStringLiteral("samples")).toInt());
    if (options.isSet(QStringLiteral("one-pass")))
      compareWithOnePass(picture, width, height, clock);
    else
      measureParts(picture, options.value(QStringLiteral("output")), clock);
  }
  std::puts(QJsonDocument(clock.parts()).toJson(QJsonDocument::Compact).constData());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "headless");
  QCoreApplication::addLibraryPath(QStringLiteral(NUBO_PLUGIN_DIR));
  const QApplication application(argc, argv);
  QCommandLineParser options;
  options.addOptions({{QStringLiteral("width"), QString(), QStringLiteral("pixels"), QStringLiteral("10000")},
                      {QStringLiteral("samples"), QString(), QStringLiteral("count"), QStringLiteral("0")},
                      {QStringLiteral("output"), QString(), QStringLiteral("file")},
                      {QStringLiteral("one-pass"), QStringLiteral("compares drawing in tiles with one pass")}});
  options.process(application);
  return run(options);
}
