// The outlines of smooth shapes in a view.
#pragma once

#include <array>
#include <cstdint>
#include <map>

#include "module_scene/draw/viewpoint.h"
#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Finds them once for each view, so that all tiles draw the same. For one thread at a time.
class Outlines {
 public:
  /// To be called when a drawing begins. What was found stays while the viewpoint's view and the scene's changes are
  /// the same; else it goes.
  void begin(const Viewpoint& viewpoint, std::uint64_t changes);
  /// Lines in the faces' own space; null: none. Lives until the next begin().
  const Geometry* of(const Geometry& faces, const math::Matrix4& modelView);

 private:
  using Key = std::pair<const Geometry*, std::array<double, 16>>;

  Viewpoint m_Viewpoint;
  std::uint64_t m_Changes = 0;
  std::map<Key, util::YPointer<Geometry>> m_Found;
};

}  // namespace nubo::scene
