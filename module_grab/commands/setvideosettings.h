// The command "setvideosettings": frame rate, bit rate and chunks of video recordings.
#pragma once

#include <memory>

#include "kernel/main/command.h"
#include "kernel/main/parameterpanelfactory.h"
#include "module_grab/visibility.h"

QT_BEGIN_NAMESPACE
class QSlider;
QT_END_NAMESPACE

namespace nubo::commands::grab {

/// Stores its parameters, bounded to what a recording can work with, in the application settings. Recordings read
/// them when they start.
class NUBO_MODULE_GRAB_EXPORT SetVideoSettings : public main::SettingsCommand {
 public:
  SetVideoSettings();
  ~SetVideoSettings() override;

  void execute() override;

 private:
  static main::Command* create();

  void addParameters();
  QSlider* createSlider();

  std::unique_ptr<main::SliderParameterPanelFactory> mp_SliderFactory;
  static bool m_Registered;
};

}  // namespace nubo::commands::grab
