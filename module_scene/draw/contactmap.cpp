#include "module_scene/draw/contactmap.h"

#include <QOpenGLExtraFunctions>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

#include "kernel/log/logger.h"
#include "module_scene/draw/contactsource.h"
#include "module_scene/draw/drawingstate.h"
#include "module_scene/draw/framebuffer.h"
#include "module_scene/draw/rendermap.h"
#include "module_scene/draw/shaderprogram.h"

namespace nubo::scene {

namespace {

constexpr double Area = 420000;    // texels
constexpr int Longest = 4096;      // texels
constexpr double TexelsOff = 0.5;  // by which a depth may differ from that of the pixel that looks for it
constexpr int Places = 12, Around = 16;
constexpr int IndicesPerTexel = 2;  // that take as long

QOpenGLExtraFunctions* extraFunctions() { return QOpenGLContext::currentContext()->extraFunctions(); }

void tellOnce(const QByteArray& messages) {
  static std::atomic<bool> s_Told{false};
  if (!s_Told.exchange(true))
    NUBO_LOG(log::Failure, "nubo::scene::ContactMap::begin",
             "This OpenGL cannot find out where surfaces meet, scenes are drawn without: %s", messages.constData());
}

double linearity(const math::Matrix4& p) { return std::abs(p(2, 2) * p(3, 3) - p(2, 3) * p(3, 2)); }

}  // namespace

bool ContactMap::begin(const Viewpoint& viewpoint, const Subject& subject, const SceneParts& parts,
                       SurfaceShader& shader) {
  const ViewWindow seen = ViewWindow::of(viewpoint);
  const bool isSame = m_Subject == subject && m_Map.isUsable() && m_Viewpoint.view == viewpoint.view &&
                      m_Viewpoint.parallel == viewpoint.parallel && m_Viewpoint.lens == viewpoint.lens &&
                      m_Window.holds(seen);
  if (isSame) return true;
  m_Subject.reset();
  m_Window = seen.whole();
  const double aspect = m_Window.width() / m_Window.height();
  if (!std::isfinite(aspect) || !(aspect > 0)) return false;
  const double height = std::sqrt(Area / aspect);
  const auto texels = [](double size) { return std::clamp(int(std::lround(size)), 16, Longest); };
  if (!reserve(texels(height * aspect), texels(height)) || !createPasses()) return false;
  m_Viewpoint = viewpoint;
  m_Viewpoint.projection = projectionOf(viewpoint, m_Window);
  collect(viewpoint, subject, parts, shader);
  m_Subject = subject;
  m_Stage = Stage::Faces;
  m_Row = 0;
  m_Covered = QRect(0, 0, m_Width, m_Height);
  return true;
}

void ContactMap::collect(const Viewpoint& viewpoint, const Subject& subject, const SceneParts& parts,
                         SurfaceShader& shader) {
  for (Seen* seen : {&m_Faces, &m_Points}) {
    const int kind = seen == &m_Faces ? KindFaces : KindPoints;
    ViewQuery query{m_Viewpoint.projection, m_Width, m_Height, 0.0, LayerModel | LayerTransparent,
                    subject.kinds & kind};
    query.scaleWidths(subject.viewHeight, viewpoint.lens);
    query.even = true;  // or a step in their width would be shaded as one of the surface
    seen->list.clear();
    seen->list.collect(parts, viewpoint.view, query);
    seen->list.sortTransparent();
    seen->painter.emplace(seen->list, Painter::ForDepth, shader);
  }
}

bool ContactMap::reserve(int width, int height) {
  if (m_Map.isUsable() && width == m_Width && height == m_Height) return true;
  m_Width = width;
  m_Height = height;
  for (Seen* seen : {&m_Faces, &m_Points}) seen->depths = makeDepthMap(width, height);
  for (SharedName* name : {&m_Directions, &m_Raw, &m_Half, &m_Map}) *name = makeColorMap(width, height);
  const Framebuffer framebuffer;
  m_Stage = Stage::Faces;
  if (bindTarget(framebuffer.name())) return true;
  tellOnce("no framebuffer");
  return false;
}

bool ContactMap::createPasses() {
  while (makeNext()) continue;
  return m_Smoothing.program.isUsable() && m_Smoothing.program.name();
}

bool ContactMap::makeNext() {
  struct Source {
    Pass* pass;
    const char* fragments;
  };
  for (const Source& source :
       {Source{&m_Direction, DirectionShader}, {&m_Occlusion, OcclusionShader}, {&m_Smoothing, SmoothingShader}})
    if (!source.pass->program.isUsable()) return create(*source.pass, source.fragments);
  return false;
}

bool ContactMap::create(Pass& pass, const char* source) {
  QByteArray messages;
  pass.program = linkProgram(ContactVertexShader, source, &messages);
  const GLuint name = pass.program.name();
  if (!name) {
    tellOnce(messages);
    return false;
  }
  QOpenGLExtraFunctions* gl = extraFunctions();
  gl->glUseProgram(name);
  gl->glUniform1i(gl->glGetUniformLocation(name, "directions"), 1);
  gl->glUniform1i(gl->glGetUniformLocation(name, "points"), 2);
  gl->glUniform1i(gl->glGetUniformLocation(name, "places"), Places);
  gl->glUniform1i(gl->glGetUniformLocation(name, "around"), Around);
  gl->glUseProgram(0);
  pass.texels = gl->glGetUniformLocation(name, "texels");
  pass.depthRows = gl->glGetUniformLocation(name, "depthRows");
  pass.last = gl->glGetUniformLocation(name, "last");
  pass.window = gl->glGetUniformLocation(name, "window");
  return true;
}

ContactMap::Work ContactMap::work() const {
  switch (m_Stage) {
    case Stage::Occlusion:
      return {m_Occlusion, m_Faces.depths, m_Directions, m_Raw};
    case Stage::Smoothing:
      return {m_Smoothing, m_Raw, m_Directions, m_Half};
    case Stage::Finishing:
      return {m_Smoothing, m_Half, m_Directions, m_Map};
    default:
      return {m_Direction, m_Faces.depths, m_Faces.depths, m_Directions};
  }
}

/// What the stage draws, or null if it computes.
ContactMap::Seen* ContactMap::seen() {
  return m_Stage == Stage::Faces ? &m_Faces : m_Stage == Stage::Points ? &m_Points : nullptr;
}

/// Where the stage draws to. False if OpenGL cannot.
bool ContactMap::bindTarget(GLuint framebuffer) {
  const Seen* seen = this->seen();
  return drawInto(framebuffer, work().target.name(), seen ? seen->depths.name() : 0, m_Width, m_Height);
}

void ContactMap::prepare() {
  if (isComplete()) return;
  const Framebuffer framebuffer;
  const Stage begun = m_Stage;
  for (const Stage stage :
       {Stage::Faces, Stage::Points, Stage::Directions, Stage::Occlusion, Stage::Smoothing, Stage::Finishing}) {
    m_Stage = stage;
    setUpState();  // as for drawing, or the driver would make something else
    (void)bindTarget(framebuffer.name());
    Seen* seen = this->seen();
    if (!seen) {
      compute(0);
      continue;
    }
    Painter::Kinds none;
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 0, 0);
    seen->painter->drawSamples(&none);
  }
  m_Stage = begun;
  m_Row = 0;
}

void ContactMap::draw(std::size_t indices) {
  const Framebuffer framebuffer;
  const std::size_t most = std::max<std::size_t>(1, indices / IndicesPerTexel / std::size_t(m_Width));
  const int rows = int(std::min<std::size_t>(most, std::size_t(m_Height)));
  while (!isComplete()) {
    setUpState();
    bindTarget(framebuffer.name());
    if (Seen* seen = this->seen()) {
      const bool isPlotted = indices == std::numeric_limits<std::size_t>::max() && plot(*seen);
      if (!isPlotted && m_Row == 0) {
        glClear(GL_DEPTH_BUFFER_BIT);
        m_Row = 1;
      }
      load(GL_PROJECTION, m_Viewpoint.projection);
      if (!isPlotted) seen->painter->draw(indices);
      if (isPlotted || seen->painter->isDone()) {
        m_Stage = Stage(int(m_Stage) + 1);
        m_Row = 0;
        seen->painter.reset();
        seen->list.clear();
      }
    } else {
      compute(rows);
      if (m_Row >= m_Covered.height()) {
        m_Stage = Stage(int(m_Stage) + 1);
        m_Row = 0;
      }
    }
    if (indices < std::numeric_limits<std::size_t>::max()) return;
  }
}

/// Draws at once without OpenGL; false where that is not faster or cannot be done.
bool ContactMap::plot(const Seen& seen) {
  if (m_Row > 0 || !isSoftware() || !DepthPlotter::canPlot(seen.list, m_Width, m_Height) ||
      !m_Plotter.plot(seen.list, m_Viewpoint.projection, m_Width, m_Height))
    return false;
  glBindTexture(GL_TEXTURE_2D, seen.depths.name());
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, m_Width, m_Height, GL_DEPTH_COMPONENT, GL_UNSIGNED_INT,
                  m_Plotter.depths().data());
  constexpr int Reach = 8;  // further than what is beside a texel counts for it
  const QRect covered = m_Plotter.covered().adjusted(-Reach, -Reach, Reach, Reach);
  if (m_Points.list.isEmpty()) m_Covered &= covered;
  return true;
}

/// The next rows of what the pass makes of the one before it.
void ContactMap::compute(int rows) {
  const Work work = this->work();
  const Pass& pass = work.pass;
  QOpenGLExtraFunctions* gl = extraFunctions();
  glDisable(GL_DEPTH_TEST);
  if (m_Row == 0) {
    // Elsewhere nothing is seen, and nothing takes its light.
    glClearColor(1, 1, 1, m_Stage == Stage::Finishing ? 1 : 0);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  glEnable(GL_SCISSOR_TEST);
  glScissor(m_Covered.left(), m_Covered.top() + m_Row, m_Covered.width(), std::min(rows, m_Covered.height() - m_Row));
  gl->glUseProgram(pass.program.name());
  gl->glActiveTexture(GL_TEXTURE2);
  gl->glBindTexture(GL_TEXTURE_2D, m_Points.depths.name());
  gl->glActiveTexture(GL_TEXTURE1);
  gl->glBindTexture(GL_TEXTURE_2D, work.second.name());
  gl->glActiveTexture(GL_TEXTURE0);
  gl->glBindTexture(GL_TEXTURE_2D, work.first.name());
  const math::Matrix4& p = m_Viewpoint.projection;
  gl->glUniform2f(pass.texels, 1.0f / GLfloat(m_Width), 1.0f / GLfloat(m_Height));
  gl->glUniform4f(pass.depthRows, GLfloat(p(2, 2)), GLfloat(p(2, 3)), GLfloat(p(3, 2)), GLfloat(p(3, 3)));
  gl->glUniform1f(pass.last, m_Stage == Stage::Finishing ? 1 : 0);
  gl->glUniform4f(pass.window, GLfloat(m_Window.right), GLfloat(m_Window.top), m_Viewpoint.parallel ? 0 : 1,
                  m_Viewpoint.parallel ? 1 : 0);
  glRectf(-1, -1, 1, 1);
  gl->glUseProgram(0);
  m_Row += rows;
}

ContactLookup ContactMap::lookup(const Viewpoint& viewpoint, const Pixels& picture) const {
  const LinearMap map = between(ViewWindow::of(viewpoint), m_Window);
  const int pixels[]{picture.width, picture.height}, texels[]{m_Width, m_Height};
  ContactLookup result{};
  for (int i = 0; i < 2; ++i) {
    result.place[i] = GLfloat(map.factor[i] * texels[i] / pixels[i]);
    const double first = map.offset[i] - map.factor[i] * (2.0 * picture.margin / pixels[i] + 1);
    result.place[2 + i] = GLfloat((first + 1) / 2 * texels[i] - 0.5);
    result.texels[i] = 1.0f / GLfloat(texels[i]);
  }
  result.texels[2] = GLfloat(picture.facesBack);
  const double unit = viewpoint.parallel ? viewpoint.projection(3, 3) : 1;
  result.tolerance = GLfloat(TexelsOff * m_Window.top / m_Height * linearity(viewpoint.projection) / unit);
  return result;
}

}  // namespace nubo::scene
