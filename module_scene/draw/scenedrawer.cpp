#include "module_scene/draw/scenedrawer.h"

#include <QElapsedTimer>
#include <QOpenGLFunctions>
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "module_scene/draw/backdroppainter.h"
#include "module_scene/draw/contactmap.h"
#include "module_scene/draw/drawingsettings.h"
#include "module_scene/draw/drawingstate.h"
#include "module_scene/draw/drawingturn.h"
#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/groundshadow.h"
#include "module_scene/draw/joinedparts.h"
#include "module_scene/draw/pace.h"
#include "module_scene/draw/painter.h"
#include "module_scene/draw/pointplotter.h"
#include "module_scene/draw/smoothbuffer.h"
#include "module_scene/draw/stillparts.h"
#include "module_scene/draw/viewpoint.h"
#include "module_scene/mesh/meshbuilder.h"

namespace nubo::scene {

const double SceneDrawer::ZNEAR = 0.05;
const double SceneDrawer::ZFAR = 100.0;

struct SceneDrawer::Private : DrawingSettings {
  using Roots = std::array<const SceneElement*, 2>;  // of which either may be null

  explicit Private(const util::YPointer<Scene>& of)
      : DrawingSettings(of ? DrawingSettings(*of) : DrawingSettings()), scene(of) {}

  util::YPointer<Scene> scene;
  int width = 1, height = 1;
  SceneParts parts;
  JoinedParts joined;
  Outlines outlines;
  DrawList list;  // of which some may be there
  std::shared_ptr<SurfaceShader> shader = std::make_shared<SurfaceShader>();
  ContactMap contact;
  GroundShadow ground;
  SmoothBuffer buffer;
  PointPlotter plotter;
  StillParts still;
  util::YPointer<SceneElement> sample;  // that prepare() draws with
  Pace pace;                            // of parts

  Painter::Kinds prepared;
  bool finishPrepared = false;
  // Of a drawing that has begun:
  std::optional<Painter> painter;
  Viewpoint viewpoint;
  int fineness = 1;  // pixels that are drawn, for one of the caller's, on each axis
  int finest = std::numeric_limits<int>::max();
  bool shaded = false, onGround = false, direct = false;
  double facesBack = 1;    // pixels over which they fall
  bool inContact = false;  // the map of contact is looked up
  Painter::Share share = Painter::Share::All;
  bool plotted = false;  // and waits to be brought into the buffer
  bool painted = false;  // and waits to be finished
  int finishedRows = 0;
  SmoothBuffer::Edges edges = SmoothBuffer::Edges::Blend;
  BackdropPainter backdrop;

  void begin(const StateGuard& state, bool atOnce, double detail, int layers, int kinds, const math::Matrix4& transform,
             const Roots& roots);
  bool isEmpty() const { return list.isEmpty() && !onGround && !plotted; }
  bool mayShade() { return look != Look::Plain && shader->isAvailable(); }
  bool mayPlot(bool atOnce, double detail);
  void plot();
  bool beginContact(int kinds, const Roots& roots);
  void bindTarget(const StateGuard& state);
  void prepare(const StateGuard& state);
  void finish(const StateGuard& state, int rows);
  bool beginDrawing(const ViewQuery& query, int samplesNeeded);
  void paint(std::size_t indices);
  void drawAll(const StateGuard& state);
  bool drawContact(double milliseconds);
  bool drawPart(const StateGuard& state, double milliseconds);
};

void SceneDrawer::Private::begin(const StateGuard& state, bool atOnce, double detail, int layers, int kinds,
                                 const math::Matrix4& transform, const Roots& roots) {
  viewpoint = Viewpoint::of(state.projection(), state.modelView() * transform);
  // Pictures have no background, so that they can be laid over any.
  const bool isBehind = !ViewQuery::isPicture(layers);
  const bool isBackdrop = isBehind && scene && backdrop.draw(scene->getBackground(), QSize(width, height));
  using Edges = SmoothBuffer::Edges;
  edges = isBackdrop ? Edges::BlendOver : isBehind ? Edges::Blend : Edges::KeepColor;
  ViewQuery query{viewpoint.projection, width, height, detail, layers, kinds};
  query.samples = samples;
  query.sieved = atOnce;
  query.edges = drawsEdges || look == Look::Technical;
  query.scaleWidths(viewHeight, viewpoint.lens);
  const int samplesNeeded = query.samplesNeeded();
  fineness = std::min(finest, SmoothBuffer::fineness(width, height, samplesNeeded));
  query.width *= fineness;
  query.height *= fineness;
  query.widthScale *= fineness;
  list.clear();
  if (query.edges && detail == 0 && scene) {
    outlines.begin(viewpoint, scene->changeCount());
    query.outlines = &outlines;
  }
  scene ? parts.update({roots, scene->changeCount(), section}) : parts.reset({roots, 0, section});
  query.plotted = mayPlot(atOnce, detail);
  const bool mayJoin = atOnce && detail > 0 && !query.edges && !joined.groups().empty();
  if (mayJoin && joined.begin(parts, mayShade(), viewpoint)) query.joined = &joined;
  list.collect(parts, viewpoint.view, query);
  list.sortTransparent();
  facesBack = query.edges ? 1 + 0.75 * query.widthScale : 1;  // half of an edge's width
  shaded = !list.isEmpty() && mayShade();
  inContact = beginContact(kinds, roots);
  onGround = drawsGround && ground.begin(roots, parts.version(), kinds, parts, *shader) && ground.isSeen(viewpoint);
  QOpenGLContext::currentContext()->functions()->glBindFramebuffer(GL_FRAMEBUFFER, state.framebuffer());
  finishedRows = 0;
  painted = false;
  share = Painter::Share::All;
  plotted = query.plotted && !list.isEmpty();
  if (plotted) return plot();
  if (beginDrawing(query, samplesNeeded)) return;
  finest = 1;  // which the driver has memory for, perhaps
  begin(state, atOnce, detail, layers, kinds, transform, roots);
}

/// Decides where to draw, and whether all of it. False: there is no memory for so many pixels.
bool SceneDrawer::Private::beginDrawing(const ViewQuery& query, int samplesNeeded) {
  painter.emplace(list, shaded ? shader.get() : nullptr);
  if (isEmpty()) return true;

  setUpState();
  // What is in contact looks otherwise when something else moves.
  auto found = StillParts::Found::Other;
  if (scene && !inContact && !query.joined && buffer.isAvailable(fineness))
    found = still.compare(parts, {viewpoint, query, look, environment, section});
  if (found != StillParts::Found::Same) buffer.dropKept();
  // What is opaque, unsmoothed and without a margin may go where it shall end up: the pixels are the same.
  direct = samples == 0 && list.transparent().empty() && list.margin() == 0 && !onGround &&
           found == StillParts::Found::Other;
  if (direct) return true;
  direct = !buffer.begin(width, height, fineness, list.margin(), samplesNeeded);
  if (direct) return fineness == 1;
  if (found != StillParts::Found::Other) {
    share = buffer.hasKept() ? Painter::Share::Moving : Painter::Share::Still;
    painter.emplace(list, shaded ? shader.get() : nullptr, still, share);
    if (share == Painter::Share::Moving) buffer.bringBack();
  }
  buffer.suspend();
  return true;
}

/// Whether OpenGL need not draw, which takes longer where it is software.
bool SceneDrawer::Private::mayPlot(bool atOnce, double detail) {
  const bool isPlain = !mayShade() && !drawsGround && !section;
  return atOnce && detail == 0 && isPlain && parts.arePlainPoints() && isSoftware() && buffer.isAvailable(fineness);
}

void SceneDrawer::Private::plot() {
  setUpState();
  const int margin = list.margin(), fineWidth = fineness * width, fineHeight = fineness * height;
  plotter.plot(list, extended(viewpoint.projection, fineWidth, fineHeight, margin), fineWidth + 2 * margin,
               fineHeight + 2 * margin, samples);
  plotted = buffer.begin(width, height, fineness, margin, plotter.pixels().data());
  buffer.suspend();
  direct = false;
  list.clear();
  painter.emplace(list, nullptr);
}

/// Whether surfaces take each other light here.
bool SceneDrawer::Private::beginContact(int kinds, const Roots& roots) {
  if (!drawsContact || (look != Look::Studio && look != Look::Clay) || !shader->isAvailable()) return false;
  // Also where this tile shows nothing: the map learns the whole view from the first.
  return contact.begin(viewpoint, {roots, parts.version(), kinds, viewHeight}, parts, *shader) && shaded;
}

/// Sets up everything for drawing on: the state, the light and where to draw.
void SceneDrawer::Private::bindTarget(const StateGuard& state) {
  setUpState();
  shaded ? shader->begin(viewpoint, look, environment) : setUpLight();
  if (inContact)
    shader->setContact(contact.texture(), contact.lookup(viewpoint, {fineness * width, fineness * height,
                                                                     direct ? 0 : list.margin(), facesBack}));
  if (shaded || drawsEdges) setFacesBack(facesBack);
  if (direct) {
    QOpenGLContext::currentContext()->functions()->glBindFramebuffer(GL_FRAMEBUFFER, state.framebuffer());
    glViewport(0, 0, width, height);
    load(GL_PROJECTION, viewpoint.projection);
  } else {
    buffer.resume();
    load(GL_PROJECTION, extended(viewpoint.projection, fineness * width, fineness * height, list.margin()));
  }
}

/// Has the driver make what it needs for this drawing, its shaders above all. That can take long, happens when they
/// are used first, and keeps nobody else from drawing.
void SceneDrawer::Private::prepare(const StateGuard& state) {
  if (isEmpty() || plotted) return;
  if (inContact) contact.prepare();
  bindTarget(state);
  if (!direct && !finishPrepared && share != Painter::Share::Moving) {
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
  if (isEmpty()) return;
  if (inContact) contact.draw(std::numeric_limits<std::size_t>::max());
  while (!painted) {
    bindTarget(state);
    paint(std::numeric_limits<std::size_t>::max());
  }
  if (!direct) finish(state, height);
}

/// Draws about so many indices, and then what is behind all.
void SceneDrawer::Private::paint(std::size_t indices) {
  painter->draw(indices);
  if (!painter->isDone()) return;
  if (share == Painter::Share::Still) {
    buffer.keep();
    share = Painter::Share::Moving;
    painter.emplace(list, shaded ? shader.get() : nullptr, still, share);
    return;
  }
  if (onGround) ground.draw(viewpoint);
  painted = true;
}

/// Draws on what all tiles look up, for about so long; whether it did.
bool SceneDrawer::Private::drawContact(double milliseconds) {
  if (!inContact || contact.isComplete()) return false;
  contact.draw(pace.indicesFor(milliseconds));
  glFinish();
  return true;
}

/// Draws on for about so long; whether there is more.
bool SceneDrawer::Private::drawPart(const StateGuard& state, double milliseconds) {
  if (isEmpty()) return false;
  if (drawContact(milliseconds)) return true;
  bindTarget(state);
  if (painted) {
    constexpr double PixelsPerMs = 80000;  // of software OpenGL on two processors
    finish(state, std::max(16, int(milliseconds * PixelsPerMs / width)));
    glFinish();
    return finishedRows < height;
  }
  QElapsedTimer timer;
  timer.start();
  const std::size_t indices = pace.indicesFor(milliseconds);
  paint(indices);
  glFinish();  // or only the asking for it would be measured
  if (!painter->isDone()) pace.learn(indices, timer.nsecsElapsed());
  if (!direct) buffer.suspend();
  return !direct || !painted;
}

SceneDrawer::SceneDrawer(const util::YPointer<Scene>& scene, const SceneDrawer* other)
    : d(std::make_unique<Private>(scene)) {
  if (other) d->shader = other->d->shader;
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
void SceneDrawer::setContact(bool drawn) { d->drawsContact = drawn; }
void SceneDrawer::setGround(bool drawn) { d->drawsGround = drawn; }
void SceneDrawer::setEnvironment(const util::YPointer<Environment>& environment) { d->environment = environment; }
void SceneDrawer::setSection(const util::YPointer<Section>& section) { d->section = section; }

void SceneDrawer::glDraw(const util::YPointer<SceneElement>& root, const util::YPointer<SceneElement>& second,
                         const math::Matrix4& transform, double detail, int layers, int kinds) {
  const StateGuard state;
  d->begin(state, true, detail, layers, kinds, transform, {root.get(), second.get()});
  if (!DrawingTurn::mustBeTaken()) return d->drawAll(state);
  constexpr double PartMs = 3;
  d->prepare(state);
  for (bool more = true; more;) {
    const DrawingTurn turn;
    more = d->drawPart(state, PartMs);
  }
}

bool SceneDrawer::isEmpty() const { return d->isEmpty(); }

void SceneDrawer::beginParts(const util::YPointer<SceneElement>& root, const math::Matrix4& transform, int layers,
                             int kinds) {
  d->begin(StateGuard(), false, 0.0, layers, kinds, transform, {root.get()});
}

void SceneDrawer::upload(const SceneElement& root) {
  SceneParts parts;
  parts.reset({{&root}});
  BufferCache::fill(parts.geometries());
  BufferCache::fill(root);
  BufferCache::buffer(studio());
}

bool SceneDrawer::join(const SceneElement& root, double milliseconds) {
  d->parts.update({{&root}, d->scene->changeCount(), d->section});
  return d->joined.join(d->parts, d->mayShade(), milliseconds);
}

bool SceneDrawer::makeReady() {
  const StateGuard state;
  return d->look != Look::Plain && (d->shader->makeNext() || (d->drawsContact && d->contact.makeNext()));
}

void SceneDrawer::prepare(double detail) {
  // Faces that are large, and such as are small in any view.
  const util::YPointer<SceneElement>& sample = d->sample = new SceneElement;
  sample->addGeometry(MeshBuilder(nullptr).box({-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5}).finish());
  sample->addGeometry(MeshBuilder(nullptr).sphere({0, 0, 0}, 1e-3, 8, 4).finish());
  const StateGuard state;
  d->begin(state, detail > 0, detail, LayerModel, KindFaces, math::translation(0, 0, -3), {sample.get()});
  d->prepare(state);
}

bool SceneDrawer::drawPart(double milliseconds) { return d->drawPart(StateGuard(), milliseconds); }

}  // namespace nubo::scene
