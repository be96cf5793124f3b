#include "nubo/window/viewpanel.h"

#include <QElapsedTimer>
#include <QKeyEvent>
#include <QOpenGLFunctions>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "module_scene/draw/drawingturn.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/framing.h"
#include "module_scene/gui/viewer.h"

namespace nubo::window {

namespace {

constexpr int RestMs = 250;
constexpr int SmoothMs = 20;  // a drawing that takes longer makes turning jerky
constexpr double PartMs = 10;
constexpr double LeastDetail = 4, MostDetail = 128;
constexpr int RoomForMore = 8;  // times as much; a finer version of a model has some 5 times as many faces
constexpr double OrbitStep = 5, PanStep = 0.05, ZoomStep = 1.15;

/// Where a point of eye space lies in a panel; nothing behind the eye.
std::optional<QPointF> project(const math::Vector3& eye, const QSize& size) {
  constexpr double HalfOpening = 0.39269908169872414;  // 22.5 degrees
  if (eye[2] > -0.01) return std::nullopt;
  const double unit = 0.5 * size.height() / (std::tan(HalfOpening) * -eye[2]);
  return QPointF(0.5 * size.width() + eye[0] * unit, 0.5 * size.height() - eye[1] * unit);
}

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

ViewPanel::ViewPanel(QWidget* parent) : ScenePanel(parent) {
  setAccessibleName(tr("3-D view"));
  scene::DrawingTurn::setShared();
  m_Rest.setSingleShot(true);
  connect(&m_Rest, &QTimer::timeout, &m_Parts, qOverload<>(&QTimer::start));
  connect(&m_Parts, &QTimer::timeout, this, &ViewPanel::drawOn);
  connect(this, &ScenePanel::cameraChanged, this, [this] { m_ShowsAll = false; });
  static CompositionTurn s_Composition;
  connect(this, &QOpenGLWidget::aboutToCompose, this, [] { s_Composition.begin(); });
  connect(this, &QOpenGLWidget::frameSwapped, this, [] { s_Composition.end(); });
}

ViewPanel::~ViewPanel() {
  makeCurrent();
  m_WholeDrawer.reset();
  m_Whole.reset();
  doneCurrent();
}

void ViewPanel::setSelection(const util::YPointer<scene::SceneElement>& element) {
  m_Selection = element;
  update();
}

void ViewPanel::showAll() {
  fit();
  m_ShowsAll = true;
}

void ViewPanel::lookLike(const ViewPanel& other) {
  setCamera(other.getCamera());
  m_ShowsAll = other.m_ShowsAll;
}

void ViewPanel::showView(const QString& name) {
  gui::Camera camera = getCamera();
  if (!camera.setView(name)) return;
  setCamera(camera);
  showAll();
}

void ViewPanel::fitSelection() {
  std::optional<gui::Framing> framing;
  {
    const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
    const scene::SceneElement* parent = m_Selection ? m_Selection->getParent() : nullptr;
    const math::Matrix4 placed = parent ? parent->getGlobalTransform() : math::Matrix4();
    const scene::BoundingBox box =
        m_Selection ? m_Selection->getBoundingBox().transformed(placed) : scene::BoundingBox();
    if (!box.isEmpty()) framing.emplace(getCamera(), box).addTurning(*m_Selection, placed);
  }
  if (!framing) return showAll();
  setCamera(framing->camera(width(), height()));
}

void ViewPanel::zoom(double factor) {
  gui::Camera camera = getCamera();
  camera.zoom(factor);
  setCamera(camera);
}

void ViewPanel::initializeGL() {
  ScenePanel::initializeGL();
  m_WholeDrawer.reset();
  m_Whole.reset();
  m_Begun.reset();
}

void ViewPanel::paintGL() {
  paintScene();
  paintOver();
}

void ViewPanel::paintScene() {
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
  const scene::DrawingTurn turn;
  const View view = currentView();
  const auto isWhole = [&] { return m_Complete && m_Begun == view; };
  QElapsedTimer timer;
  timer.start();
  while (!isWhole() && !m_Slow) m_Slow = !drawPart(view) && timer.elapsed() > SmoothMs;
  if (isWhole()) {
    QOpenGLFramebufferObject::blitFramebuffer(nullptr, m_Whole.get());
    return;
  }
  paintThinned();
  if (m_Thinned == view) return;
  m_Thinned = view;
  m_Parts.stop();
  m_Rest.start(RestMs);
}

ViewPanel::View ViewPanel::currentView() const {
  return {getScaledTransformMatrix(), size() * devicePixelRatioF(), scene::_GlobalScene()->getSamples(),
          scene::_GlobalScene()->changeCount()};
}

void ViewPanel::paintThinned() {
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
void ViewPanel::drawOn() {
  makeCurrent();
  {
    const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
    const scene::DrawingTurn turn;
    if (!drawPart(currentView())) return;
  }
  m_Parts.stop();
  update();
}

/// Whether the whole is now complete.
bool ViewPanel::drawPart(const View& view) {
  if (!m_WholeDrawer) m_WholeDrawer = std::make_unique<scene::SceneDrawer>(scene::_GlobalScene());
  if (!m_Whole || m_Whole->size() != view.pixels)
    m_Whole = std::make_unique<QOpenGLFramebufferObject>(view.pixels, QOpenGLFramebufferObject::CombinedDepthStencil);
  m_Whole->bind();
  if (!(m_Begun == view)) {
    beginFrame(*m_WholeDrawer, view.samples);
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

void ViewPanel::resizeEvent(QResizeEvent* event) {
  ScenePanel::resizeEvent(event);
  if (m_ShowsAll && !m_Held) showAll();
}

void ViewPanel::paintOver() {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  paintSelection(painter);
  paintAxes(painter);
  if (!scene::_GlobalScene()->getRootNode()) paintInvitation(painter);
  if (!isShownAsActive()) return;
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
  painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

bool ViewPanel::isShownAsActive() const {
  const gui::Viewer* viewer = gui::Viewer::getInstance();
  return viewer && viewer->getActivePanel() == this && (viewer->getPanels().size() > 1 || m_FocusedByKey);
}

void ViewPanel::paintAxes(QPainter& painter) const {
  constexpr double Length = 26, Margin = 46;
  struct Axis {
    const char* name;
    QColor color;
    int index;
  };
  std::array<Axis, 3> axes{
      {{"x", QColor(0xe0, 0x50, 0x48), 0}, {"y", QColor(0x5c, 0xb8, 0x50), 1}, {"z", QColor(0x58, 0x90, 0xf0), 2}}};
  const math::Matrix4 view = getScaledTransformMatrix();
  const double scale = getCamera().scale;
  std::sort(axes.begin(), axes.end(),
            [&](const Axis& a, const Axis& b) { return view(2, a.index) < view(2, b.index); });
  const QPointF origin(Margin, height() - Margin);
  for (const Axis& axis : axes) {
    const QPointF direction(view(0, axis.index) / scale, -view(1, axis.index) / scale);
    painter.setPen(QPen(axis.color, 2));
    painter.drawLine(origin, origin + direction * Length);
    painter.drawText(QRectF(origin + direction * (Length + 9) - QPointF(8, 8), QSizeF(16, 16)), Qt::AlignCenter,
                     QString::fromLatin1(axis.name));
  }
}

void ViewPanel::paintInvitation(QPainter& painter) const {
  const QColor background = scene::_GlobalScene()->getBackgroundColor();
  painter.setPen(background.lightness() < 128 ? QColor(0xc8, 0xcc, 0xd4) : QColor(0x40, 0x44, 0x4c));
  painter.drawText(rect(), Qt::AlignCenter, tr("Drop model files here, or open them with Ctrl+O"));
}

void ViewPanel::paintSelection(QPainter& painter) const {
  if (!m_Selection) return;
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
  const scene::SceneElement* parent = m_Selection->getParent();
  const math::Matrix4 view = getScaledTransformMatrix() * (parent ? parent->getGlobalTransform() : math::Matrix4());
  const scene::BoundingBox box = m_Selection->getBoundingBox();
  if (box.isEmpty()) return;
  std::array<std::optional<QPointF>, 8> corners;
  for (int i = 0; i < 8; ++i) {
    const math::Vector3 corner{i & 1 ? box.max[0] : box.min[0], i & 2 ? box.max[1] : box.min[1],
                               i & 4 ? box.max[2] : box.min[2]};
    corners[i] = project(math::transformPoint(view, corner), size());
  }
  painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
  for (int i = 0; i < 8; ++i)
    for (const int bit : {1, 2, 4})
      if (!(i & bit) && corners[i] && corners[i | bit]) painter.drawLine(*corners[i], *corners[i | bit]);
}

void ViewPanel::mousePressEvent(QMouseEvent* event) {
  ScenePanel::mousePressEvent(event);
  emit activated();
}

void ViewPanel::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) showAll();
}

void ViewPanel::keyPressEvent(QKeyEvent* event) {
  const bool pans = event->modifiers() & Qt::ShiftModifier;
  gui::Camera camera = getCamera();
  const auto move = [&](double right, double up) {
    if (pans)
      camera.pan(right * PanStep, up * PanStep);
    else
      camera.orbit(right * OrbitStep, up * OrbitStep);
  };
  switch (event->key()) {
    case Qt::Key_Left:
      move(-1, 0);
      break;
    case Qt::Key_Right:
      move(1, 0);
      break;
    case Qt::Key_Up:
      move(0, 1);
      break;
    case Qt::Key_Down:
      move(0, -1);
      break;
    case Qt::Key_Plus:
    case Qt::Key_PageUp:
      camera.zoom(ZoomStep);
      break;
    case Qt::Key_Minus:
    case Qt::Key_PageDown:
      camera.zoom(1 / ZoomStep);
      break;
    case Qt::Key_Home:
      return showAll();
    default:
      return ScenePanel::keyPressEvent(event);
  }
  setCamera(camera);
}

void ViewPanel::focusInEvent(QFocusEvent* event) {
  ScenePanel::focusInEvent(event);
  if (gui::Viewer* viewer = gui::Viewer::getInstance()) viewer->setActivePanel(this);
  m_FocusedByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
  emit activated();
}

void ViewPanel::focusOutEvent(QFocusEvent* event) {
  ScenePanel::focusOutEvent(event);
  m_FocusedByKey = false;
  update();
}

}  // namespace nubo::window
