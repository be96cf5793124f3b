// The sides of faces, and lines made of them.
#pragma once

#include <cstdint>
#include <vector>

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Pixels, of lines on faces.
constexpr float EdgeWidth = 1.5f;

/// A face's side, by two of its vertices.
struct Side {
  std::uint32_t low, high;      ///< the places of its ends
  std::uint32_t atLow, atHigh;  ///< the face's own vertices there
  std::uint32_t opposite;       ///< the face's third vertex

  bool isOn(const Side& other) const { return low == other.low && high == other.high; }
};

/// The sides of prepared faces, those between the same places beside each other.
std::vector<Side> sidesOf(const Geometry& faces);
/// Whether light falls differently onto both faces of an edge, at one of its ends.
bool isCrease(const Geometry& faces, const Side& one, const Side& other);
/// Makes thin black lines of lines, ready to be drawn; null: there are none.
util::YPointer<Geometry> inked(const util::YPointer<Geometry>& lines);
/// Appends a line between two of the faces' vertices.
void addLine(Geometry& lines, const Geometry& faces, std::uint32_t from, std::uint32_t to);

}  // namespace nubo::scene
