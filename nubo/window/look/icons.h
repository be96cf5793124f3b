// The icons of the window.
#pragma once

#include <QIcon>

namespace nubo::window {

enum class Icon {
  Open,
  Fit,
  SplitRight,
  SplitDown,
  NewTab,
  First,
  Back,
  Play,
  Pause,
  Forward,
  Last,
  Stop,
  Close,
  Float
};

/// Drawn in the colours of the palette, so that it shows on light and dark windows alike. Sharp at every size and pixel
/// density. Application thread.
QIcon makeIcon(Icon icon);

/// The program's own icon.
QIcon productIcon();

}  // namespace nubo::window
