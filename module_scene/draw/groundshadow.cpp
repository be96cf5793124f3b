#include "module_scene/draw/groundshadow.h"

#include <QOpenGLExtraFunctions>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

#include "kernel/log/logger.h"
#include "module_scene/draw/drawingstate.h"
#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/framebuffer.h"
#include "module_scene/draw/groundsource.h"
#include "module_scene/draw/painter.h"
#include "module_scene/draw/rendermap.h"
#include "module_scene/draw/shaderprogram.h"

namespace nubo::scene {

namespace {

constexpr int Size = 256;  // texels along each side of the ground

QOpenGLExtraFunctions* extraFunctions() { return QOpenGLContext::currentContext()->extraFunctions(); }

// Tighter than the box around boxes: what floats would show by its shadow.
BoundingBox boxOf(const SceneParts& parts) {
  BoundingBox box;
  for (const ScenePart& part : parts.all()) {
    if (part.layer != LayerModel) continue;
    const std::vector<float>& places =
        part.geometry->outline.empty() ? part.geometry->positions : part.geometry->outline;
    for (std::size_t i = 0; i + 2 < places.size(); i += 3)
      box.add(math::transformPoint(part.place, {places[i], places[i + 1], places[i + 2]}));
  }
  return box;
}

/// Looks up from below, or down from above: what stands lowest or highest is nearest.
math::Matrix4 along(const math::Vector3& middle, double half, double height, bool upwards) {
  const double side = upwards ? -1 : 1;
  return math::scaling(side / half, 1 / half, -side * 2 / height) *
         math::translation(-middle[0], -middle[1], -middle[2] - height / 2);
}

}  // namespace

bool GroundShadow::begin(const std::array<const SceneElement*, 2>& elements, std::uint64_t changes, int kinds,
                         const SceneParts& parts, SurfaceShader& shader) {
  const Subject subject{elements, changes, kinds};
  if (m_Subject == subject && m_Shadow.isUsable()) return true;
  m_Subject.reset();
  const BoundingBox box = boxOf(parts);
  if (box.isEmpty()) return false;
  const double sides[]{box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]};
  const double longest = std::max({sides[0], sides[1], sides[2]});
  if (!(longest > 0) || !std::isfinite(longest) || !createPrograms()) return false;
  constexpr double Gap = 0.003;
  m_Area.half = std::max(sides[0], sides[1]) / 2 + 0.6 * longest;
  m_Area.height = sides[2] + 2 * Gap * longest;
  m_Area.middle = {(box.min[0] + box.max[0]) / 2, (box.min[1] + box.max[1]) / 2, box.min[2] - Gap * longest};
  if (!m_Shadow.isUsable()) {
    m_Undersides = makeDepthMap(Size, Size);
    m_Tops = makeDepthMap(Size, Size);
    m_Raw = makeColorMap(Size, Size);
    m_Shadow = makeColorMap(Size, Size, GL_LINEAR);
  }
  const Framebuffer framebuffer;
  for (const bool upwards : {true, false})
    if (!findHeights(framebuffer.name(), parts, kinds, upwards, shader)) return false;
  gather(framebuffer.name());
  m_Subject = subject;
  return true;
}

bool GroundShadow::createPrograms() {
  struct Source {
    SharedName* program;
    const char *vertices, *fragments;
  };
  for (const Source& source : {Source{&m_GatherProgram, GroundMapVertexShader, GatherShader},
                               {&m_SmoothProgram, GroundMapVertexShader, GroundSmoothingShader},
                               {&m_DrawProgram, GroundVertexShader, GroundShader}}) {
    if (source.program->isUsable()) continue;
    QByteArray messages;
    *source.program = linkProgram(source.vertices, source.fragments, &messages);
    if (source.program->name()) continue;
    static std::atomic<bool> s_Told{false};
    if (!s_Told.exchange(true))
      NUBO_LOG(log::Failure, "nubo::scene::GroundShadow::begin", "This OpenGL cannot draw a shadow on the ground: %s",
               messages.constData());
    return false;
  }
  return true;
}

bool GroundShadow::findHeights(GLuint framebuffer, const SceneParts& parts, int kinds, bool upwards,
                               SurfaceShader& shader) {
  setUpState();
  const GLuint target = upwards ? m_Undersides.name() : m_Tops.name();
  if (!drawInto(framebuffer, m_Raw.name(), target, Size, Size)) return false;
  const math::Matrix4 projection = along(m_Area.middle, m_Area.half, m_Area.height, upwards);
  const ViewQuery query{projection, Size, Size, 0.0, LayerModel | LayerTransparent, kinds};
  m_List.collect(parts, math::Matrix4(), query);
  m_List.sortTransparent();
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  load(GL_PROJECTION, projection);
  Painter(m_List, Painter::ForDepth, shader).draw(std::numeric_limits<std::size_t>::max());
  m_List.clear();  // of what it holds on to
  return true;
}

void GroundShadow::gather(GLuint framebuffer) {
  QOpenGLExtraFunctions* gl = extraFunctions();
  setUpState();
  glDisable(GL_DEPTH_TEST);
  for (const bool smoothing : {false, true}) {
    if (!drawInto(framebuffer, smoothing ? m_Shadow.name() : m_Raw.name(), 0, Size, Size)) return;
    const GLuint program = smoothing ? m_SmoothProgram.name() : m_GatherProgram.name();
    gl->glUseProgram(program);
    gl->glBindTexture(GL_TEXTURE_2D, smoothing ? m_Raw.name() : m_Undersides.name());
    gl->glActiveTexture(GL_TEXTURE1);
    gl->glBindTexture(GL_TEXTURE_2D, m_Tops.name());
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glUniform1i(gl->glGetUniformLocation(program, "tops"), 1);
    gl->glUniform1f(gl->glGetUniformLocation(program, "texel"), 1.0f / Size);
    gl->glUniform1f(gl->glGetUniformLocation(program, "height"), GLfloat(m_Area.height * Size / (2 * m_Area.half)));
    glRectf(-1, -1, 1, 1);
  }
  gl->glUseProgram(0);
}

bool GroundShadow::isSeen(const Viewpoint& viewpoint) const {
  if (!m_Subject) return false;
  const math::Matrix4& view = viewpoint.view;
  const math::Vector3 place = math::transformPoint(view, m_Area.middle);
  if (viewpoint.parallel) return view(2, 2) > 0;
  return view(0, 2) * place[0] + view(1, 2) * place[1] + view(2, 2) * place[2] < 0;
}

void GroundShadow::draw(const Viewpoint& viewpoint) {
  QOpenGLExtraFunctions* gl = extraFunctions();
  load(GL_MODELVIEW, viewpoint.view);
  for (const GLenum off : {GL_DEPTH_TEST, GL_CULL_FACE, GL_POLYGON_OFFSET_FILL}) glDisable(off);
  glDepthMask(GL_FALSE);
  glEnable(GL_BLEND);
  functions()->glBlendEquation(GL_FUNC_ADD);
  glBlendFunc(GL_ONE_MINUS_DST_ALPHA, GL_ONE);
  gl->glActiveTexture(GL_TEXTURE0);
  gl->glBindTexture(GL_TEXTURE_2D, m_Shadow.name());
  gl->glUseProgram(m_DrawProgram.name());
  const auto& [x, y, z] = m_Area.middle;
  glBegin(GL_QUADS);
  for (const auto& corner : {std::array<int, 2>{-1, -1}, {1, -1}, {1, 1}, {-1, 1}}) {
    glTexCoord2d(0.5 - 0.5 * corner[0], 0.5 + 0.5 * corner[1]);
    glVertex3d(x + corner[0] * m_Area.half, y + corner[1] * m_Area.half, z);
  }
  glEnd();
  gl->glUseProgram(0);
}

}  // namespace nubo::scene
