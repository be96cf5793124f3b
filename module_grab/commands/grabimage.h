// The command "grabimage": renders what a scene panel shows at any size, into a file or a caller's image.
#pragma once

#include <QPointer>
#include <memory>

#include "kernel/main/command.h"
#include "module_grab/visibility.h"
#include "module_scene/gui/scenepanel.h"

QT_BEGIN_NAMESPACE
class QFileDialog;
class QImage;
QT_END_NAMESPACE

namespace nubo::main {
class Event;
class FileParameterPanelFactory;
}  // namespace nubo::main

namespace nubo::commands::grab {

class NUBO_MODULE_GRAB_EXPORT GrabImage : public main::Command {
 public:
  static const char* const CommandName;

  /// The interactive form: parameters "filename" and "width" (pixels), the height follows the active panel's
  /// aspect ratio. Disabled until the host reports an active panel; stays so where OpenGL has no framebuffer
  /// objects. Application thread.
  GrabImage();
  /// The programmatic form: renders the global scene under `transform` into `image`, whose size is the
  /// picture's, and writes no file. The panel may be null. All three belong to the caller and must outlive the run;
  /// without an image or a matrix a run does nothing. Colours are written with straight alpha.
  GrabImage(QImage* image, const math::Matrix<double, 4, 4>* transform, gui::ScenePanel* panel);
  /// A copy tracks the same panel with the same values, but does not follow panel changes.
  GrabImage(const GrabImage& other);
  GrabImage& operator=(const GrabImage& other);
  ~GrabImage() override;

  /// Failures are logged. A picture that could be rendered only in part is saved as far as it got; of one that was
  /// aborted nothing is written.
  void execute() override;

 private:
  static main::Command* create();

  void buildInteractiveSet();
  void copyInteractiveSet(const GrabImage& other);
  void queueProbe();
  void probeFramebufferObjects();
  void scenePanelChanged(const main::Event* event);
  QFileDialog* createSaveDialog();
  main::ParameterSet::Refusal checkValues(const main::ParameterSet& values) const;
  /// Of a picture that can be made. Application thread.
  QString summarize(const main::ParameterSet& values) const;

  void executeProgrammatic();
  void executeInteractive();
  void grabToFile(const QString& fileName, int width, int height, const math::Matrix<double, 4, 4>& transform);
  void saveImage(QImage* target, const math::Matrix<double, 4, 4>& transform);

  std::unique_ptr<main::FileParameterPanelFactory> mp_PanelFactory;  ///< of "filename"; null in the programmatic form
  QPointer<gui::ScenePanel> mp_ActivePanel;                          ///< read and written on the application thread

  std::shared_ptr<GrabImage*> mp_Life;  ///< tells a probe that comes late whether the command is still there

  static bool m_Registered;
};

}  // namespace nubo::commands::grab
