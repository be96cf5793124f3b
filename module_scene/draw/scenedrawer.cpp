#include "module_scene/draw/scenedrawer.h"

#include <QElapsedTimer>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFunctions_2_0>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <tuple>

#include "module_scene/draw/drawingturn.h"
#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/smoothbuffer.h"
#include "module_scene/gui/viewer.h"

namespace nubo::scene {

namespace {

QOpenGLFunctions_2_0* functions() { return QOpenGLContext::currentContext()->versionFunctions<QOpenGLFunctions_2_0>(); }

// Puts back, at the end of a drawing, everything of OpenGL's state that it may touch.
class StateGuard {
 public:
  StateGuard() {
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &m_DrawFramebuffer);
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &m_ReadFramebuffer);
    glGetIntegerv(GL_CURRENT_PROGRAM, &m_Program);
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &m_ArrayBuffer);
    glGetIntegerv(GL_ELEMENT_ARRAY_BUFFER_BINDING, &m_ElementBuffer);
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
    for (std::size_t i = 0; i < Modes.size(); ++i) glGetDoublev(Queries[i], m_Matrices[i].data());
  }
  ~StateGuard() {
    for (std::size_t i = 0; i < Modes.size(); ++i) {
      glMatrixMode(Modes[i]);
      glLoadMatrixd(m_Matrices[i].data());
    }
    glPopClientAttrib();
    glPopAttrib();
    QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
    gl->glBindBuffer(GL_ARRAY_BUFFER, GLuint(m_ArrayBuffer));
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, GLuint(m_ElementBuffer));
    gl->glUseProgram(GLuint(m_Program));
    gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, GLuint(m_DrawFramebuffer));
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, GLuint(m_ReadFramebuffer));
  }
  StateGuard(const StateGuard&) = delete;
  StateGuard& operator=(const StateGuard&) = delete;

  GLuint framebuffer() const { return GLuint(m_DrawFramebuffer); }
  const math::Matrix4& projection() const { return m_Matrices[0]; }
  const math::Matrix4& modelView() const { return m_Matrices[1]; }

 private:
  static constexpr std::array<GLenum, 3> Modes{GL_PROJECTION, GL_MODELVIEW, GL_TEXTURE};
  static constexpr std::array<GLenum, 3> Queries{GL_PROJECTION_MATRIX, GL_MODELVIEW_MATRIX, GL_TEXTURE_MATRIX};
  GLint m_DrawFramebuffer = 0, m_ReadFramebuffer = 0, m_Program = 0, m_ArrayBuffer = 0, m_ElementBuffer = 0;
  std::array<math::Matrix4, 3> m_Matrices;
};

void load(GLenum mode, const math::Matrix4& matrix) {
  glMatrixMode(mode);
  glLoadMatrixd(matrix.data());
}

// The state that all drawing starts from, whatever the caller left.
void setUpState() {
  QOpenGLFunctions_2_0* gl = functions();
  gl->glUseProgram(0);
  gl->glActiveTexture(GL_TEXTURE0);
  gl->glClientActiveTexture(GL_TEXTURE0);
  for (const GLenum off :
       {GL_ALPHA_TEST, GL_BLEND, GL_COLOR_LOGIC_OP, GL_CULL_FACE, GL_DITHER, GL_FOG, GL_LINE_SMOOTH, GL_LINE_STIPPLE,
        GL_POINT_SMOOTH, GL_POLYGON_SMOOTH, GL_POLYGON_STIPPLE, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_TEXTURE_2D})
    glDisable(off);
  for (const GLenum on : {GL_DEPTH_TEST, GL_MULTISAMPLE, GL_NORMALIZE}) glEnable(on);
  glDepthFunc(GL_LEQUAL);
  glDepthMask(GL_TRUE);
  glClearDepth(1.0);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  glShadeModel(GL_SMOOTH);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  load(GL_TEXTURE, math::Matrix4());
}

// A light beside the eye, so that shapes show wherever one looks from, and a little from everywhere.
void setUpLight() {
  constexpr GLfloat Direction[] = {-0.25f, 0.4f, 1.0f, 0.0f};
  constexpr GLfloat Diffuse[] = {0.85f, 0.85f, 0.85f, 1.0f};
  constexpr GLfloat White[] = {1, 1, 1, 1};
  constexpr GLfloat Black[] = {0, 0, 0, 1};
  constexpr GLfloat Ambient[] = {0.22f, 0.22f, 0.22f, 1.0f};
  load(GL_MODELVIEW, math::Matrix4());
  glLightfv(GL_LIGHT0, GL_POSITION, Direction);
  glLightfv(GL_LIGHT0, GL_AMBIENT, Black);
  glLightfv(GL_LIGHT0, GL_DIFFUSE, Diffuse);
  glLightfv(GL_LIGHT0, GL_SPECULAR, White);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, Ambient);
  glEnable(GL_LIGHT0);
}

void setUpTexture(const Geometry& geometry, const Material& material) {
  if (!material.texture || geometry.texCoords.empty()) {
    glDisable(GL_TEXTURE_2D);
    return;
  }
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, BufferCache::buffer(*material.texture)->name());
}

const Material& materialOf(const Geometry& geometry) {
  static const Material DefaultMaterial;
  return geometry.material ? *geometry.material : DefaultMaterial;
}

bool isLit(const Geometry& geometry) { return materialOf(geometry).lit && !geometry.normals.empty(); }

GLenum modeOf(Kind kind) { return kind == KindFaces ? GL_TRIANGLES : kind == KindLines ? GL_LINES : GL_POINTS; }

void setUpMaterial(const Geometry& geometry) {
  const Material& material = materialOf(geometry);
  setUpTexture(geometry, material);
  const bool lit = isLit(geometry);
  if (lit) {
    glEnable(GL_LIGHTING);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    glEnable(GL_COLOR_MATERIAL);
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, material.specular.data());
    glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, material.emissive.data());
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, material.shininess);
  } else {
    glDisable(GL_LIGHTING);
    glDisable(GL_COLOR_MATERIAL);
  }
  // Highlights lie on top of a texture.
  const bool highlights = lit && glIsEnabled(GL_TEXTURE_2D) && material.shininess > 0;
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, highlights ? GL_SEPARATE_SPECULAR_COLOR : GL_SINGLE_COLOR);
  glColor4fv(material.diffuse.data());
}

double widest(GLenum smooth, GLenum plain) {
  GLfloat ranges[2][2]{};
  glGetFloatv(smooth, ranges[0]);
  glGetFloatv(plain, ranges[1]);
  return double(std::max(1.0f, std::min(ranges[0][1], ranges[1][1])));
}

// A tile shows a part of the frustum as large as the whole picture does, so that its scale is the picture's.
void scaleWidths(ViewQuery& query, int viewHeight) {
  if (viewHeight > 0) {
    const double halfOpening = std::acos(-1.0) / 8;
    query.widthScale = query.height * std::abs(query.projection(1, 1)) * std::tan(halfOpening) / viewHeight;
  }
  query.widestPoint = widest(GL_SMOOTH_POINT_SIZE_RANGE, GL_ALIASED_POINT_SIZE_RANGE);
  query.widestLine = widest(GL_SMOOTH_LINE_WIDTH_RANGE, GL_ALIASED_LINE_WIDTH_RANGE);
}

// Draws batches one after the other, changing only the state that differs.
class Painter {
 public:
  explicit Painter(const DrawList& list) : m_List(list) {
    for (const Batch& batch : list.opaque()) m_Steps.push_back({&batch, false, GL_NONE});
    for (const Batch& batch : list.transparent()) {
      // The far side of a body is drawn before its near side.
      if (batch.geometry->kind != KindFaces) {
        m_Steps.push_back({&batch, true, GL_NONE});
        continue;
      }
      for (const GLenum hidden : {GL_FRONT, GL_BACK}) m_Steps.push_back({&batch, true, hidden});
    }
  }

  /// Kinds of drawing for which a driver must make itself ready.
  using Kinds = std::set<std::tuple<Kind, bool, bool, bool, GLenum>>;

  bool isDone() const { return m_Step == m_Steps.size(); }

  /// Draws on, from the state that all drawing starts from, until about so many indices are drawn.
  void draw(std::size_t indices) {
    mp_Current = nullptr;
    std::size_t drawn = 0;
    while (!isDone() && drawn < indices) {
      const Step& step = m_Steps[m_Step];
      setUp(step);
      drawn += drawRanges(*step.batch, indices - drawn);
      if (m_Range < step.batch->rangeCount) continue;
      ++m_Step;
      m_Range = 0;
    }
  }

  /// Draws a little of each kind that is not in `known`, and adds it there.
  void drawSamples(Kinds* known) {
    for (const Step& step : m_Steps) {
      const Geometry& geometry = *step.batch->geometry;
      const bool textured = geometry.material && geometry.material->texture && !geometry.texCoords.empty();
      const GLenum hidden = hiddenBy(step);
      if (!known->insert({geometry.kind, isLit(geometry), textured, geometry.colors.empty(), hidden}).second) continue;
      setUp(step);
      step.batch->buffer->draw(modeOf(geometry.kind), m_List.ranges()[step.batch->firstRange]);
    }
  }

 private:
  struct Step {
    const Batch* batch;
    bool transparent;
    GLenum hidden;
  };

  static GLenum hiddenBy(const Step& step) {
    if (step.hidden != GL_NONE) return step.hidden;
    return step.batch->cullBack ? GL_BACK : GL_NONE;
  }

  void setUp(const Step& step) {
    const Batch& batch = *step.batch;
    load(GL_MODELVIEW, batch.modelView);
    glFrontFace(batch.mirrored ? GL_CW : GL_CCW);
    if (step.transparent) blend();
    const GLenum hidden = hiddenBy(step);
    if (hidden != GL_NONE) {
      glEnable(GL_CULL_FACE);
      glCullFace(hidden);
    } else {
      glDisable(GL_CULL_FACE);
    }
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, batch.cullBack ? GL_FALSE : GL_TRUE);
    if (batch.geometry == mp_Current) return;
    mp_Current = batch.geometry;
    batch.buffer->bind(*batch.geometry);
    setUpMaterial(*batch.geometry);
    glPointSize(batch.width);
    glLineWidth(batch.width);
  }

  // Colours are premultiplied where they are kept, so that alpha is the share that is covered.
  static void blend() {
    glEnable(GL_BLEND);
    functions()->glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    functions()->glBlendEquation(GL_FUNC_ADD);
    glDepthMask(GL_FALSE);
  }

  std::size_t drawRanges(const Batch& batch, std::size_t indices) {
    std::size_t drawn = 0;
    for (; m_Range < batch.rangeCount && drawn < indices; ++m_Range) {
      const Range& range = m_List.ranges()[batch.firstRange + m_Range];
      batch.buffer->draw(modeOf(batch.geometry->kind), range);
      drawn += range.count;
    }
    return drawn;
  }

  const DrawList& m_List;
  std::vector<Step> m_Steps;
  std::size_t m_Step = 0, m_Range = 0;  // the next
  const Geometry* mp_Current = nullptr;
};

}  // namespace

const double SceneDrawer::ZNEAR = 0.05;
const double SceneDrawer::ZFAR = 100.0;

struct SceneDrawer::Private {
  util::YPointer<Scene> scene;
  int width = 1, height = 1;
  int samples = 0;
  int viewHeight = 0;
  DrawList list;
  SmoothBuffer buffer;
  double indicesPerMs = 1000;  // that a part has drawn

  Painter::Kinds prepared;
  bool finishPrepared = false;

  // Of a drawing that has begun:
  std::optional<Painter> painter;
  math::Matrix4 projection;
  bool direct = false;
  int finishedRows = 0;
  SmoothBuffer::Edges edges = SmoothBuffer::Edges::Blend;

  void begin(const StateGuard& state, double detail, int layers, int kinds, const math::Matrix4& transform,
             std::initializer_list<const SceneElement*> elements);
  void bindTarget(const StateGuard& state);
  void prepare(const StateGuard& state);
  void finish(const StateGuard& state, int rows);
  void drawAll(const StateGuard& state);
  bool drawPart(const StateGuard& state, double milliseconds);
};

void SceneDrawer::Private::begin(const StateGuard& state, double detail, int layers, int kinds,
                                 const math::Matrix4& transform, std::initializer_list<const SceneElement*> elements) {
  ViewQuery query{state.projection(), width, height, detail, layers, kinds};
  scaleWidths(query, viewHeight);
  list.clear();
  for (const SceneElement* element : elements)
    if (element) list.collect(*element, state.modelView() * transform, query);
  list.sortTransparent();
  painter.emplace(list);
  finishedRows = 0;
  if (list.isEmpty()) return;

  setUpState();
  projection = state.projection();
  edges = layers & ~(LayerModel | LayerTransparent) ? SmoothBuffer::Edges::Blend : SmoothBuffer::Edges::KeepColor;
  // What is opaque, unsmoothed and without a margin may go where it shall end up: the pixels are the same.
  direct = samples == 0 && list.transparent().empty() && list.margin() == 0;
  if (!direct) direct = !buffer.begin(width, height, list.margin(), samples);
  if (!direct) buffer.suspend();
}

/// Sets up everything for drawing on: the state, the light and where to draw.
void SceneDrawer::Private::bindTarget(const StateGuard& state) {
  setUpState();
  setUpLight();
  if (direct) {
    QOpenGLContext::currentContext()->functions()->glBindFramebuffer(GL_FRAMEBUFFER, state.framebuffer());
    glViewport(0, 0, width, height);
    load(GL_PROJECTION, projection);
  } else {
    buffer.resume();
    load(GL_PROJECTION, extended(projection, width, height, list.margin()));
  }
}

/// Has the driver make what it needs for this drawing, its shaders above all. That can take long, happens when they
/// are used first, and keeps nobody else from drawing.
void SceneDrawer::Private::prepare(const StateGuard& state) {
  if (list.isEmpty()) return;
  bindTarget(state);
  if (!direct && !finishPrepared) {
    finish(state, 1);  // of the empty buffer, which leaves the caller's as it is
    bindTarget(state);
    finishedRows = 0;
    finishPrepared = true;
  }
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, 0, 0, 0);
  painter->drawSamples(&prepared);
  glFinish();
  if (!direct) buffer.suspend();
}

/// Brings the next rows of what was drawn elsewhere into the caller's framebuffer.
void SceneDrawer::Private::finish(const StateGuard& state, int rows) {
  buffer.finish(state.framebuffer(), scene->getBackgroundColor(), edges, finishedRows, rows);
  finishedRows += rows;
}

void SceneDrawer::Private::drawAll(const StateGuard& state) {
  if (list.isEmpty()) return;
  bindTarget(state);
  painter->draw(std::numeric_limits<std::size_t>::max());
  if (!direct) finish(state, height);
}

/// Draws on for about so long; whether there is more.
bool SceneDrawer::Private::drawPart(const StateGuard& state, double milliseconds) {
  if (list.isEmpty()) return false;
  bindTarget(state);
  if (painter->isDone()) {
    constexpr double PixelsPerMs = 80000;  // of software OpenGL on two processors
    finish(state, std::max(16, int(milliseconds * PixelsPerMs / width)));
    glFinish();
    return finishedRows < height;
  }
  QElapsedTimer timer;
  timer.start();
  const std::size_t indices = std::size_t(std::max(1000.0, indicesPerMs * milliseconds));
  painter->draw(indices);
  glFinish();  // or only the asking for it would be measured
  const double rate = double(indices) / std::max(0.01, double(timer.nsecsElapsed()) * 1e-6);
  // What is hidden or small takes little; what comes next may not.
  if (!painter->isDone()) indicesPerMs = std::clamp(rate, indicesPerMs / 8, indicesPerMs * 1.1);
  if (!direct) buffer.suspend();
  return !direct || !painter->isDone();
}

SceneDrawer::SceneDrawer(const util::YPointer<Scene>& scene) : d(std::make_unique<Private>()) {
  d->scene = scene;
  if (const gui::Viewer* viewer = gui::Viewer::getInstance()) {
    d->samples = viewer->getSamples();
    d->viewHeight = viewer->getViewHeight();
  }
}

SceneDrawer::~SceneDrawer() = default;

void SceneDrawer::resize(int width, int height) {
  d->width = width;
  d->height = height;
  glViewport(0, 0, width, height);
}

QColor SceneDrawer::getBackgroundColor() const { return d->scene->getBackgroundColor(); }

void SceneDrawer::setViewHeight(int pixels) { d->viewHeight = pixels; }

void SceneDrawer::setSamples(int samples) { d->samples = samples; }

void SceneDrawer::glDraw(const util::YPointer<SceneElement>& root, const util::YPointer<SceneElement>& second,
                         const math::Matrix4& transform, double detail, int layers, int kinds) {
  const StateGuard state;
  d->begin(state, detail, layers, kinds, transform, {root.get(), second.get()});
  if (!DrawingTurn::mustBeTaken()) {
    d->drawAll(state);
    return;
  }
  constexpr double PartMs = 3;
  d->prepare(state);
  for (bool more = true; more;) {
    const DrawingTurn turn;
    more = d->drawPart(state, PartMs);
  }
}

void SceneDrawer::beginParts(const util::YPointer<SceneElement>& root, const math::Matrix4& transform, int layers,
                             int kinds) {
  d->begin(StateGuard(), 0.0, layers, kinds, transform, {root.get()});
}

void SceneDrawer::upload(const SceneElement& root) { BufferCache::fill(root); }

bool SceneDrawer::drawPart(double milliseconds) { return d->drawPart(StateGuard(), milliseconds); }

}  // namespace nubo::scene
