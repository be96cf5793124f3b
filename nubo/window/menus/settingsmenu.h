// The menu of how scenes and the window look.
#pragma once

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

 private:
  void addSamples();
  void addAppearances();
  void setSamples(int samples);

  PanelArea& m_Panels;
};

}  // namespace nubo::window
