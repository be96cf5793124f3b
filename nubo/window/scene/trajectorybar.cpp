#include "nubo/window/scene/trajectorybar.h"

#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>

#include "module_trajectory/trajectory.h"
#include "nubo/cli/trajectorychoice.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/look/icons.h"
#include "nubo/window/scene/scenechanger.h"

namespace nubo::window {

using trajectory::TrajectoryHandler;

namespace {

constexpr int LookMs = 80;
constexpr int NameRole = Qt::UserRole + 1;

void setPosition(int step) { TrajectoryHandler::getInstance()->moveTo(std::uint64_t(step)); }

}  // namespace

TrajectoryBar::TrajectoryBar(SceneChanger& changer, CommandRunner& runner, QWidget* parent)
    : QToolBar(tr("Trajectory"), parent), m_Changer(changer), m_Runner(runner) {
  setObjectName(QStringLiteral("trajectoryBar"));
  addWidgets();
  m_Player.setTimerType(Qt::PreciseTimer);
  connect(&m_Player, &QTimer::timeout, this, &TrajectoryBar::playOn);
  connect(&m_Look, &QTimer::timeout, this, &TrajectoryBar::look);
  connect(&runner, &CommandRunner::started, this, &TrajectoryBar::updateEnabled);
  connect(&runner, &CommandRunner::ended, this, [this] { m_Runner.whenIdle([this] { putBack(); }); });
  m_Look.start(LookMs);
  fillModes();
  show();
}

QAction* TrajectoryBar::addControl(const QIcon& icon, const QString& text, const QKeySequence& key,
                                   void (TrajectoryBar::*slot)()) {
  QAction* action = addAction(icon, text);
  action->setShortcut(key);
  action->setToolTip(
      QStringLiteral("%1 (%2)").arg(QString(text).remove(QLatin1Char('&')), key.toString(QKeySequence::NativeText)));
  connect(action, &QAction::triggered, this, slot);
  m_Controls << action;
  return action;
}

void TrajectoryBar::addWidgets() {
  mp_Modes = new QComboBox;
  mp_Modes->setObjectName(QStringLiteral("trajectoryModes"));
  mp_Modes->setToolTip(tr("What moves the scene"));
  mp_Modes->setAccessibleName(tr("What moves the scene"));
  addWidget(mp_Modes);
  connect(mp_Modes, QOverload<int>::of(&QComboBox::activated), this, &TrajectoryBar::chooseMode);
  addControl(makeIcon(Icon::First), tr("&First Step"), Qt::CTRL + Qt::Key_Home, &TrajectoryBar::toFirst);
  addControl(makeIcon(Icon::Back), tr("Step &Back"), Qt::CTRL + Qt::Key_Left, &TrajectoryBar::stepBack);
  mp_Play = addControl(makeIcon(Icon::Play), tr("&Play"), Qt::CTRL + Qt::Key_Space, &TrajectoryBar::togglePlaying);
  mp_Play->setObjectName(QStringLiteral("play"));
  addControl(makeIcon(Icon::Forward), tr("Step F&orward"), Qt::CTRL + Qt::Key_Right, &TrajectoryBar::stepForward);
  addControl(makeIcon(Icon::Last), tr("&Last Step"), Qt::CTRL + Qt::Key_End, &TrajectoryBar::toLast);
  mp_Slider = new QSlider(Qt::Horizontal);
  mp_Slider->setObjectName(QStringLiteral("trajectorySlider"));
  mp_Slider->setAccessibleName(tr("Step of the trajectory"));
  addWidget(mp_Slider);
  connect(mp_Slider, &QSlider::valueChanged, this, &TrajectoryBar::go);
  mp_Steps = new QLabel;
  mp_Steps->setMinimumWidth(mp_Steps->fontMetrics().horizontalAdvance(QStringLiteral(" 00000 / 00000 ")));
  mp_Steps->setAlignment(Qt::AlignCenter);
  addWidget(mp_Steps);
}

void TrajectoryBar::fillModes() {
  mp_Modes->clear();
  mp_Modes->addItem(tr("Turntable"), Turntable);
  if (!m_Animations.empty()) mp_Modes->addItem(tr("Animation"), Animation);
  for (std::size_t i = 0; i < m_Animations.size() && m_Animations.size() > 1; ++i) {
    mp_Modes->addItem(tr("Animation “%1”").arg(m_Animations[i].name), Animation);
    mp_Modes->setItemData(mp_Modes->count() - 1, m_Animations[i].name, NameRole);
  }
  mp_Modes->addItem(tr("Points from a File…"), PointFile);
  mp_Modes->addItem(tr("Camera Path from a File…"), CameraPath);
  mp_Modes->addItem(tr("Nothing"), Still);
}

QString TrajectoryBar::setScene(const std::vector<scene::Animation>& animations, const app::CommandLine& line) {
  m_Animations = animations;
  fillModes();
  const QString error = app::chooseTrajectory(line, animations);
  if (!error.isEmpty()) TrajectoryHandler::getInstance()->clear();
  showChoice(!error.isEmpty()                       ? Choice{Still}
             : !line.trajectory.isEmpty()           ? Choice{PointFile, line.trajectory}
             : !line.cameraPath.isEmpty()           ? Choice{CameraPath, line.cameraPath}
             : line.turntable || animations.empty() ? Choice{Turntable}
                                                    : Choice{Animation, line.animation});
  return error;
}

void TrajectoryBar::clear() {
  stop();
  m_Changer.finish();
  TrajectoryHandler::getInstance()->clear();
  m_Animations.clear();
  showChoice({Still});
}

void TrajectoryBar::showChoice(const Choice& choice) {
  m_Choice = choice;
  int index = mp_Modes->findData(choice.mode);
  if (choice.mode == Animation && !choice.name.isEmpty()) index = mp_Modes->findData(choice.name, NameRole);
  mp_Modes->setCurrentIndex(index);
  m_Position = position();
  show();
  updateEnabled();
  tellCamera();
}

void TrajectoryBar::tellCamera() {
  const auto info = TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo();
  if (info && std::size_t(m_Position) < info->getCameraList().size())
    emit cameraMoved(info->getCameraList()[std::size_t(m_Position)]);
}

QString TrajectoryBar::askForFile(Mode mode) {
  return QFileDialog::getOpenFileName(window(),
                                      mode == PointFile ? tr("Points of a Trajectory") : tr("Path of the Camera"),
                                      QString(), tr("Points (*.csv *.txt);;All Files (*)"));
}

void TrajectoryBar::chooseMode(int index) {
  Choice choice{Mode(mp_Modes->itemData(index).toInt()), mp_Modes->itemData(index, NameRole).toString()};
  if (choice.mode == PointFile || choice.mode == CameraPath) {
    choice.name = askForFile(choice.mode);
    if (choice.name.isEmpty()) return showChoice(m_Choice);
  }
  if (!m_Runner.isIdle()) return showChoice(m_Choice);
  const bool plays = m_Player.isActive();
  stop();
  m_Changer.finish();
  setPosition(0);  // leaves the scene as it was found
  removeMarkers();
  const QString error = select(choice, m_Animations);
  if (error.isEmpty())
    showChoice(choice);
  else
    showChoice(select(m_Choice, m_Animations).isEmpty() ? m_Choice : Choice{Still});
  if (plays) togglePlaying();  // the user wants to see it move
  emit sceneChanged();
  if (!error.isEmpty()) emit failed(error);
}

QString TrajectoryBar::select(const Choice& choice, const std::vector<scene::Animation>& animations) {
  TrajectoryHandler::getInstance()->clear();
  if (choice.mode == Still) return QString();
  app::CommandLine line;
  if (choice.mode == PointFile) line.trajectory = choice.name;
  if (choice.mode == CameraPath) line.cameraPath = choice.name;
  if (choice.mode == Animation) line.animation = choice.name;
  const bool plays = choice.mode == Animation || choice.mode == CameraPath;
  return app::chooseTrajectory(line, plays ? animations : std::vector<scene::Animation>());
}

void TrajectoryBar::removeMarkers() {
  const auto scene = scene::_GlobalScene();
  const auto root = scene->getRootNode();
  if (!root) return;
  const scene::SceneChange change(scene, scene::LockAll);
  const auto children = root->getChildren();
  for (const auto& child : children)
    if (child->getLayer() == scene::LayerTrajectory || child->getLayer() == scene::LayerMarkers)
      root->removeChild(child.get());
}

int TrajectoryBar::count() {
  const TrajectoryHandler* handler = TrajectoryHandler::getInstance();
  if (const auto info = handler->getTrajectoryInfo()) return int(info->getPoints().size());
  const auto info = handler->getAdvancedTrajectoryInfo();
  return info && info->getMatrixMapList() ? int(info->getMatrixMapList()->size()) : 0;
}

int TrajectoryBar::position() {
  const TrajectoryHandler* handler = TrajectoryHandler::getInstance();
  if (const auto info = handler->getTrajectoryInfo()) return int(info->getPosition());
  const auto info = handler->getAdvancedTrajectoryInfo();
  return info ? int(info->getPosition()) : 0;
}

void TrajectoryBar::togglePlaying() {
  if (m_Player.isActive()) return stop();
  if (count() < 2) return;
  m_Player.start(1000 / qMax(1, app::playingRate()));
  mp_Play->setIcon(makeIcon(Icon::Pause));
  mp_Play->setText(tr("&Pause"));
}

void TrajectoryBar::stop() {
  m_Player.stop();
  mp_Play->setIcon(makeIcon(Icon::Play));
  mp_Play->setText(tr("&Play"));
}

/// Steps that a slow scene cannot follow are left out by the changer; one that is held still is waited for.
void TrajectoryBar::playOn() {
  if (!m_Changer.isWaiting()) go(m_Position + 1 < count() ? m_Position + 1 : 0);
}

void TrajectoryBar::go(int step) {
  if (step < 0 || step >= count() || step == m_Position || m_Driven) return;
  m_Position = step;
  m_Changer.change(QStringLiteral("trajectory"), [step] { setPosition(step); });
  show();
  tellCamera();
}

/// A recording in step ends at the last step, where the next one would find a single frame.
void TrajectoryBar::putBack() {
  m_Changer.change(QStringLiteral("trajectory"), [] { TrajectoryHandler::getInstance()->putBack(); });
  updateEnabled();
}

/// Commands move the scene from threads of their own, and do not tell.
void TrajectoryBar::look() {
  const bool isDriven = TrajectoryHandler::getInstance()->isDriven();
  if (isDriven != std::exchange(m_Driven, isDriven)) {
    if (isDriven) stop();
    updateEnabled();
  }
  if (!m_Changer.isIdle() || position() == m_Position) return;
  m_Position = position();
  show();
  tellCamera();
  emit moved();
}

void TrajectoryBar::show() {
  const QSignalBlocker blocker(mp_Slider);
  mp_Slider->setRange(0, qMax(0, count() - 1));
  mp_Slider->setValue(m_Position);
  mp_Steps->setText(count() ? QStringLiteral("%1 / %2").arg(m_Position + 1).arg(count()) : QStringLiteral("–"));
}

void TrajectoryBar::updateEnabled() {
  mp_Modes->setEnabled(m_Runner.isIdle());
  const bool canMove = count() > 1 && !m_Driven;
  for (QAction* control : m_Controls) control->setEnabled(canMove);
  mp_Slider->setEnabled(canMove);
}

}  // namespace nubo::window
