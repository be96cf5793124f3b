// Small parts drawn together, for views that move.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "module_scene/draw/sceneparts.h"
#include "module_scene/draw/viewpoint.h"
#include "module_scene/mesh/bodies.h"

namespace nubo::scene {

/// Opaque parts that lie together, are about as large and look alike but for their colour, with boxes that may be drawn
/// in their place where they take few pixels: to draw some thousand small parts takes OpenGL much longer than to draw
/// what there is in them, and to leave them out leaves nothing of what consists of them. For one thread at a time.
class JoinedParts {
 public:
  struct Level {
    util::YPointer<Geometry> geometry;
    double error;  ///< by which it may lie off
  };
  struct Member {
    std::uint32_t part;                       ///< into SceneParts::all()
    util::YPointer<const Geometry> geometry;  ///< kept, or another one could have its address
    math::Matrix4 place;
    std::array<std::uint32_t, 2> knots;  ///< numbers that it shares with those that lie next to it: many, and few
  };
  struct Group {
    std::vector<Member> members;
    math::Matrix4 place;        ///< of the levels' geometries, as a part's
    std::vector<Level> levels;  ///< of all members, from the coarsest to the finest; none: it is not joined
  };

  /// To be called when a drawing begins. Gives up groups of which a part is not where it was, and all, if there are
  /// other parts than before or others of their materials' values are shown: the physical ones or not. False: only
  /// parts have moved and not the view, so that those alone may be drawn.
  [[nodiscard]] bool begin(const SceneParts& parts, bool physical, const Viewpoint& viewpoint);
  /// Joins what is not joined, for about so long, with a current context, which gets copies. False: all is joined.
  [[nodiscard]] bool join(const SceneParts& parts, bool physical, double milliseconds);
  const std::vector<Group>& groups() const { return m_Groups; }

 private:
  void update(const SceneParts& parts, bool physical);
  void group(const SceneParts& parts);
  void make(Group& group) const;
  void addBodies(Group& group, const std::vector<double>& areas) const;
  void addBodies(Group& group, const std::vector<double>& areas, std::size_t knot) const;
  Bodies::Color colorOf(const Geometry& geometry) const;

  std::uint64_t m_Arrangement = 0, m_Version = 0;  ///< of the parts
  Viewpoint m_Viewpoint;
  bool m_Physical = false, m_IsGrouped = false;
  std::vector<Group> m_Groups;
};

}  // namespace nubo::scene
