#include "nubo/window/scene/sectionbar.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>
#include <cmath>

#include "module_scene/mesh/surface.h"

namespace nubo::window {

namespace {

constexpr int Steps = 1000, RestMs = 250;
constexpr int ThroughPoints = 3;

}  // namespace

SectionBar::SectionBar(QWidget* parent)
    : QToolBar(tr("Section"), parent), mp_Switch(new QAction(tr("Sectio&n"), this)) {
  setObjectName(QStringLiteral("sectionBar"));
  toggleViewAction()->setVisible(false);  // it would hide what goes on cutting
  mp_Switch->setObjectName(QStringLiteral("section"));
  mp_Switch->setCheckable(true);
  mp_Switch->setShortcut(Qt::Key_F7);
  connect(mp_Switch, &QAction::triggered, this, [this](bool on) {
    SectionState state = m_State;
    state.on = on;
    setState(state);
  });
  addWidgets();
  m_Rest.setSingleShot(true);
  connect(&m_Rest, &QTimer::timeout, this, &SectionBar::tellOpen);
  hide();
}

void SectionBar::addWidgets() {
  mp_Directions = new QComboBox;
  mp_Directions->setObjectName(QStringLiteral("sectionDirections"));
  mp_Directions->setAccessibleName(tr("Direction of the section"));
  mp_Directions->addItems(
      {tr("Section across x"), tr("Section across y"), tr("Section across z"), tr("Section through three points…")});
  connect(mp_Directions, QOverload<int>::of(&QComboBox::activated), this, &SectionBar::chooseDirection);
  addWidget(mp_Directions);
  mp_Slider = new QSlider(Qt::Horizontal);
  mp_Slider->setObjectName(QStringLiteral("sectionSlider"));
  mp_Slider->setAccessibleName(tr("Position of the section"));
  mp_Slider->setToolTip(tr("Or drag in a view with the control key held"));
  mp_Slider->setRange(0, Steps);
  connect(mp_Slider, &QSlider::valueChanged, this, [this](int step) {
    m_State.share = double(step) / Steps;
    apply();
  });
  addWidget(mp_Slider);
  mp_Place = new QDoubleSpinBox;
  mp_Place->setObjectName(QStringLiteral("sectionPlace"));
  mp_Place->setAccessibleName(tr("Coordinate of the section"));
  mp_Place->setKeyboardTracking(false);
  connect(mp_Place, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this](double place) {
    if (m_Most > m_Least) m_State.share = (place - m_Least) / (m_Most - m_Least);
    apply();
  });
  addWidget(mp_Place);
  mp_Flip = addAction(tr("Flip"), this, [this](bool flipped) {
    m_State.flipped = flipped;
    apply();
  });
  mp_Flip->setObjectName(QStringLiteral("sectionFlip"));
  mp_Flip->setCheckable(true);
  mp_Flip->setToolTip(tr("Takes away the other side"));
  mp_Note = new QLabel;
  mp_Note->setObjectName(QStringLiteral("sectionNote"));
  mp_Note->setContentsMargins(8, 0, 8, 0);
  addWidget(mp_Note);
}

void SectionBar::setScene(const std::optional<app::SectionPlace>& place, bool inMetres) {
  mp_Place->setSuffix(inMetres ? tr(" m", "metres") : tr(" units"));
  SectionState state;
  setState(state);
  const auto root = scene::_GlobalScene()->getRootNode();
  if (!place || !root) return;
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
  app::SectionPlace unflipped = *place;
  unflipped.flipped = false;
  const scene::Plane plane = app::planeOf(unflipped, root->getBoundingBox());
  const double length = std::sqrt(scene::dot(plane.normal, plane.normal));
  state.on = true;
  state.flipped = place->flipped;
  state.direction = place->points ? ThroughPoints : place->axis;
  state.normal = scene::normalized(plane.normal);
  m_State = state;
  look();
  if (m_Most > m_Least) state.share = (plane.distance / length - m_Least) / (m_Most - m_Least);
  setState(state);
}

void SectionBar::setState(const SectionState& state) {
  m_State = state;
  mp_Switch->setChecked(state.on);
  setPicking(false);
  setVisible(state.on);
  look();
  apply();
}

/// Through points only when there are three.
void SectionBar::chooseDirection(int index) {
  setPicking(index == ThroughPoints);
  if (m_Picks) return;
  m_State.direction = index;
  m_State.normal = {};
  m_State.normal[std::size_t(index)] = 1;
  m_State.share = 0.5;
  look();
  apply();
}

void SectionBar::setPicking(bool picks) {
  m_Picks = picks;
  m_Points.clear();
  mp_Note->setText(picks ? tr("Click three points of the model") : QString());
  emit pickingChanged(picks, m_Points);
}

void SectionBar::addPoint(const math::Vector3& point) {
  if (!m_Picks) return;
  m_Points.push_back(point);
  emit pickingChanged(true, m_Points);
  if (m_Points.size() < 3)
    return mp_Note->setText(m_Points.size() < 2 ? tr("Click two more points") : tr("Click one more point"));
  const math::Vector3 across = scene::normalized(
      scene::cross(scene::difference(m_Points[1], m_Points[0]), scene::difference(m_Points[2], m_Points[0])));
  if (across == math::Vector3{}) return setPicking(true);  // they are on one line
  m_State.direction = ThroughPoints;
  m_State.normal = across;
  look();
  if (m_Most > m_Least) m_State.share = (scene::dot(across, m_Points[0]) - m_Least) / (m_Most - m_Least);
  setPicking(false);
  apply();
}

void SectionBar::moveBy(double distance) {
  if (!m_State.on || !(m_Most > m_Least)) return;
  // The plane that is cut by looks the other way when it is flipped.
  const double share = m_State.share + (m_State.flipped ? -distance : distance) / (m_Most - m_Least);
  m_State.share = std::clamp(share, 0.0, 1.0);
  apply();
}

/// Where the scene's box lies along the normal.
void SectionBar::look() {
  m_Least = m_Most = 0;
  const auto scene = scene::_GlobalScene();
  const scene::SceneLocker locker(scene, scene::LockAll);
  const auto root = m_State.on ? scene->getRootNode() : nullptr;
  m_Box = root ? root->getBoundingBox() : scene::BoundingBox();
  if (!m_Box.isEmpty()) std::tie(m_Least, m_Most) = scene::Plane{m_State.normal, 0}.rangeOf(m_Box);
}

void SectionBar::apply() {
  scene::Plane plane{m_State.normal, m_Least + m_State.share * (m_Most - m_Least)};
  if (m_State.flipped) {
    for (double& value : plane.normal) value = 0 - value;
    plane.distance = -plane.distance;
  }
  scene::_GlobalScene()->setSection(m_State.on ? app::sectionAlong(plane, m_Box) : nullptr);
  show();
  emit sectionChanged();
  m_Rest.start(RestMs);
}

void SectionBar::show() {
  const QSignalBlocker directions(mp_Directions), slider(mp_Slider), place(mp_Place);
  mp_Directions->setCurrentIndex(m_Picks ? ThroughPoints : m_State.direction);
  mp_Slider->setValue(int(std::lround(m_State.share * Steps)));
  const double extent = m_Most - m_Least;
  constexpr int Digits = 4, MostDecimals = 9;
  mp_Place->setDecimals(extent > 0 ? std::clamp(Digits - int(std::floor(std::log10(extent))), 0, MostDecimals) : 0);
  mp_Place->setRange(m_Least, m_Most);
  mp_Place->setSingleStep(extent / 100);
  mp_Place->setValue(m_Least + m_State.share * extent);
  mp_Flip->setChecked(m_State.flipped);
}

/// What cannot be closed where the plane is now.
void SectionBar::tellOpen() {
  if (!m_Picks) mp_Note->setText(app::sectionNote(*scene::_GlobalScene()));
}

}  // namespace nubo::window
