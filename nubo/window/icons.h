// Icons drawn in the colours of the palette, so that they show on light and dark windows alike.
#pragma once

#include <QIcon>

namespace nubo::window {

enum class Icon { Open, Fit, SplitRight, SplitDown, NewTab, First, Back, Play, Pause, Forward, Last, Stop, Close };

/// Sharp at every size and pixel density. Application thread.
QIcon makeIcon(Icon icon);

}  // namespace nubo::window
