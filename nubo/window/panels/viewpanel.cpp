#include "nubo/window/panels/viewpanel.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "module_scene/draw/viewpoint.h"
#include "module_scene/gui/framing.h"
#include "module_scene/gui/viewer.h"
#include "nubo/window/panels/overlay.h"

namespace nubo::window {

namespace {

constexpr double OrbitStep = 5, PanStep = 0.05, ZoomStep = 1.15;

}  // namespace

ViewPanel::ViewPanel(QWidget* parent) : ProgressivePanel(parent) {
  setAccessibleName(tr("3-D view"));
  connect(this, &ScenePanel::cameraChanged, this, [this] { m_ShowsAll = false; });
}

void ViewPanel::setSelection(const util::YPointer<scene::SceneElement>& element) {
  m_Selection = element;
  update();
}

void ViewPanel::showAll() {
  fit(fittedArea());
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

void ViewPanel::setOrthographic(bool orthographic) {
  gui::Camera camera = getCamera();
  camera.orthographic = orthographic;
  setCamera(camera);
  if (m_ShowsAll) showAll();
}

void ViewPanel::fitSelection() {
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
  const scene::SceneElement* parent = m_Selection ? m_Selection->getParent() : nullptr;
  const math::Matrix4 placed = parent ? parent->getGlobalTransform() : math::Matrix4();
  const scene::BoundingBox box = m_Selection ? m_Selection->getBoundingBox().transformed(placed) : scene::BoundingBox();
  if (box.isEmpty()) return showAll();
  gui::Framing still(getCamera(), box), turning = still;
  still.add(*m_Selection, placed);
  turning.addTurning(*m_Selection, placed);
  const QSize area = fittedArea();
  setCamera(turning.camera(area.width(), area.height(), &still, getMargin()));
}

void ViewPanel::zoom(double factor) {
  gui::Camera camera = getCamera();
  camera.zoom(factor);
  setCamera(camera);
}

void ViewPanel::setFrame(const main::ParameterSet::Frame& frame) {
  const bool isOther = frame.aspect != m_Frame.aspect || frame.opening != m_Frame.opening;
  m_Frame = frame;
  widen();
  if (isOther && m_ShowsAll && !m_Held) showAll();
}

void ViewPanel::widen() {
  const QSizeF usual = frameSize() * getWidening();  // what the frame would take without it
  setWidening(m_Frame.opening > 0 ? std::max({1.0, usual.width() / width(), usual.height() / height()}) : 1.0);
}

/// In the panel as it is shown.
QSizeF ViewPanel::frameSize() const {
  const double slope = std::tan(m_Frame.opening * std::acos(-1.0) / 360);
  const double frameHeight = height() * slope / (std::tan(scene::HalfOpening) * getWidening());
  const double aspect = m_Frame.aspect > 0 ? m_Frame.aspect : double(width()) / height();
  return {frameHeight * aspect, frameHeight};
}

/// What is to be seen is to be seen in the frame.
QSize ViewPanel::fittedArea() const { return m_Frame.opening > 0 ? frameSize().toSize() : size(); }

void ViewPanel::paintGL() {
  ProgressivePanel::paintGL();
  paintOver();
}

void ViewPanel::resizeEvent(QResizeEvent* event) {
  ProgressivePanel::resizeEvent(event);
  widen();
  if (m_ShowsAll && !m_Held) showAll();
  emit resized();
}

void ViewPanel::paintOver() {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const auto scene = scene::_GlobalScene();
  painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
  if (m_Selection) paintBox(painter, *m_Selection, getCamera(), size(), getWidening());
  paintAxes(painter, getCamera(), size());
  if (!scene->getRootNode()) paintInvitation(painter, scene->getBackgroundColor(), size());
  if (m_Frame.opening > 0) {
    QRectF frame(QPointF(), frameSize());
    frame.moveCenter(QRectF(rect()).center());
    paintFrame(painter, frame, size());
  }
  if (!isShownAsActive()) return;
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
  painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

bool ViewPanel::isShownAsActive() const {
  const gui::Viewer* viewer = gui::Viewer::getInstance();
  return viewer && viewer->getActivePanel() == this && (viewer->getPanels().size() > 1 || m_FocusedByKey);
}

void ViewPanel::mousePressEvent(QMouseEvent* event) {
  ProgressivePanel::mousePressEvent(event);
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
      return ProgressivePanel::keyPressEvent(event);
  }
  setCamera(camera);
}

void ViewPanel::focusInEvent(QFocusEvent* event) {
  ProgressivePanel::focusInEvent(event);
  if (gui::Viewer* viewer = gui::Viewer::getInstance()) viewer->setActivePanel(this);
  m_FocusedByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
  emit activated();
}

void ViewPanel::focusOutEvent(QFocusEvent* event) {
  ProgressivePanel::focusOutEvent(event);
  m_FocusedByKey = false;
  update();
}

}  // namespace nubo::window
