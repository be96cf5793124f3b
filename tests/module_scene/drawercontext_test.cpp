// What the drawer leaves of OpenGL's state, and how drawers live with contexts and threads.
#include <QOpenGLFunctions>
#include <future>
#include <map>
#include <thread>

#include "drawerfixture.h"

namespace nubo::scene {
namespace {

TEST_F(DrawerTest, PutsBackTheStateItFound) {
  static const GLenum States[] = {GL_ARRAY_BUFFER_BINDING,
                                  GL_ELEMENT_ARRAY_BUFFER_BINDING,
                                  GL_TEXTURE_BINDING_2D,
                                  GL_DRAW_FRAMEBUFFER_BINDING,
                                  GL_READ_FRAMEBUFFER_BINDING,
                                  GL_RENDERBUFFER_BINDING,
                                  GL_CURRENT_PROGRAM,
                                  GL_VIEWPORT,
                                  GL_BLEND,
                                  GL_DEPTH_FUNC,
                                  GL_DEPTH_WRITEMASK,
                                  GL_FRONT_FACE,
                                  GL_COLOR_CLEAR_VALUE,
                                  GL_CURRENT_COLOR,
                                  GL_LINE_WIDTH,
                                  GL_SCISSOR_BOX,
                                  GL_VERTEX_ARRAY,
                                  GL_NORMAL_ARRAY,
                                  GL_MATRIX_MODE,
                                  GL_MODELVIEW_MATRIX,
                                  GL_PROJECTION_MATRIX,
                                  GL_TEXTURE_MATRIX,
                                  GL_ATTRIB_STACK_DEPTH,
                                  GL_CLIENT_ATTRIB_STACK_DEPTH,
                                  GL_LIGHTING,
                                  GL_LIGHT_MODEL_AMBIENT};
  Shot shot;
  shot.root = element({texturedSheet(2), bumpyBall(QColor(0, 0, 255, 100), 20), strokes(KindLines, 3, 20, 1)});
  QOpenGLFunctions* gl = (*context)->functions();
  std::array<GLuint, 2> buffers{};
  gl->glGenBuffers(2, buffers.data());
  GLuint texture = 0;
  gl->glGenTextures(1, &texture);
  const auto combined = QOpenGLFramebufferObject::CombinedDepthStencil;
  QOpenGLFramebufferObject fbo(64, 64, combined), readFrom(64, 64, combined);
  const auto setUp = [&] {
    gl->glBindBuffer(GL_ARRAY_BUFFER, buffers[0]);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers[1]);
    gl->glBindTexture(GL_TEXTURE_2D, texture);
    fbo.bind();
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, readFrom.handle());
    glViewport(1, 2, 33, 44);
    for (const GLenum on : {GL_BLEND, GL_CULL_FACE, GL_SCISSOR_TEST}) glEnable(on);
    glBlendFunc(GL_ONE, GL_ONE);
    glDepthFunc(GL_GREATER);
    glFrontFace(GL_CW);
    glClearColor(0.1f, 0.2f, 0.3f, 0.4f);
    glColor4f(0.5f, 0.25f, 0.75f, 1.0f);
    glLineWidth(2);
    glScissor(0, 0, 10, 10);
    glEnableClientState(GL_VERTEX_ARRAY);
    for (const GLenum mode : {GL_MODELVIEW, GL_PROJECTION}) {
      glMatrixMode(mode);
      glLoadMatrixd((mode == GL_MODELVIEW ? math::translation(0, 0, -1) : math::scaling(0.5, 0.5, -0.2)).data());
    }
  };
  const auto capture = [&] {
    std::map<GLenum, std::array<double, 16>> state;
    for (const GLenum name : States) glGetDoublev(name, state[name].data());
    return state;
  };
  SceneDrawer drawer(viewer.getGlobalScene());
  for (const auto& [samples, look] : {std::pair{0, Look::Plain}, {4, Look::Plain}, {4, Look::Studio}}) {
    drawer.setSamples(samples);
    drawer.setLook(look);
    drawer.resize(64, 64);
    setUp();
    const auto before = capture();
    drawer.glDraw(shot.root, nullptr, math::translation(0, 0, -2), 0.0, 3, 7);
    for (const auto& [name, values] : capture())
      EXPECT_EQ(values, before.at(name)) << std::hex << name << " with " << samples << " samples, "
                                         << nameOf(look).toStdString();
  }
  fbo.release();
  gl->glDeleteTextures(1, &texture);
  gl->glDeleteBuffers(2, buffers.data());
}

TEST_F(DrawerTest, ThreadsShareBuffersAndMayDropThemAnywhere) {
  const auto countBuffers = [&] {
    int count = 0;
    for (GLuint name = 1; name < 1000; ++name) count += (*context)->functions()->glIsBuffer(name);
    return count;
  };
  const int before = countBuffers();
  Shot shot;
  shot.root = element({bumpyBall(Qt::green, 60)});
  std::vector<std::future<QImage>> pictures;
  for (int i = 0; i < 3; ++i)
    pictures.push_back(std::async(std::launch::async, [&] {
      const test::SharingContext own;
      return draw(shot);
    }));
  const QImage expected = draw(shot);
  for (auto& picture : pictures) EXPECT_EQ(picture.get(), expected);
  EXPECT_EQ(countBuffers(), before + 1) << "one copy for all contexts";

  std::thread([&] { shot.root = nullptr; }).join();
  test::SharingContext later;
  EXPECT_EQ(countBuffers(), before);
}

TEST_F(DrawerTest, MayGoAfterItsContextAndServeAnother) {
  Shot shot;
  shot.root = element({bumpyBall(Qt::green, 20), strokes(KindLines, 3, 10, 7)});
  shot.samples = 4;
  const QImage expected = draw(shot);
  auto drawer = std::make_unique<SceneDrawer>(viewer.getGlobalScene());
  for (int i = 0; i < 2; ++i) {
    context.reset();
    context = std::make_unique<test::SharingContext>();
    EXPECT_EQ(drawPart(*drawer, shot, 0, 0, shot.width, shot.height), expected);
    EXPECT_EQ(drawPart(*drawer, shot, 0, 0, 31, 77).size(), QSize(31, 77));
  }
  context.reset();
  drawer.reset();
  context = std::make_unique<test::SharingContext>();
  EXPECT_EQ(draw(shot), expected);
}

}  // namespace
}  // namespace nubo::scene
