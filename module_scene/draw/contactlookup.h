// How a drawing finds its pixels in a map of the light between surfaces.
#pragma once

#include <QOpenGLFunctions>
#include <array>

namespace nubo::scene {

struct ContactLookup {
  std::array<GLfloat, 4> place;   ///< factors and offsets from window coordinates to texels
  std::array<GLfloat, 3> texels;  ///< their size in texture coordinates, and by how many pixels faces are moved back
  GLfloat tolerance;              ///< in depth, of which w's reciprocal is the unit
};

}  // namespace nubo::scene
