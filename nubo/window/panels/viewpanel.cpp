#include "nubo/window/panels/viewpanel.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "module_scene/draw/viewpoint.h"
#include "module_scene/gui/picking.h"
#include "module_scene/gui/viewer.h"
#include "nubo/window/panels/overlay.h"

namespace nubo::window {

namespace {

constexpr double OrbitStep = 5, PanStep = 0.05, ZoomStep = 1.15;

}  // namespace

ViewPanel::ViewPanel(QWidget* parent) : ProgressivePanel(parent) {
  setAccessibleName(tr("3-D view"));
  // Before others hear of it, and ask for the view.
  connect(this, &ScenePanel::cameraChanged, this, [this] { m_ShowsAll = m_Refits; });
}

void ViewPanel::setSelection(const util::YPointer<scene::SceneElement>& element) {
  m_Selection = element;
  update();
}

void ViewPanel::showAll() {
  mp_Whole = wholeScene();
  refit();
}

void ViewPanel::refit() {
  m_ShowsAll = m_Refits = true;
  if (mp_Whole) setCamera(mp_Whole->camera(fittedArea(), getMargin()));
  m_Refits = false;
}

bool ViewPanel::View::operator==(const View& other) const {
  const gui::Camera &a = camera, &b = other.camera;
  if (all != other.all || a.orthographic != b.orthographic) return false;
  if (!all) return a.transform() == b.transform();
  return a.azimuth == b.azimuth && a.elevation == b.elevation && a.roll == b.roll &&
         (whole == other.whole || (whole && other.whole && *whole == *other.whole));
}

void ViewPanel::setView(const View& view) {
  setCamera(view.camera);
  mp_Whole = view.whole;
  if (view.all) refit();
}

void ViewPanel::lookLike(const ViewPanel& other) { setView(other.view()); }

void ViewPanel::showView(const QString& name) {
  gui::Camera camera = getCamera();
  if (!camera.setView(name)) return;
  setCamera(camera);
  showAll();
}

void ViewPanel::setOrthographic(bool orthographic) {
  gui::Camera camera = getCamera();
  const bool showsAll = m_ShowsAll;
  camera.orthographic = orthographic;
  setCamera(camera);
  if (showsAll) showAll();
}

void ViewPanel::fitSelection() {
  if (!m_Selection) return showAll();
  const auto scene = scene::_GlobalScene();
  const scene::SceneLocker locker(scene, scene::LockAll);
  const gui::Subject selected(getCamera(), *m_Selection, *scene);
  if (!selected) return showAll();
  setCamera(selected.camera(fittedArea(), getMargin()));
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
  if (isOther && m_ShowsAll && !m_Held) refit();
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
  if (m_ShowsAll && !m_Held) mp_Whole ? refit() : showAll();
  emit resized();
}

void ViewPanel::paintOver() {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const auto scene = scene::_GlobalScene();
  painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
  if (m_Selection) paintBox(painter, *m_Selection, getCamera(), size(), getWidening());
  for (const math::Vector3& mark : m_Marks)
    if (const auto place = project(mark, getCamera(), size(), getWidening())) paintMark(painter, *place);
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

void ViewPanel::setPicking(bool picks, const std::vector<math::Vector3>& points) {
  m_Picks = picks;
  m_Marks = points;
  picks ? setCursor(Qt::CrossCursor) : unsetCursor();
  update();
}

void ViewPanel::mousePressEvent(QMouseEvent* event) {
  ProgressivePanel::mousePressEvent(event);
  m_Pressed = m_Dragged = event->pos();
  emit activated();
}

void ViewPanel::mouseMoveEvent(QMouseEvent* event) {
  const auto section = scene::_GlobalScene()->getSection();
  const bool movesSection = section && event->buttons() == Qt::LeftButton && event->modifiers() == Qt::ControlModifier;
  const QPoint moved = event->pos() - std::exchange(m_Dragged, event->pos());
  if (movesSection)
    emit sectionDragged(distanceAlong(section->plane().normal, moved));
  else
    ProgressivePanel::mouseMoveEvent(event);
}

void ViewPanel::mouseReleaseEvent(QMouseEvent* event) {
  ProgressivePanel::mouseReleaseEvent(event);
  const bool isClick = (event->pos() - m_Pressed).manhattanLength() < QApplication::startDragDistance();
  if (!m_Picks || !isClick || event->button() != Qt::LeftButton) return;
  const auto scene = scene::_GlobalScene();
  std::optional<math::Vector3> point;
  {
    const scene::SceneLocker locker(scene, scene::LockAll);
    point = gui::pick(*scene, gui::rayThrough(event->localPos(), size(), getCamera(), getWidening()));
  }
  if (point) emit picked(*point);
}

/// How far a point in the middle of the view moves along the normal when it stays under the mouse. Where one looks
/// along the normal, up is away.
double ViewPanel::distanceAlong(const math::Vector3& normal, const QPoint& moved) const {
  const gui::Camera& camera = getCamera();
  const double step = 0.01 / camera.scale;
  math::Vector3 ahead = camera.center;
  for (std::size_t i = 0; i < 3; ++i) ahead[i] += step * normal[i];
  const auto from = project(camera.center, camera, size(), getWidening());
  const auto to = project(ahead, camera, size(), getWidening());
  if (!from || !to) return 0;
  const QPointF direction = (*to - *from) / step;
  const double square = QPointF::dotProduct(direction, direction);
  constexpr double Steep = 0.1;  // of the view's height, for what is as long as the model's radius
  if (square * camera.scale < Steep * height() * Steep * height() / camera.scale)
    return -2.0 * moved.y() / height() / camera.scale;
  return QPointF::dotProduct(direction, moved) / square;
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
