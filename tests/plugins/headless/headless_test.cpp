// Drawing on the platform without a display.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QThread>
#include <memory>

namespace {

/// A context with a surface, on the thread that made it unless moved.
struct Canvas {
  explicit Canvas(QOpenGLContext* share = nullptr) {
    context.setShareContext(share);
    EXPECT_TRUE(context.create());
    surface.create();
  }
  bool makeCurrent() { return context.makeCurrent(&surface); }

  QOpenGLContext context;
  QOffscreenSurface surface;
};

/// Fixed-function drawing: below, a red half and a green one.
void expectToDraw() {
  QOpenGLFramebufferObject target(64, 64, QOpenGLFramebufferObject::CombinedDepthStencil);
  target.bind();
  glViewport(0, 0, 64, 64);
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
  const QImage image = target.toImage();
  EXPECT_EQ(image.pixelColor(16, 48), QColor(255, 0, 0));
  EXPECT_EQ(image.pixelColor(48, 48), QColor(0, 255, 0));
  EXPECT_EQ(image.pixelColor(16, 16).alpha(), 0) << "the upper half is background";
  EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(Headless, DrawsWithoutADisplay) {
  ASSERT_EQ(QGuiApplication::platformName(), "headless");
  ASSERT_FALSE(qEnvironmentVariableIsSet("DISPLAY"));
  Canvas canvas;
  EXPECT_GE(canvas.context.format().version(), qMakePair(2, 1));
  ASSERT_TRUE(canvas.makeCurrent());
  const Canvas second;
  EXPECT_EQ(QOpenGLContext::currentContext(), &canvas.context);
  expectToDraw();
}

TEST(Headless, ContextsShareTextures) {
  Canvas first, second(&first.context), stranger;
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
  ASSERT_TRUE(stranger.makeCurrent());
  EXPECT_FALSE(glIsTexture(texture));
}

TEST(Headless, ContextsMoveToWorkerThreads) {
  Canvas here, there(&here.context);
  ASSERT_TRUE(here.makeCurrent());
  const std::unique_ptr<QThread> worker(QThread::create([&] {
    EXPECT_TRUE(there.makeCurrent());
    expectToDraw();
    there.context.doneCurrent();
    there.context.moveToThread(QGuiApplication::instance()->thread());
  }));
  there.context.moveToThread(worker.get());
  worker->start();
  ASSERT_TRUE(worker->wait(60000));
  EXPECT_EQ(QOpenGLContext::currentContext(), &here.context);
}

}  // namespace
