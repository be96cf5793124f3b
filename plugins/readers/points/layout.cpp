#include "plugins/readers/points/layout.h"

#include <cctype>
#include <cmath>
#include <limits>
#include <utility>

namespace nubo::reader {
namespace {

constexpr std::size_t Places = 3;

/// Whether the test holds for each row, of its columns from `first` on.
template <class Test>
bool holdsForAll(const Rows& rows, std::size_t first, const Test& test) {
  return std::all_of(rows.begin(), rows.end(), [&](const std::vector<double>& row) { return test(&row[first]); });
}

bool isDirection(const double* v) {
  constexpr double Tolerance = 0.01;
  return std::abs(v[0] * v[0] + v[1] * v[1] + v[2] * v[2] - 1) < Tolerance;
}

bool isColor(const double* v) {
  constexpr double Most = 65535;
  return std::all_of(v, v + 3, [](double part) { return part >= 0 && part <= Most; });
}

void append(std::vector<Meaning>& meanings, Meaning a, Meaning b, Meaning c) {
  meanings.insert(meanings.end(), {a, b, c});
}

/// Of the middle of all rows along an axis; lone points far off must not decide.
double medianOf(const Rows& rows, std::size_t column) {
  std::vector<double> values;
  for (const std::vector<double>& row : rows)
    if (std::isfinite(row[column])) values.push_back(row[column]);
  if (values.empty()) return 0;
  const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Whole, so that what is added to it later looks like the file's own numbers.
double originBy(double median) {
  constexpr double ExactEnough = 1000, TooFar = 1e12;
  return std::abs(median) < ExactEnough || std::abs(median) > TooFar ? 0 : std::floor(median);
}

}  // namespace

Meaning meaningOf(std::string name) {
  static constexpr std::pair<const char*, Meaning> Names[]{
      {"x", Meaning::X},
      {"easting", Meaning::X},
      {"y", Meaning::Y},
      {"northing", Meaning::Y},
      {"z", Meaning::Z},
      {"elevation", Meaning::Z},
      {"height", Meaning::Z},
      {"nx", Meaning::NormalX},
      {"normal_x", Meaning::NormalX},
      {"ny", Meaning::NormalY},
      {"normal_y", Meaning::NormalY},
      {"nz", Meaning::NormalZ},
      {"normal_z", Meaning::NormalZ},
      {"r", Meaning::Red},
      {"red", Meaning::Red},
      {"g", Meaning::Green},
      {"green", Meaning::Green},
      {"b", Meaning::Blue},
      {"blue", Meaning::Blue},
      {"rgb", Meaning::Packed},
      {"rgba", Meaning::Packed},
      {"i", Meaning::Intensity},
      {"intensity", Meaning::Intensity},
      {"reflectance", Meaning::Intensity},
  };
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  const auto found = std::find_if(std::begin(Names), std::end(Names), [&](const auto& n) { return name == n.first; });
  return found == std::end(Names) ? Meaning::Nothing : found->second;
}

std::vector<Meaning> guessMeanings(const Rows& rows, bool intensityFirst) {
  std::vector<Meaning> meanings{Meaning::X, Meaning::Y, Meaning::Z};
  const std::size_t columns = rows.empty() ? Places : rows[0].size();
  bool colors = false, normals = false, intensity = false;
  while (meanings.size() < columns) {
    const std::size_t at = meanings.size(), left = columns - at;
    const bool alone = left < 3 || (intensityFirst && left % 3 == 1);
    if (!alone && !normals && holdsForAll(rows, at, isDirection)) {
      append(meanings, Meaning::NormalX, Meaning::NormalY, Meaning::NormalZ);
      normals = true;
    } else if (!alone && !colors && holdsForAll(rows, at, isColor)) {
      append(meanings, Meaning::Red, Meaning::Green, Meaning::Blue);
      colors = true;
    } else {
      meanings.push_back(intensity ? Meaning::Nothing : Meaning::Intensity);
      intensity = true;
    }
  }
  return meanings;
}

void fitToRows(Layout& layout, const Rows& rows) {
  double most = 0;
  for (std::size_t c = 0; c < layout.columns.size(); ++c) {
    const Meaning meaning = layout.columns[c];
    if (meaning >= Meaning::X && meaning <= Meaning::Z)
      layout.origin[std::size_t(meaning) - std::size_t(Meaning::X)] = originBy(medianOf(rows, c));
    if (meaning < Meaning::Red || meaning > Meaning::Blue) continue;
    for (const std::vector<double>& row : rows) most = std::isfinite(row[c]) ? std::max(most, row[c]) : most;
  }
  layout.colorScale = most <= 1 ? 255 : most <= 255 ? 1 : 255.0 / 65535;
}

}  // namespace nubo::reader
