#include "plugins/readers/cad/part.h"

#include <BRepBndLib.hxx>
#include <BRepLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GeomLib.hxx>
#include <Poly_Triangulation.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Iterator.hxx>

#include "plugins/readers/cad/edges.h"
#include "plugins/readers/cad/progress.h"

namespace nubo::reader {
namespace {

/// Plastic, more or less.
constexpr float Roughness = 0.5f;

double sizeOf(const TopoDS_Shape& shape) {
  Bnd_Box box;
  BRepBndLib::Add(shape, box, false);
  return box.IsVoid() || box.IsOpen() ? 0 : std::sqrt(box.SquareExtent());
}

/// A face's triangles with where they are in the part.
struct Triangles {
  TopLoc_Location place;
  Handle(Poly_Triangulation) mesh;
  Handle(Geom_Surface) surface;
  bool isReversed, isMirrored;

  explicit Triangles(const TopoDS_Face& face)
      : mesh(BRep_Tool::Triangulation(face, place)),
        surface(BRep_Tool::Surface(face, place)),
        isReversed(face.Orientation() == TopAbs_REVERSED),
        isMirrored(place.Transformation().IsNegative()) {}

  /// Of the surface itself; none where it has none.
  gp_Vec normal(int node) const {
    constexpr double Tolerance = 1e-7;
    gp_Dir direction;
    if (surface.IsNull() || !mesh->HasUVNodes() ||
        GeomLib::NormEstim(surface, mesh->UVNode(node), Tolerance, direction) > 1)
      return {0, 0, 0};
    const gp_Vec normal = gp_Vec(direction).Transformed(place.Transformation());
    return isReversed ? normal.Reversed() : normal;
  }
};

}  // namespace

std::vector<std::int32_t> PartConverter::convert(const TopoDS_Shape& shape, const Colors& colors,
                                                 const std::optional<Color>& color, double from, double to) {
  const double deflection = std::max(sizeOf(shape) * m_Fineness.length, 1e-6);
  mesh(shape, deflection, from, to);
  Faces faces;
  collect(shape, colors, color, faces);
  Edges edges(shape);
  std::vector<std::int32_t> meshes;
  for (const auto& [own, group] : faces) {
    Mesh surface = surfaceOf(group);
    if (surface.indices.empty()) continue;
    surface.material = materialOf(own);
    const Polylines borders = edges.ofFaces(group);
    surface.edges = add(linesOf(borders.points, borders.indices));
    meshes.push_back(add(std::move(surface)));
  }
  const Polylines loose = edges.ofNoFace(m_Fineness.angle, deflection);
  if (loose.indices.empty()) return meshes;
  Mesh lines = linesOf(loose.points, loose.indices);
  lines.material = materialOf(color);
  meshes.push_back(add(std::move(lines)));
  return meshes;
}

void PartConverter::mesh(const TopoDS_Shape& shape, double deflection, double from, double to) {
  // Where neighbours go on smoothly there is no edge to be drawn.
  constexpr double Smooth = 0.05;  // radians
  BRepLib::EncodeRegularity(shape, Smooth);
  IMeshTools_Parameters parameters;
  parameters.Deflection = deflection;
  parameters.Angle = m_Fineness.angle;
  parameters.InParallel = true;
  const Handle(Progress) progress = new Progress(m_Output, from, to);
  const BRepMesh_IncrementalMesh meshed(shape, parameters, progress->Start());
  m_Output.progress(to);
}

void PartConverter::collect(const TopoDS_Shape& shape, const Colors& colors, const std::optional<Color>& color,
                            Faces& faces) const {
  const Color* own = colors.Seek(shape);
  const std::optional<Color> used = own ? *own : color;
  if (shape.ShapeType() == TopAbs_FACE) {
    faces[used].push_back(TopoDS::Face(shape));
    return;
  }
  if (shape.ShapeType() > TopAbs_FACE) return;
  for (TopoDS_Iterator child(shape); child.More(); child.Next()) collect(child.Value(), colors, used, faces);
}

Mesh PartConverter::surfaceOf(const std::vector<TopoDS_Face>& faces) {
  std::size_t nodes = 0, triangles = 0;
  for (const TopoDS_Face& face : faces) {
    const Triangles part(face);
    if (part.mesh.IsNull()) {
      ++m_Missing;
      continue;
    }
    nodes += std::size_t(part.mesh->NbNodes());
    triangles += std::size_t(part.mesh->NbTriangles());
  }
  Mesh mesh;
  mesh.positions = m_Output.array<float>(nodes * 3);
  mesh.normals = m_Output.array<float>(nodes * 3);
  mesh.indices = m_Output.array<std::uint32_t>(triangles * 3);
  float *position = mesh.positions.data(), *normal = mesh.normals.data();
  std::uint32_t *index = mesh.indices.data(), first = 0;
  for (const TopoDS_Face& face : faces) {
    const Triangles part(face);
    if (part.mesh.IsNull()) continue;
    for (int n = 1; n <= part.mesh->NbNodes(); ++n) {
      const gp_XYZ p = part.mesh->Node(n).Transformed(part.place.Transformation()).XYZ() * MetresPerUnit;
      const gp_Vec v = part.normal(n);
      for (int axis = 1; axis <= 3; ++axis) *position++ = float(p.Coord(axis)), *normal++ = float(v.Coord(axis));
    }
    for (int t = 1; t <= part.mesh->NbTriangles(); ++t) {
      int corners[3];
      part.mesh->Triangle(t).Get(corners[0], corners[1], corners[2]);
      if (part.isReversed != part.isMirrored) std::swap(corners[1], corners[2]);
      for (const int corner : corners) *index++ = first + std::uint32_t(corner) - 1;
    }
    first += std::uint32_t(part.mesh->NbNodes());
  }
  return mesh;
}

Mesh PartConverter::linesOf(const std::vector<float>& points, const std::vector<std::uint32_t>& indices) {
  Mesh mesh;
  mesh.primitive = Primitive::Lines;
  mesh.positions = m_Output.array(points);
  mesh.indices = m_Output.array(indices);
  return mesh;
}

std::int32_t PartConverter::materialOf(const std::optional<Color>& color) {
  if (!color) return None;
  const auto [found, isNew] = m_Materials.try_emplace(*color, std::int32_t(m_Output.model.materials.size()));
  if (!isNew) return found->second;
  Material material;
  material.diffuse = *color;
  material.physical.emplace();
  material.physical->baseColor = *color;
  material.physical->metallic = 0;
  material.physical->roughness = Roughness;
  m_Output.model.materials.push_back(material);
  return found->second;
}

std::int32_t PartConverter::add(Mesh mesh) {
  m_Output.model.meshes.push_back(std::move(mesh));
  return std::int32_t(m_Output.model.meshes.size()) - 1;
}

}  // namespace nubo::reader
