#include "nubo/window/panels/progressivepanel.h"

#include <QElapsedTimer>
#include <QOpenGLFunctions>
#include <algorithm>
#include <tuple>
#include <utility>

#include "module_scene/draw/drawingturn.h"
#include "module_scene/gui/viewer.h"
#include "module_scene/mesh/coarsening.h"

namespace nubo::window {

namespace {

constexpr int RestMs = 250;
constexpr int SmoothMs = 20;  // a drawing that takes longer makes turning jerky
constexpr double PartMs = 10, JoinMs = 3;
constexpr double FirstJoinMs = 60;  // in which some twenty thousand parts are joined
constexpr double LeastDetail = 4, MostDetail = 16;
constexpr int RoomForMore = 5;  // times as much; twice the resolution has four times as many pixels

/// The application thread's turn while Qt puts a window together from what its panels have drawn.
class CompositionTurn {
 public:
  /// By each of the window's panels.
  void begin() {
    if (m_Panels++ == 0) m_Turn.emplace();
  }
  void end() {
    if (--m_Panels == 0) m_Turn.reset();
  }

 private:
  int m_Panels = 0;
  std::optional<scene::DrawingTurn> m_Turn;
};

}  // namespace

ProgressivePanel::ProgressivePanel(QWidget* parent) : ScenePanel(parent) {
  scene::DrawingTurn::setShared();
  m_Rest.setSingleShot(true);
  connect(&m_Rest, &QTimer::timeout, &m_Parts, qOverload<>(&QTimer::start));
  connect(&m_Parts, &QTimer::timeout, this, &ProgressivePanel::drawOn);
  connect(&m_Ready, &QTimer::timeout, this, &ProgressivePanel::makeReady);
  static CompositionTurn s_Composition;
  connect(this, &QOpenGLWidget::aboutToCompose, this, [] { s_Composition.begin(); });
  connect(this, &QOpenGLWidget::frameSwapped, this, [] { s_Composition.end(); });
}

ProgressivePanel::~ProgressivePanel() {
  makeCurrent();
  m_WholeDrawer.reset();
  m_Whole.reset();
  doneCurrent();
}

void ProgressivePanel::initializeGL() {
  ScenePanel::initializeGL();
  m_WholeDrawer.reset();
  m_Whole.reset();
  m_Begun.reset();
  m_Ready.start();
}

/// Nobody waits for it while the first model is read.
void ProgressivePanel::makeReady() {
  makeCurrent();
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
  const scene::DrawingTurn turn;
  if (wholeDrawer().makeReady()) return;
  m_Ready.stop();
  const View view = currentView();
  bindWhole(view);
  m_Begun.reset();
  beginFrame(wholeDrawer(), view.samples);
  wholeDrawer().prepare(0);
  m_Whole->release();
  m_PreparesThinned = true;
  update();
}

void ProgressivePanel::bindWhole(const View& view) {
  if (!m_Whole || m_Whole->size() != view.pixels)
    m_Whole = std::make_unique<QOpenGLFramebufferObject>(view.pixels, QOpenGLFramebufferObject::CombinedDepthStencil);
  m_Whole->bind();
}

scene::SceneDrawer& ProgressivePanel::wholeDrawer() {
  if (!m_WholeDrawer) m_WholeDrawer = std::make_unique<scene::SceneDrawer>(scene::_GlobalScene(), &drawer());
  return *m_WholeDrawer;
}

void ProgressivePanel::paintGL() {
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
  const scene::DrawingTurn turn;
  // Not before, since what enlarges its pixels would have to be made again for a frame.
  if (std::exchange(m_PreparesThinned, false)) prepareThinned();
  const View view = currentView();
  if (isNewAndLarge()) {
    m_Slow = true;
    m_MovingDetail = MostDetail;  // until it is known how long it takes
    m_IsJoinedFirst = true;
  }
  const auto isWhole = [&] { return m_Complete && m_Begun == view; };
  QElapsedTimer timer;
  timer.start();
  while (!isWhole() && !m_Slow) m_Slow = !drawPart(view) && timer.elapsed() > SmoothMs;
  if (isWhole()) {
    QOpenGLFramebufferObject::blitFramebuffer(nullptr, m_Whole.get());
    return;
  }
  // To draw thousands of parts one by one, even once, takes longer than that.
  if (m_IsJoinedFirst) m_IsJoinedFirst = drawer().join(*m_Root, FirstJoinMs);
  paintThinned();
  // A little for each frame, since what is too slow to be turned may not come to rest while it is.
  if (m_Root) std::ignore = drawer().join(*m_Root, JoinMs);
  if (m_Thinned == view) return;
  m_Thinned = view;
  m_Parts.stop();
  m_Rest.start(RestMs);
}

/// Whether there is another model than before, which nobody expects to be drawn at once.
bool ProgressivePanel::isNewAndLarge() {
  const auto root = scene::_GlobalScene()->getRootNode();
  return std::exchange(m_Root, root) != root && root && scene::isWorthCoarsening(*root);
}

ProgressivePanel::View ProgressivePanel::currentView() const {
  const auto scene = scene::_GlobalScene();
  return {getScaledTransformMatrix(), getWidening(),           size() * devicePixelRatioF(), scene->getSamples(),
          scene->getLook(),           scene->hasEdges(),       scene->hasContact(),          scene->hasGround(),
          scene->getSection(),        scene->getEnvironment(), scene->changeCount()};
}

QImage ProgressivePanel::picture() {
  makeCurrent();
  QImage picture;
  {
    const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
    const scene::DrawingTurn turn;
    const View view = currentView();
    while (!(m_Complete && m_Begun == view)) drawPart(view);
    picture = m_Whole->toImage();
  }
  doneCurrent();
  return picture.reinterpretAsFormat(QImage::Format_RGB32) ? picture : QImage();
}

void ProgressivePanel::paintThinned() {
  QElapsedTimer timer;
  timer.start();
  setDetail(m_MovingDetail);
  ScenePanel::paintGL();
  context()->functions()->glFinish();  // or only the asking for it would be measured
  if (timer.elapsed() > SmoothMs)
    m_MovingDetail = std::min(2 * m_MovingDetail, MostDetail);
  else if (RoomForMore * timer.elapsed() < SmoothMs)
    m_MovingDetail = std::max(m_MovingDetail / 2, LeastDetail);
}

/// Draws one part of the whole model after the other while nothing else happens.
void ProgressivePanel::drawOn() {
  makeCurrent();
  {
    const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
    const scene::DrawingTurn turn;
    // First, since the view may begin to move again at any time.
    const auto root = scene::_GlobalScene()->getRootNode();
    if (root && drawer().join(*root, PartMs)) return;
    if (!drawPart(currentView())) return;
  }
  m_Parts.stop();
  update();
}

/// Whether the whole is now complete.
bool ProgressivePanel::drawPart(const View& view) {
  bindWhole(view);
  if (!(m_Begun == view)) {
    beginFrame(wholeDrawer(), view.samples);
    m_WholeDrawer->beginParts(scene::_GlobalScene()->getRootNode(), view.transform, AllLayers, AllKinds);
    m_Begun = view;
    m_Complete = false;
    m_WholeTime = 0;
  }
  QElapsedTimer timer;
  timer.start();
  m_Complete = !m_WholeDrawer->drawPart(PartMs);
  m_WholeTime += timer.elapsed();
  if (m_Complete) endFrame();
  m_Whole->release();
  if (m_Complete) m_Slow = m_WholeTime > SmoothMs;
  return m_Complete;
}

}  // namespace nubo::window
