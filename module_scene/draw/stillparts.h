// Which parts of a view stand still from one drawing to the next.
#pragma once

#include <cstdint>
#include <vector>

#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/environment.h"
#include "module_scene/graph/look.h"

namespace nubo::scene {

/// Looks at one drawing after the other. What stands still and is opaque need be drawn only once while all else stays
/// as it is: what moves may be drawn over it, though it comes earlier in the order of drawing, if it is known where
/// depths are equal which of both is the later one. So parts are counted in runs: `runOf`. For one thread at a time.
class StillParts {
 public:
  /// What a drawing depends on beside the parts.
  struct Setting {
    Viewpoint viewpoint;
    ViewQuery query;
    Look look = Look::Plain;
    util::YPointer<Environment> environment;
    util::YPointer<Section> section;

    bool operator==(const Setting& other) const;
  };
  enum class Found {
    Other,  ///< another view, other parts, or too little that stands still: draw all of them
    Moved,  ///< it is not known yet what stands still, or some of it has moved
    Same    ///< what stood still before stands still, and is where it was
  };

  /// To be called for each drawing.
  Found compare(const SceneParts& parts, const Setting& setting);
  /// Whether a part of the last drawing is one of those that stand still.
  bool isStill(std::size_t part) const { return m_Still[part]; }
  /// Of what belongs to a part that stands still: how many runs of others come before it. Of another part's: how many
  /// come before its own run. So the latter is the later one if its number is not the smaller one.
  std::uint8_t runOf(const Batch& batch) const {
    return std::uint8_t(m_Runs[batch.part] + (batch.edges ? m_FirstRunOfEdges : 0));
  }

 private:
  struct Seen {
    util::YPointer<const Geometry> geometry;  // kept, or another one could have its address
    Layer layer;
    math::Matrix4 place;
  };

  void start(const SceneParts& parts, const Setting& setting);
  bool hasSeen(const SceneParts& parts) const;
  bool count();

  Setting m_Setting;
  std::uint64_t m_Version = 0;  // of the parts, 0: of none
  std::vector<Seen> m_Seen;     // those that stand still are where they were first
  std::vector<bool> m_Still;
  std::vector<std::uint8_t> m_Runs;  // empty: not counted since the start
  int m_FirstRunOfEdges = 0;         // which come after all parts; outlines, of the same colour, count as edges
};

}  // namespace nubo::scene
