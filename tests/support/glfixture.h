// Draws scenes the way modules do: into a framebuffer object, in a context of its own that shares with the
// viewer's. Tests that use it link OpenGL::GL.
#pragma once

#include <gtest/gtest.h>

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPainter>
#include <cmath>
#include <functional>
#include <memory>

#include "module_scene/draw/environment.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"

namespace nubo::test {

/// A context that shares with the viewer's, current while it lives. On any thread.
class SharingContext {
 public:
  SharingContext() {
    m_Surface.setFormat(scene::_GlobalContext()->glContext()->format());
    m_Surface.create();
    m_Context.setShareContext(scene::_GlobalContext()->glContext());
    m_Valid = m_Context.create() && m_Context.makeCurrent(&m_Surface);
  }
  ~SharingContext() { m_Context.doneCurrent(); }
  bool isValid() const { return m_Valid; }
  QOpenGLContext* operator->() { return &m_Context; }

 private:
  QOffscreenSurface m_Surface;
  QOpenGLContext m_Context;
  bool m_Valid = false;
};

/// What to draw, and how.
struct Shot {
  util::YPointer<scene::SceneElement> root;
  math::Matrix4 transform = math::translation(0, 0, -3);
  int width = 256, height = 256;
  int samples = 0;
  int layers = 3;
  int kinds = 7;
  double detail = 0;
  scene::Look look = scene::Look::Plain;
  util::YPointer<scene::Environment> environment = nullptr;
  bool contact = false;
  bool ground = false;
  util::YPointer<scene::Section> section = nullptr;
};

/// The viewer and a current context. Pictures come back as they lie in the framebuffer: with straight alpha.
class GlFixture : public ::testing::Test {
 public:
  /// The part of a shot's picture that begins at (x, y), from its lower left corner.
  static QImage drawPart(scene::SceneDrawer& drawer, const Shot& shot, int x, int y, int width, int height) {
    QOpenGLFramebufferObject fbo(width, height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                 GL_RGBA8);
    return drawPart(fbo, drawer, shot, x, y);
  }

  static QImage drawPart(QOpenGLFramebufferObject& fbo, scene::SceneDrawer& drawer, const Shot& shot, int x, int y) {
    return drawPart(fbo, drawer, shot, x, y,
                    [&] { drawer.glDraw(shot.root, nullptr, shot.transform, shot.detail, shot.layers, shot.kinds); });
  }

  /// `work` does the drawing.
  static QImage drawPart(QOpenGLFramebufferObject& fbo, scene::SceneDrawer& drawer, const Shot& shot, int x, int y,
                         const std::function<void()>& work) {
    const double half = std::tan(0.40391905546154483) * scene::SceneDrawer::ZNEAR;
    const double side = half * shot.width / shot.height;
    const auto across = [&](int pixel) { return pixel * 2 * side / shot.width - side; };
    const auto up = [&](int pixel) { return pixel * 2 * half / shot.height - half; };
    fbo.bind();
    const QColor background = drawer.getBackgroundColor();
    glClearColor(GLfloat(background.redF()), GLfloat(background.greenF()), GLfloat(background.blueF()), 0.0f);
    glShadeModel(GL_SMOOTH);
    for (const GLenum on : {GL_DEPTH_TEST, GL_LIGHTING, GL_COLOR_MATERIAL, GL_LIGHT0}) glEnable(on);
    drawer.resize(fbo.width(), fbo.height());
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(across(x), across(x + fbo.width()), up(y), up(y + fbo.height()), scene::SceneDrawer::ZNEAR,
              scene::SceneDrawer::ZFAR);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    drawer.setSamples(shot.samples);
    drawer.setLook(shot.look);
    drawer.setEnvironment(shot.environment);
    drawer.setContact(shot.contact);
    drawer.setGround(shot.ground);
    drawer.setSection(shot.section);
    work();
    const QImage image = fbo.toImage();
    fbo.release();
    return asStraight(image);
  }

 protected:
  void SetUp() override {
    ASSERT_TRUE(viewer.isFboAvailable()) << "OpenGL is needed here";
    context = std::make_unique<SharingContext>();
    ASSERT_TRUE(context->isValid());
  }

  QImage draw(const Shot& shot) {
    scene::SceneDrawer drawer(viewer.getGlobalScene());
    return drawPart(drawer, shot, 0, 0, shot.width, shot.height);
  }

  /// The same picture from tiles with that edge.
  QImage drawTiled(const Shot& shot, int edge) {
    scene::SceneDrawer drawer(viewer.getGlobalScene());
    QImage picture(shot.width, shot.height, QImage::Format_ARGB32);
    for (int y = 0; y < shot.height; y += edge)
      for (int x = 0; x < shot.width; x += edge) {
        const int width = std::min(edge, shot.width - x), height = std::min(edge, shot.height - y);
        const QImage tile = drawPart(drawer, shot, x, y, width, height);
        for (int row = 0; row < height; ++row)
          std::copy_n(reinterpret_cast<const QRgb*>(tile.constScanLine(row)), width,
                      reinterpret_cast<QRgb*>(picture.scanLine(shot.height - y - height + row)) + x);
      }
    return picture;
  }

  gui::Viewer viewer;
  std::unique_ptr<SharingContext> context;

 private:
  // toImage() calls the framebuffer's bytes premultiplied, which they are not.
  static QImage asStraight(const QImage& image) {
    QImage result(image.size(), QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y)
      std::copy_n(image.constScanLine(y), std::size_t(image.width()) * 4, result.scanLine(y));
    return result;
  }
};

/// How two pictures of one size differ.
struct Difference {
  int rounded = 0;   ///< pixels that differ by 1 in any channel
  int changed = 0;   ///< pixels that differ by more
  int clear = 0;     ///< pixels that differ so much that one sees it
  int greatest = 0;  ///< of all channels
  int covered = 0;   ///< pixels of the first picture that show more than background
  int edges = 0;     ///< pixels of the first picture that clearly differ from their right or lower neighbour
  QPoint first{-1, -1};
};

inline int distance(QRgb p, QRgb q) {
  return std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q)),
                   std::abs(qAlpha(p) - qAlpha(q))});
}

inline Difference compare(const QImage& a, const QImage& b) {
  constexpr int Edge = 8, Clear = 24;
  Difference result;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      const QRgb pixel = a.pixel(x, y);
      result.covered += qAlpha(pixel) > 0;
      result.edges += (x + 1 < a.width() && distance(pixel, a.pixel(x + 1, y)) > Edge) ||
                      (y + 1 < a.height() && distance(pixel, a.pixel(x, y + 1)) > Edge);
      const int d = distance(pixel, b.pixel(x, y));
      if (d == 0) continue;
      if (result.greatest == 0) result.first = {x, y};
      result.greatest = std::max(result.greatest, d);
      result.clear += d > Clear;
      ++(d == 1 ? result.rounded : result.changed);
    }
  return result;
}

inline std::ostream& operator<<(std::ostream& out, const Difference& d) {
  return out << d.rounded << " pixels differ by 1, " << d.changed << " by up to " << d.greatest << ", " << d.clear
             << " of them clearly, beside " << d.edges << " edge pixels; the first is " << d.first.x() << ", "
             << d.first.y();
}

/// Shows what remains to be seen of small differences.
inline QImage quarter(const QImage& image) {
  return image.scaled(image.width() / 4, image.height() / 4, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// Two ways of drawing the same: but for `most` pixels and one in 256 along edges, where rounding decides.
inline Difference expectAlmostEqual(const QImage& actual, const QImage& expected, int most) {
  const Difference difference = compare(actual, expected);
  EXPECT_LE(difference.changed + difference.rounded, most + difference.edges / 256) << difference;
  return difference;
}

}  // namespace nubo::test
