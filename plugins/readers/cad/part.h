// A part: a shape that is made of triangles and lines once, however often it occurs.
#pragma once

#include <NCollection_DataMap.hxx>
#include <TopTools_ShapeMapHasher.hxx>
#include <TopoDS_Face.hxx>
#include <map>
#include <optional>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

constexpr double MetresPerUnit = 0.001;

/// Red, green, blue, alpha, as they are shown.
using Color = std::array<float, 4>;
/// The colours of a part's faces and of what they are grouped in, such as solids.
using Colors = NCollection_DataMap<TopoDS_Shape, Color, TopTools_ShapeMapHasher>;

/// How far triangles may lie off: by the angle between neighbours, in radians, and by a length, as a share of the
/// part's size.
struct Fineness {
  double angle, length;
  explicit Fineness(double factor) : angle(0.3 / factor), length(0.001 / factor) {}
};

/// Makes meshes of parts, and materials of their colours.
class PartConverter {
 public:
  PartConverter(const Fineness& fineness, Output& output) : m_Fineness(fineness), m_Output(output) {}

  /// `color` is for faces without one. `from` and `to` are the share of the whole that this is, for the progress.
  /// Returns the meshes: faces of one colour each, with their edges, and lines that belong to no face.
  std::vector<std::int32_t> convert(const TopoDS_Shape& shape, const Colors& colors, const std::optional<Color>& color,
                                    double from, double to);
  /// Faces that no triangles could be made of.
  std::size_t missing() const { return m_Missing; }

 private:
  using Faces = std::map<std::optional<Color>, std::vector<TopoDS_Face>>;

  void mesh(const TopoDS_Shape& shape, double deflection, double from, double to);
  void collect(const TopoDS_Shape& shape, const Colors& colors, const std::optional<Color>& color, Faces& faces) const;
  Mesh surfaceOf(const std::vector<TopoDS_Face>& faces);
  Mesh linesOf(const std::vector<float>& points, const std::vector<std::uint32_t>& indices);
  std::int32_t materialOf(const std::optional<Color>& color);
  std::int32_t add(Mesh mesh);

  const Fineness m_Fineness;
  Output& m_Output;
  std::map<Color, std::int32_t> m_Materials;
  std::size_t m_Missing = 0;
};

}  // namespace nubo::reader
