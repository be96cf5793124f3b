// The menu of what shows behind scenes.
#pragma once

#include <QMenu>

#include "module_scene/graph/background.h"

namespace nubo::window {

class SceneChanger;

/// Applies what stands in the settings when it is made, and keeps there what the user chooses. The changer must outlive
/// it. Application thread.
class BackgroundMenu : public QMenu {
  Q_OBJECT
 public:
  BackgroundMenu(SceneChanger& changer, QWidget* parent);

 private:
  void apply(const scene::Background& background);
  void chooseColor();
  void chooseGradient();
  void chooseImage();
  void setInPictures(bool on);
  void chooseDefault();
  /// Applies and keeps it; of an image its file's name.
  void choose(scene::Background background, const QString& image = QString());

  SceneChanger& m_Changer;
};

}  // namespace nubo::window
