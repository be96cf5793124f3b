// What a picture needs to know of the panel whose view it shows.
#pragma once

#include <QPointer>
#include <QSize>
#include <optional>

#include "module_scene/gui/scenepanel.h"
#include "picture/visibility.h"

namespace nubo::picture {

struct PanelView {
  QSize size;
  math::Matrix4 transform;
};

/// Reads a panel on the application thread in one visit, so that one that is closed meanwhile is simply gone. Any
/// thread.
NUBO_PICTURE_EXPORT std::optional<PanelView> viewOf(const QPointer<gui::ScenePanel>& panel);

/// Of a picture of this width in a panel's aspect; heights beyond int end at its largest value, and a panel without a
/// width gives none.
NUBO_PICTURE_EXPORT int heightFor(int width, QSize panel);

}  // namespace nubo::picture
