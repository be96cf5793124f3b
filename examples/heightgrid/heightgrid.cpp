// Reads grids of heights as geographic programs write them: six or fewer lines of a name and a number (ncols, nrows,
// xllcorner, yllcorner, cellsize, NODATA_value), then the heights by rows, the northernmost first.
#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>

#include "module_scene/io/reader/reader.h"

namespace {

using namespace nubo::reader;

struct Grid {
  std::size_t columns = 0, rows = 0;
  double cell = 1, noData = -9999;
};

Grid readHeading(std::istream& file) {
  std::map<std::string, double> values;
  for (std::string name; std::isalpha(file.peek()) && file >> name;) {
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    if (!(file >> values[name] >> std::ws)) throw Refusal("the value of '%1' is missing", {name});
  }
  Grid grid;
  constexpr double Most = 1e5;
  for (const char* name : {"ncols", "nrows"})
    if (!(values[name] >= 2 && values[name] <= Most)) throw Refusal("'%1' makes no sense", {name});
  grid.columns = std::size_t(values["ncols"]);
  grid.rows = std::size_t(values["nrows"]);
  if (values["cellsize"] > 0) grid.cell = values["cellsize"];
  if (values.count("nodata_value")) grid.noData = values["nodata_value"];
  return grid;
}

/// Each four neighbours with heights make two triangles.
Array<std::uint32_t> trianglesOf(const Grid& grid, const std::vector<bool>& isKnown, Output& output) {
  Array<std::uint32_t> indices = output.array<std::uint32_t>((grid.columns - 1) * (grid.rows - 1) * 6);
  std::size_t size = 0;
  for (std::size_t row = 0; row + 1 < grid.rows; ++row)
    for (std::size_t column = 0; column + 1 < grid.columns; ++column) {
      const std::size_t a = row * grid.columns + column, b = a + 1, c = a + grid.columns, d = c + 1;
      if (!isKnown[a] || !isKnown[b] || !isKnown[c] || !isKnown[d]) continue;
      for (const std::size_t corner : {a, c, b, b, c, d}) indices[size++] = std::uint32_t(corner);
    }
  indices.shrink(size);
  return indices;
}

}  // namespace

NUBO_READER_ENTRY(fileName, format, output) {
  static_cast<void>(format);  // there is one only
  std::ifstream file(fileName);
  const Grid grid = readHeading(file);
  Mesh mesh;
  mesh.positions = output.array<float>(grid.columns * grid.rows * 3);
  std::vector<bool> isKnown(grid.columns * grid.rows);
  std::size_t missing = 0;
  for (std::size_t row = 0, at = 0; row < grid.rows; ++row) {
    output.progress(double(row) / double(grid.rows));
    for (std::size_t column = 0; column < grid.columns; ++column, ++at) {
      double height = 0;
      if (!(file >> height)) throw Refusal("the file is truncated or damaged");
      isKnown[at] = height != grid.noData;
      missing += isKnown[at] ? 0 : 1;
      float* position = &mesh.positions[at * 3];
      position[0] = float(double(column) * grid.cell);
      position[1] = float(-double(row) * grid.cell);
      position[2] = isKnown[at] ? float(height) : 0;
    }
  }
  if (missing > 0) output.warning(text("%1 heights are unknown", {std::to_string(missing)}));
  mesh.indices = trianglesOf(grid, isKnown, output);
  output.model.meshes.push_back(mesh);
  Node node;
  node.name = "ground";
  node.instances.push_back({0});
  output.model.nodes.push_back(node);
}
