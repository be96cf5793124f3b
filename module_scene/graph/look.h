// How a scene is drawn.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "module_scene/visibility.h"

namespace nubo::scene {

enum class Look {
  Studio,    ///< physical materials in the light of a studio
  Plain,     ///< fixed-function light and materials, the cheapest
  Clay,      ///< everything of one matte material, in the studio
  Technical  ///< white faces, faintly shaded, with black edges and lines
};

/// As options and settings name it.
NUBO_MODULE_SCENE_EXPORT QString nameOf(Look look);
/// In any case; nothing if no look has that name.
NUBO_MODULE_SCENE_EXPORT std::optional<Look> lookNamed(const QString& name);
/// Of all looks, the one that is used by default first.
NUBO_MODULE_SCENE_EXPORT QStringList lookNames();

}  // namespace nubo::scene
