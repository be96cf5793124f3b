// The menu of the views that the user has saved.
#pragma once

#include <QMenu>
#include <QStringList>
#include <optional>

#include "module_scene/gui/camera.h"

namespace nubo::window {

class PanelArea;

/// Saves, recalls and deletes views of the active panel by name. Kept in the settings, for each scene its own. The
/// panels must outlive it. Application thread.
class SavedViews : public QMenu {
  Q_OBJECT
 public:
  SavedViews(PanelArea& panels, QWidget* parent);

  /// The files that the scene comes from.
  void setScene(const QStringList& files);

 private:
  void askAndSave();
  void recall(const QString& name);
  void remove(const QString& name);
  void fill();
  void fillLater();
  QString settingsKey() const;
  std::optional<gui::Camera> load(const QString& name) const;

  PanelArea& m_Panels;
  QMenu* mp_Delete;
  QString m_Scene;
};

}  // namespace nubo::window
