// The outlines of smooth shapes in a view.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "module_scene/draw/sceneparts.h"
#include "module_scene/draw/viewpoint.h"

namespace nubo::scene {

struct ViewQuery;

/// Finds them once for each view, so that all tiles draw the same. For one thread at a time.
class Outlines {
 public:
  /// To be called when a drawing begins. What was found stays while the viewpoint's view and the scene's changes are
  /// the same; else it goes.
  void begin(const Viewpoint& viewpoint, std::uint64_t changes);
  /// Finds those of all these parts, where `transform` brings them, on all cores.
  void find(const std::vector<const ScenePart*>& parts, const math::Matrix4& transform);
  /// Lines in the faces' own space; null: none. Lives until the next begin().
  const Geometry* of(const Geometry& faces, const math::Matrix4& modelView);

 private:
  using Key = std::pair<const Geometry*, std::array<double, 16>>;
  struct Hash {
    std::size_t operator()(const Key& key) const;
  };
  static Key keyOf(const Geometry& faces, const math::Matrix4& modelView);
  util::YPointer<Geometry> made(const Geometry& faces, const math::Matrix4& modelView) const;

  Viewpoint m_Viewpoint;
  std::uint64_t m_Changes = 0;
  std::unordered_map<Key, util::YPointer<Geometry>, Hash> m_Found;
};

/// Finds all lines that a drawing of the parts with these numbers needs, edges and outlines, on all cores: one after
/// the other they take longer than all else where there are thousands of parts.
void findLines(const SceneParts& parts, const std::vector<std::pair<std::uint32_t, Overlap>>& numbers,
               const math::Matrix4& transform, const ViewQuery& query);

}  // namespace nubo::scene
