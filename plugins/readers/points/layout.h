// What the columns of a list of points mean.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace nubo::reader {

enum class Meaning { Nothing, X, Y, Z, NormalX, NormalY, NormalZ, Red, Green, Blue, Packed, Intensity };

/// A point's columns, in order, of which x, y and z are always there.
struct Layout {
  std::vector<Meaning> columns;
  double colorScale = 1;                  ///< makes 0 to 255 of a colour's part
  bool packedAsFloat = false;             ///< Packed is a number whose bits, as a float, are the colour
  std::array<double, 3> origin{0, 0, 0};  ///< is subtracted, so that floats are exact enough

  bool has(Meaning meaning) const { return std::find(columns.begin(), columns.end(), meaning) != columns.end(); }
  bool hasColors() const {
    return has(Meaning::Packed) || (has(Meaning::Red) && has(Meaning::Green) && has(Meaning::Blue));
  }
  bool hasNormals() const { return has(Meaning::NormalX) && has(Meaning::NormalY) && has(Meaning::NormalZ); }
  bool isComplete() const { return has(Meaning::X) && has(Meaning::Y) && has(Meaning::Z); }
};

/// Rows of as many numbers as there are columns; what is missing is no number.
using Rows = std::vector<std::vector<double>>;

/// By the name of a column or field, in any case.
Meaning meaningOf(std::string name);

/// What columns without names hold: places, and then what the numbers look like, some rows of which are given.
/// `intensityFirst`: where there is one, it stands before the colours.
std::vector<Meaning> guessMeanings(const Rows& rows, bool intensityFirst);

/// Sets how large the colours' parts are, and the origin, by some rows.
void fitToRows(Layout& layout, const Rows& rows);

}  // namespace nubo::reader
