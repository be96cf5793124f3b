#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QThread>
#include <memory>

namespace {

/// A context with a surface, on the thread that made it unless moved.
struct Canvas {
  explicit Canvas(QOpenGLContext* share = nullptr) {
    context.setShareContext(share);
    created = context.create();
    surface.create();
  }
  bool makeCurrent() { return context.makeCurrent(&surface); }

  QOpenGLContext context;
  QOffscreenSurface surface;
  bool created = false;
};

/// Fixed-function drawing: the left half red, the right half green, upside up.
QImage drawHalves(int size) {
  QOpenGLFramebufferObject target(size, size, QOpenGLFramebufferObject::CombinedDepthStencil);
  target.bind();
  glViewport(0, 0, size, size);
  glClearColor(0, 0, 1, 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0, 2, 0, 2, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glColor3f(1, 0, 0);
  glRectf(0, 0, 1, 1);
  glColor3f(0, 1, 0);
  glRectf(1, 0, 2, 1);
  return target.toImage();
}

void expectHalves(const QImage& image) {
  const int first = image.width() / 4, second = image.width() * 3 / 4;
  ASSERT_FALSE(image.isNull());
  EXPECT_EQ(image.pixelColor(first, second), QColor(255, 0, 0));
  EXPECT_EQ(image.pixelColor(second, second), QColor(0, 255, 0));
  EXPECT_EQ(image.pixelColor(first, first).alpha(), 0) << "the upper half is background";
}

TEST(Headless, DrawsWithoutADisplay) {
  ASSERT_EQ(QGuiApplication::platformName(), "headless");
  ASSERT_FALSE(qEnvironmentVariableIsSet("DISPLAY"));
  Canvas canvas;
  ASSERT_TRUE(canvas.created);
  EXPECT_GE(canvas.context.format().version(), qMakePair(2, 1));
  ASSERT_TRUE(canvas.makeCurrent());
  GLint size = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
  EXPECT_GE(size, 1024);
  expectHalves(drawHalves(64));
  EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(Headless, ContextsShareTextures) {
  Canvas first;
  Canvas second(&first.context);
  ASSERT_TRUE(second.created);
  ASSERT_EQ(second.context.shareContext(), &first.context);
  ASSERT_TRUE(first.makeCurrent());
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  const GLubyte pixel[] = {10, 20, 30, 255};
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
  glFinish();

  ASSERT_TRUE(second.makeCurrent());
  GLubyte seen[4] = {};
  glBindTexture(GL_TEXTURE_2D, texture);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, seen);
  EXPECT_TRUE(std::equal(std::begin(pixel), std::end(pixel), seen));

  Canvas stranger;
  ASSERT_TRUE(stranger.makeCurrent());
  EXPECT_FALSE(glIsTexture(texture));
}

TEST(Headless, MakingAContextKeepsTheCurrentOne) {
  Canvas first;
  ASSERT_TRUE(first.makeCurrent());
  Canvas second;
  EXPECT_EQ(QOpenGLContext::currentContext(), &first.context);
  expectHalves(drawHalves(16));
}

TEST(Headless, ContextsMoveToWorkerThreads) {
  Canvas here;
  ASSERT_TRUE(here.makeCurrent());
  Canvas there(&here.context);
  QImage image;
  bool current = false;
  const std::unique_ptr<QThread> worker(QThread::create([&] {
    current = there.makeCurrent();
    if (current) image = drawHalves(64);
    there.context.doneCurrent();
    there.context.moveToThread(QGuiApplication::instance()->thread());
  }));
  there.context.moveToThread(worker.get());
  worker->start();
  worker->wait();
  ASSERT_TRUE(current);
  expectHalves(image);
  EXPECT_EQ(QOpenGLContext::currentContext(), &here.context);
}

class RedWidget : public QOpenGLWidget {
 protected:
  void paintGL() override {
    glClearColor(1, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
  }
};

TEST(Headless, WidgetsDrawWithoutEverBeingShown) {
  RedWidget widget;
  widget.resize(40, 30);
  const QImage image = widget.grabFramebuffer();
  ASSERT_EQ(image.size(), QSize(40, 30));
  EXPECT_EQ(image.pixelColor(20, 15), QColor(255, 0, 0));
}

}  // namespace
