// That recordings give back what they take.
#include <malloc.h>

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>

#include "module_scene/draw/sharedcontext.h"
#include "recording.h"

namespace nubo::test {
namespace {

/// What a process holds that recordings could leave behind: files, OpenGL's objects, bytes.
std::vector<double> holdings(QOpenGLContext* shared) {
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  context.setShareContext(shared);
  context.create();
  context.makeCurrent(&surface);  // which lets Qt delete what waits for that
  auto* gl = context.extraFunctions();
  double objects = 0;
  for (GLuint name = 1; name < 20000; ++name)
    objects += gl->glIsTexture(name) + gl->glIsRenderbuffer(name) + gl->glIsFramebuffer(name) + gl->glIsBuffer(name);
  const QDir files(QStringLiteral("/proc/self/fd"));
  return {double(files.entryList(QDir::AllEntries | QDir::System).size()), objects, double(mallinfo2().uordblks)};
}

TEST_F(RecordingTest, ManyRecordingsLeaveNothingBehind) {
  useFileChunks();
  const SteppedScene scene(2);
  makePanel(256, 256);
  const auto recordSome = [&](int count) {
    for (int i = 0; i < count; ++i) {
      scene.selectMatrices(0);
      // Every other one cannot start, which releases its objects by another way.
      ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file(i % 2 ? "a.fake" : "a.other"), 0, 0, true)));
    }
    m_Log.clear();
    m_Encoding.clear();
    m_Commands.clear();
  };
  recordSome(4);
  QOpenGLContext* shared = m_Host.viewer.getSharedContext()->glContext();
  const std::vector<double> before = holdings(shared);
  recordSome(400);
  const std::vector<double> after = holdings(shared);
  // Command threads may have become more, each with a file of its own. Under a kilobyte a recording is no object.
  const double Growth[] = {10, 1, 400 * 1000};
  for (std::size_t i = 0; i < before.size(); ++i) EXPECT_LT(after[i], before[i] + Growth[i]) << i;
}

}  // namespace
}  // namespace nubo::test
