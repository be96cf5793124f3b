#include "plugins/readers/cad/edges.h"

#include <BRepAdaptor_Curve.hxx>
#include <BRep_Tool.hxx>
#include <GCPnts_TangentialDeflection.hxx>
#include <Poly_PolygonOnTriangulation.hxx>
#include <Poly_Triangulation.hxx>
#include <Precision.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

#include "plugins/readers/cad/part.h"

namespace nubo::reader {
namespace {

/// Adds a polyline of `count` points; `point(i)` is one, from 0.
template <class Point>
void append(Polylines& lines, int count, const Point& point) {
  for (int i = 0; i < count; ++i) {
    const gp_XYZ p = point(i).XYZ() * MetresPerUnit;
    const auto number = std::uint32_t(lines.points.size() / 3);
    if (i > 0) lines.indices.insert(lines.indices.end(), {number - 1, number});
    lines.points.insert(lines.points.end(), {float(p.X()), float(p.Y()), float(p.Z())});
  }
}

/// As the triangles of the face have it, so that both lie together.
void appendBorder(Polylines& lines, const TopoDS_Edge& edge, const TopoDS_Face& face) {
  TopLoc_Location place;
  const Handle(Poly_Triangulation) mesh = BRep_Tool::Triangulation(face, place);
  if (mesh.IsNull()) return;
  const Handle(Poly_PolygonOnTriangulation) polygon = BRep_Tool::PolygonOnTriangulation(edge, mesh, place);
  if (polygon.IsNull()) return;
  append(lines, polygon->NbNodes(),
         [&](int i) { return mesh->Node(polygon->Node(i + 1)).Transformed(place.Transformation()); });
}

}  // namespace

Edges::Edges(const TopoDS_Shape& shape) { TopExp::MapShapesAndAncestors(shape, TopAbs_EDGE, TopAbs_FACE, m_Faces); }

bool Edges::isDrawn(const TopoDS_Shape& shape) const {
  const TopoDS_Edge& edge = TopoDS::Edge(shape);
  if (BRep_Tool::Degenerated(edge)) return false;
  const TopTools_ListOfShape& faces = m_Faces.FindFromKey(edge);
  if (faces.Extent() != 2) return true;
  const TopoDS_Face &one = TopoDS::Face(faces.First()), &other = TopoDS::Face(faces.Last());
  return !BRep_Tool::HasContinuity(edge, one, other) || BRep_Tool::Continuity(edge, one, other) < GeomAbs_G1;
}

Polylines Edges::ofFaces(const std::vector<TopoDS_Face>& faces) {
  Polylines lines;
  for (const TopoDS_Face& face : faces)
    for (TopExp_Explorer edge(face, TopAbs_EDGE); edge.More(); edge.Next())
      if (m_Done.Add(edge.Current()) && isDrawn(edge.Current()))
        appendBorder(lines, TopoDS::Edge(edge.Current()), face);
  return lines;
}

Polylines Edges::ofNoFace(double angle, double deflection) const {
  Polylines lines;
  for (int i = 1; i <= m_Faces.Extent(); ++i) {
    const TopoDS_Edge& edge = TopoDS::Edge(m_Faces.FindKey(i));
    if (!m_Faces(i).IsEmpty() || BRep_Tool::Degenerated(edge) || !BRep_Tool::IsGeometric(edge)) continue;
    const BRepAdaptor_Curve curve(edge);
    if (Precision::IsInfinite(curve.FirstParameter()) || Precision::IsInfinite(curve.LastParameter())) continue;
    const GCPnts_TangentialDeflection points(curve, angle, deflection);
    append(lines, points.NbPoints(), [&](int p) { return points.Value(p + 1); });
  }
  return lines;
}

}  // namespace nubo::reader
