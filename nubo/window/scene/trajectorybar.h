// Plays the trajectory.
#pragma once

#include <QTimer>
#include <QToolBar>
#include <vector>

#include "module_scene/graph/animation.h"
#include "module_scene/gui/camera.h"
#include "nubo/cli/commandline.h"

QT_BEGIN_NAMESPACE
class QComboBox;
class QLabel;
class QSlider;
QT_END_NAMESPACE

namespace nubo::window {

class CommandRunner;
class SceneChanger;

/// Chooses the trajectory and moves the scene along it. While commands run, the trajectory stays the same; where one
/// of them drives the scene itself, the bar only shows how far it is. Application thread.
class TrajectoryBar : public QToolBar {
  Q_OBJECT
 public:
  TrajectoryBar(SceneChanger& changer, CommandRunner& runner, QWidget* parent);

  /// For a new scene: the trajectory that `line` asks for, else the scene's own animations, else a turntable. Empty,
  /// or why that is not to be had. No command may be running.
  [[nodiscard]] QString setScene(const std::vector<scene::Animation>& animations, const app::CommandLine& line);
  /// Before the scene is replaced. No command may be running.
  void clear();
  /// The actions for a menu.
  const QList<QAction*>& controls() const { return m_Controls; }

 signals:
  /// The scene was moved, by whomever.
  void moved();
  /// Elements came to the scene or left it.
  void sceneChanged();
  void failed(const QString& text);
  /// The trajectory looks at the scene from there now.
  void cameraMoved(const nubo::gui::Camera& camera);

 private:
  enum Mode { Turntable, Animation, PointFile, CameraPath, Still };
  struct Choice {
    Mode mode = Still;
    QString name = {};  ///< of an animation (empty: those that go together) or a file
  };

  QAction* addControl(const QIcon& icon, const QString& text, const QKeySequence& key, void (TrajectoryBar::*slot)());
  void addWidgets();
  void fillModes();
  void chooseMode(int index);
  static QString select(const Choice& choice, const std::vector<scene::Animation>& animations);
  void removeMarkers();
  void showChoice(const Choice& choice);
  QString askForFile(Mode mode);
  void tellCamera();

  void togglePlaying();
  void stop();
  void toFirst() { go(0); }
  void toLast() { go(count() - 1); }
  void stepBack() { go(m_Position - 1); }
  void stepForward() { go(m_Position + 1); }
  void playOn();
  void go(int step);
  void putBack();
  void look();
  void show();
  void updateEnabled();
  static int count();
  static int position();

  SceneChanger& m_Changer;
  CommandRunner& m_Runner;
  std::vector<scene::Animation> m_Animations;
  QList<QAction*> m_Controls;
  QAction* mp_Play;
  QComboBox* mp_Modes;
  QSlider* mp_Slider;
  QLabel* mp_Steps;
  QTimer m_Player;
  QTimer m_Look;
  int m_Position = 0;     ///< where the scene is, or soon will be
  bool m_Driven = false;  ///< by a command, as far as the bar knows
  Choice m_Choice;
};

}  // namespace nubo::window
