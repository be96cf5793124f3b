#include "nubo/window/scene/jointsliders.h"

#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>
#include <cmath>

#include "module_scene/graph/scene.h"
#include "nubo/window/scene/scenechanger.h"

namespace nubo::window {

namespace {

using Element = util::YPointer<scene::SceneElement>;

constexpr int Steps = 1000;
const double Pi = std::acos(-1.0);

double shownPerValue(const scene::Joint& joint) { return joint.turns ? 180 / Pi : 1; }

/// Several files stand side by side below the scene's root, each with an element of its own.
Element robotOf(const Element& root, const Element& selected) {
  std::vector<Element> robots;
  for (const Element& child : root->getChildren())
    if (!scene::movedBelow(*child).empty()) robots.push_back(child);
  if (robots.size() < 2) return robots.empty() ? nullptr : root;
  for (scene::SceneElement* above = selected.get(); above; above = above->getParent())
    if (const auto robot = std::find(robots.begin(), robots.end(), Element(above)); robot != robots.end())
      return *robot;
  return nullptr;
}

}  // namespace

JointSliders::JointSliders(SceneChanger& changer) : m_Changer(changer) {
  setObjectName(QStringLiteral("jointSliders"));
  setAccessibleName(tr("Joints"));
  setWidgetResizable(true);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  hide();
}

JointSliders::Pose JointSliders::pose() const {
  Pose pose(m_Robot, {});
  for (const Row& row : m_Rows) pose.second.push_back(row.value);
  return pose;
}

void JointSliders::setPose(const Pose& pose) {
  select(pose.first);
  if (m_Robot != pose.first) return;
  for (std::size_t row = 0; row < m_Rows.size(); ++row)
    if (m_Rows[row].value != pose.second[row]) move(row, pose.second[row]);
}

void JointSliders::select(const Element& element) {
  const auto scene = scene::_GlobalScene();
  const scene::SceneLocker locker(scene, scene::LockAll);
  const Element root = scene->getRootNode();
  const Element robot = root ? robotOf(root, element) : nullptr;
  if (robot == m_Robot) return;
  m_Robot = robot;
  m_Rows.clear();
  m_Driven.clear();
  delete takeWidget();
  setVisible(bool(robot));
  if (!robot) return emit poseReplaced();
  auto* content = new QWidget;
  auto* grid = new QGridLayout(content);
  grid->setContentsMargins(4, 4, 4, 4);
  grid->setColumnStretch(1, 1);
  const std::vector<Element> moved = scene::movedBelow(*robot);
  QStringList names;
  for (const Element& each : moved)
    if (each->getJoint()->follows.isEmpty()) {
      addRow(each, *grid);
      names << each->getJoint()->name;
    }
  grid->setRowStretch(grid->rowCount(), 1);
  m_Driven = scene::drivenBy(names, moved);
  setWidget(content);
  emit poseReplaced();
}

void JointSliders::addRow(const Element& element, QGridLayout& grid) {
  const scene::Joint& joint = *element->getJoint();
  const double factor = shownPerValue(joint);
  // What has no limits turns once around; to both sides, since robots stand in the middle.
  const bool isLimited = joint.lower < joint.upper;
  const double most = joint.turns ? Pi : 1;
  Row row{element,
          0,
          isLimited ? joint.lower : -most,
          isLimited ? joint.upper : most,
          new QSlider(Qt::Horizontal),
          new QDoubleSpinBox};
  const QString unit = joint.turns ? QStringLiteral("°") : tr(" m", "metres");
  const auto limit = [&](double value) { return QLocale().toString(value * factor, 'g', 4) + unit; };
  row.slider->setRange(0, Steps);
  row.slider->setAccessibleName(joint.name);
  row.slider->setObjectName(joint.name);
  row.number->setDecimals(joint.turns ? 1 : 4);
  row.number->setSingleStep(joint.turns ? 1 : 0.01);
  row.number->setRange(row.lower * factor, row.upper * factor);
  row.number->setSuffix(unit);
  row.number->setKeyboardTracking(false);
  row.number->setAccessibleName(joint.name);
  const int line = grid.rowCount();
  auto* name = new QLabel(joint.name);
  name->setTextFormat(Qt::PlainText);
  grid.addWidget(name, line, 0, 1, 2);
  grid.addWidget(row.number, line, 2);
  grid.addWidget(new QLabel(limit(row.lower)), line + 1, 0);
  grid.addWidget(row.slider, line + 1, 1);
  grid.addWidget(new QLabel(limit(row.upper)), line + 1, 2);
  row.value = std::clamp(scene::valueAt(joint, element->getTransform(), 0), row.lower, row.upper);
  show(row);
  const std::size_t number = m_Rows.size();
  connect(row.slider, &QSlider::valueChanged, this, [this, number](int step) {
    const Row& moved = m_Rows[number];
    move(number, moved.lower + (moved.upper - moved.lower) * step / Steps);
  });
  connect(row.number, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
          [this, number, factor](double shown) { move(number, shown / factor); });
  m_Rows.push_back(row);
}

void JointSliders::show(const Row& row) const {
  const QSignalBlocker sliderBlocker(row.slider), numberBlocker(row.number);
  row.slider->setValue(int(std::lround((row.value - row.lower) / (row.upper - row.lower) * Steps)));
  row.number->setValue(row.value * shownPerValue(*row.element->getJoint()));
}

void JointSliders::refresh() {
  if (m_Rows.empty()) return;
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockTransforms);
  for (Row& row : m_Rows) {
    row.value = scene::valueAt(*row.element->getJoint(), row.element->getTransform(), row.value);
    show(row);
  }
  emit poseReplaced();
}

void JointSliders::move(std::size_t number, double value) {
  Row& row = m_Rows[number];
  row.value = value;
  show(row);
  std::vector<scene::DrivenElement> driven;
  for (const scene::DrivenElement& each : m_Driven)
    if (each.driver == int(number)) driven.push_back(each);
  // Of many movements that wait only the last counts.
  m_Changer.change(QStringLiteral("joint:%1").arg(quintptr(row.element.get())), [driven, value] {
    const scene::SceneChange change(scene::_GlobalScene(), scene::LockAll);
    for (const scene::DrivenElement& each : driven) each.element->setTransform(each.transformAt(value));
  });
  emit moved();
}

}  // namespace nubo::window
