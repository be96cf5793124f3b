// The edges of a shape, as lines.
#pragma once

#include <TopTools_IndexedDataMapOfShapeListOfShape.hxx>
#include <TopTools_MapOfShape.hxx>
#include <TopoDS_Face.hxx>
#include <cstdint>
#include <vector>

namespace nubo::reader {

/// Two indices per piece of line; points are in metres.
struct Polylines {
  std::vector<float> points;
  std::vector<std::uint32_t> indices;
};

/// Of a shape that has its triangles already.
class Edges {
 public:
  explicit Edges(const TopoDS_Shape& shape);

  /// Where a surface has a border or a crease: no seams, and none that neighbours pass smoothly. Each edge comes once,
  /// with the first faces that are asked for.
  Polylines ofFaces(const std::vector<TopoDS_Face>& faces);
  /// Wires without a face, approximated within an angle and a length.
  Polylines ofNoFace(double angle, double deflection) const;

 private:
  bool isDrawn(const TopoDS_Shape& edge) const;

  TopTools_IndexedDataMapOfShapeListOfShape m_Faces;  ///< per edge
  TopTools_MapOfShape m_Done;
};

}  // namespace nubo::reader
