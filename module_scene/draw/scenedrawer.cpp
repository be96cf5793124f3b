#include "module_scene/draw/scenedrawer.h"

#include <QElapsedTimer>
#include <QOpenGLFunctions>
#include <cmath>
#include <limits>
#include <optional>

#include "module_scene/draw/drawingstate.h"
#include "module_scene/draw/drawingturn.h"
#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/environment.h"
#include "module_scene/draw/painter.h"
#include "module_scene/draw/smoothbuffer.h"
#include "module_scene/draw/viewpoint.h"

namespace nubo::scene {

namespace {

double widest(GLenum smooth, GLenum plain) {
  GLfloat ranges[2][2]{};
  glGetFloatv(smooth, ranges[0]);
  glGetFloatv(plain, ranges[1]);
  return double(std::max(1.0f, std::min(ranges[0][1], ranges[1][1])));
}

// A tile shows a part of the frustum as large as the whole picture does, so that its scale is the picture's.
void scaleWidths(ViewQuery& query, double lens, int viewHeight) {
  if (viewHeight > 0) {
    const double halfOpening = std::acos(-1.0) / 8;
    query.widthScale = query.height * std::abs(query.projection(1, 1)) / lens * std::tan(halfOpening) / viewHeight;
  }
  query.widestPoint = widest(GL_SMOOTH_POINT_SIZE_RANGE, GL_ALIASED_POINT_SIZE_RANGE);
  query.widestLine = widest(GL_SMOOTH_LINE_WIDTH_RANGE, GL_ALIASED_LINE_WIDTH_RANGE);
}

}  // namespace

const double SceneDrawer::ZNEAR = 0.05;
const double SceneDrawer::ZFAR = 100.0;

struct SceneDrawer::Private {
  util::YPointer<Scene> scene;
  int width = 1, height = 1;
  int samples = 0;
  int viewHeight = 0;
  Look look = Look::Studio;
  bool drawsEdges = false;
  util::YPointer<Environment> environment;
  DrawList list;
  SurfaceShader shader;
  SmoothBuffer buffer;
  double indicesPerMs = 1000;  // that a part has drawn

  Painter::Kinds prepared;
  bool finishPrepared = false;

  // Of a drawing that has begun:
  std::optional<Painter> painter;
  Viewpoint viewpoint;
  bool shaded = false;
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
  viewpoint = Viewpoint::of(state.projection(), state.modelView() * transform);
  ViewQuery query{viewpoint.projection, width, height, detail, layers, kinds};
  query.edges = drawsEdges || look == Look::Technical;
  scaleWidths(query, viewpoint.lens, viewHeight);
  list.clear();
  for (const SceneElement* element : elements)
    if (element) list.collect(*element, viewpoint.view, query);
  list.sortTransparent();
  shaded = look != Look::Plain && !list.isEmpty() && shader.isAvailable();
  painter.emplace(list, shaded ? &shader : nullptr);
  finishedRows = 0;
  if (list.isEmpty()) return;

  setUpState();
  edges = layers & ~(LayerModel | LayerTransparent) ? SmoothBuffer::Edges::Blend : SmoothBuffer::Edges::KeepColor;
  // What is opaque, unsmoothed and without a margin may go where it shall end up: the pixels are the same.
  direct = samples == 0 && list.transparent().empty() && list.margin() == 0;
  if (!direct) direct = !buffer.begin(width, height, list.margin(), samples);
  if (!direct) buffer.suspend();
}

/// Sets up everything for drawing on: the state, the light and where to draw.
void SceneDrawer::Private::bindTarget(const StateGuard& state) {
  setUpState();
  shaded ? shader.begin(viewpoint, look, environment) : setUpLight();
  if (shaded || drawsEdges) setFacesBack();
  if (direct) {
    QOpenGLContext::currentContext()->functions()->glBindFramebuffer(GL_FRAMEBUFFER, state.framebuffer());
    glViewport(0, 0, width, height);
    load(GL_PROJECTION, viewpoint.projection);
  } else {
    buffer.resume();
    load(GL_PROJECTION, extended(viewpoint.projection, width, height, list.margin()));
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
  if (!scene) return;
  d->samples = scene->getSamples();
  d->viewHeight = scene->getViewHeight();
  d->look = scene->getLook();
  d->drawsEdges = scene->hasEdges();
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

void SceneDrawer::setLook(Look look) { d->look = look; }

void SceneDrawer::setEdges(bool drawn) { d->drawsEdges = drawn; }

void SceneDrawer::setEnvironment(const util::YPointer<Environment>& environment) { d->environment = environment; }

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

void SceneDrawer::upload(const SceneElement& root) {
  BufferCache::fill(root);
  BufferCache::buffer(studio());
}

bool SceneDrawer::drawPart(double milliseconds) { return d->drawPart(StateGuard(), milliseconds); }

}  // namespace nubo::scene
