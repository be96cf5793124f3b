// Segments joined to loops.
#pragma once

#include <cstdint>
#include <vector>

namespace nubo::scene {

/// From one numbered place to another, which may be the same.
struct Segment {
  std::uint32_t from, to;
};

struct Contours {
  std::vector<std::vector<std::uint32_t>> loops;  ///< the places along each, of which the first follows the last
  bool oriented = true;                           ///< the loops pass all segments from their beginning to their end
  bool open = false;                              ///< there are segments that lead from one end to another
};

/// Makes loops of all segments but those of ways that do not close, which it leaves out. Where it would have to leave
/// out some, it turns segments round if that helps.
Contours contoursOf(std::uint32_t places, const std::vector<Segment>& segments);

}  // namespace nubo::scene
