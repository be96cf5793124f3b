// The menu of how scenes and the window look.
#pragma once

#include <QColor>
#include <QMenu>

namespace nubo::window {

class PanelArea;
class SceneChanger;

/// Applies what stands in the settings when it is made, and keeps there what the user chooses. What it is given must
/// outlive it. Application thread.
class SettingsMenu : public QMenu {
  Q_OBJECT
 public:
  SettingsMenu(SceneChanger& changer, PanelArea& panels, QWidget* parent);

  /// Behind the scene, as long as the program runs.
  void setBackground(const QColor& color);

 private:
  void addSamples();
  void addAppearances();
  void chooseBackground();
  void setSamples(int samples);

  SceneChanger& m_Changer;
  PanelArea& m_Panels;
};

}  // namespace nubo::window
