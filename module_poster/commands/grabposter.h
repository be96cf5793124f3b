// The command "grabposter": a picture of any size in bounded memory.
#pragma once

#include <QPointer>
#include <memory>

#include "kernel/main/command.h"
#include "module_poster/commands/posterrequest.h"
#include "module_poster/visibility.h"
#include "module_scene/gui/scenepanel.h"

QT_BEGIN_NAMESPACE
class QFileDialog;
QT_END_NAMESPACE

namespace nubo::main {
class Event;
class FileParameterPanelFactory;
}  // namespace nubo::main

namespace nubo::commands::poster {

/// Draws what the active panel shows, tile by tile as "grabimage" does, and streams it into a tiled TIFF or a deep-zoom
/// pyramid, or a band of it into a file that nubo-join makes one of those of. Disabled while there is no active panel.
/// Application thread; runs on a command thread. What is stopped or fails leaves nothing behind.
class NUBO_MODULE_POSTER_EXPORT GrabPoster : public main::Command {
 public:
  static const char* const CommandName;

  GrabPoster();
  ~GrabPoster() override;
  GrabPoster(const GrabPoster&) = delete;
  GrabPoster& operator=(const GrabPoster&) = delete;

  void execute() override;

 private:
  static main::Command* create();

  void buildParameters();
  QFileDialog* createSaveDialog();
  void panelChanged(const main::Event* event);
  /// Of values as a dialog has them; without a panel nothing can be said.
  std::optional<PosterRequest> requestOf(const main::ParameterSet& values, main::ParameterSet::Refusal& refusal) const;
  void make(const PosterRequest& request, const math::Matrix4& transform);

  std::unique_ptr<main::FileParameterPanelFactory> mp_PanelFactory;
  QPointer<gui::ScenePanel> mp_ActivePanel;  ///< read and written on the application thread

  static bool m_Registered;
};

}  // namespace nubo::commands::poster
