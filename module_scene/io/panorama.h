// Pictures of all that surrounds a place.
#pragma once

#include <QString>
#include <vector>

#include "module_scene/draw/environment.h"

namespace nubo::io {

/// A picture of all directions, of linear light: columns for azimuths, rows from straight up to straight down.
struct Panorama {
  int width = 0, height = 0;
  std::vector<scene::Light> light;  ///< row by row from the top; empty: there is none
};

/// Reads a panorama: Radiance's RGBE (.hdr), or whatever Qt reads, whose colours are taken for sRGB with 1 as white.
/// Where that fails the panorama is empty, and `error` says why in a few words.
NUBO_MODULE_SCENE_EXPORT Panorama readPanorama(const QString& fileName, QString& error);
/// The environment with the panorama's middle away from the eye.
NUBO_MODULE_SCENE_EXPORT util::YPointer<scene::Environment> toEnvironment(const Panorama& panorama);

}  // namespace nubo::io
