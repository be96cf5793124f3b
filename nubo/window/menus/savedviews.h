// The menu of the views that the user has saved, and of those that a scene brings.
#pragma once

#include <QMenu>
#include <QStringList>
#include <optional>

#include "module_scene/graph/filecamera.h"
#include "module_scene/gui/camera.h"

namespace nubo::window {

class PanelArea;

/// Saves, recalls and deletes views of the active panel by name. Kept in the settings, for each scene its own. Recalls
/// what the scene's own cameras show where they stand at that moment. The panels must outlive it. Application thread.
class SavedViews : public QMenu {
  Q_OBJECT
 public:
  SavedViews(PanelArea& panels, QWidget* parent);

  /// The files that the scene comes from, and the cameras that came with it.
  void setScene(const QStringList& files, const std::vector<scene::FileCamera>& cameras);
  /// Of this scene.
  QStringList names() const;
  /// Shows it in the active panel.
  void recall(const QString& name);

 private:
  void askAndSave();
  void lookThrough(const QString& camera);
  void remove(const QString& name);
  void fill();
  void fillLater();
  QString settingsKey() const;
  std::optional<gui::Camera> load(const QString& name) const;

  PanelArea& m_Panels;
  QMenu* mp_Delete;
  QString m_Scene;
  std::vector<scene::FileCamera> m_Cameras;
};

}  // namespace nubo::window
