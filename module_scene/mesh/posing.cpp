#include "module_scene/mesh/posing.h"

#include <map>

#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/surface.h"

namespace nubo::scene {
namespace {

/// Where elements stand below one of those above them.
class Places {
 public:
  explicit Places(const SceneElement& owner) { m_Known[&owner] = math::Matrix4(); }
  const math::Matrix4& operator[](const SceneElement& element) {
    const auto known = m_Known.find(&element);
    if (known != m_Known.end()) return known->second;
    const SceneElement* parent = element.getParent();
    const math::Matrix4 place = parent ? (*this)[*parent] * element.getTransform() : element.getTransform();
    return m_Known[&element] = place;
  }

 private:
  std::map<const SceneElement*, math::Matrix4> m_Known;
};

/// From the mesh at rest to the element's space, per bone.
std::vector<math::Matrix4> matricesOf(const DeformedMesh& mesh, Places& places) {
  std::vector<math::Matrix4> matrices;
  if (!mesh.skin) return matrices;
  const math::Matrix4 toElement = math::affineInverse(places[*mesh.element]);
  for (const Bone& bone : *mesh.skin) matrices.push_back(toElement * places[*bone.element] * bone.fromMesh);
  return matrices;
}

/// By cofactors, so that what is mirrored keeps its normals on the side from which its corners run counter-clockwise.
math::Vector3 transformNormal(const math::Matrix4& m, const math::Vector3& n) {
  return normalized(math::transformPoint(math::cofactors(m), n));
}

/// Leaves a value that cannot be drawn as it is.
void store(const math::Vector3& value, float* to) {
  const std::array<float, 3> stored{float(value[0]), float(value[1]), float(value[2])};
  if (std::isfinite(stored[0]) && std::isfinite(stored[1]) && std::isfinite(stored[2]))
    std::copy(stored.begin(), stored.end(), to);
}

math::Vector3 vectorAt(const std::vector<float>& values, std::size_t i) {
  return {double(values[i * 3]), double(values[i * 3 + 1]), double(values[i * 3 + 2])};
}

/// Moves one vertex after the other.
class Mover {
 public:
  explicit Mover(const DeformedMesh& mesh)
      : m_Deformation(*mesh.deformation), m_Matrices(mesh.matrices), m_ShapeWeights(mesh.shapeWeights) {}

  void move(std::size_t vertex, Geometry& g) const {
    const std::size_t source = g.identities[vertex];
    math::Vector3 position = vectorAt(m_Deformation.positions, vertex);
    math::Vector3 normal = g.normals.empty() ? math::Vector3{} : vectorAt(m_Deformation.normals, vertex);
    displace(source, position, normal);
    math::Matrix4 blended;
    if (!m_Matrices.empty() && blend(source, blended)) {
      position = math::transformPoint(blended, position);
      normal = transformNormal(blended, normal);
    } else {
      normal = normalized(normal);
    }
    store(position, &g.positions[vertex * 3]);
    if (!g.normals.empty() && normal != math::Vector3{0, 0, 0}) store(normal, &g.normals[vertex * 3]);
  }

 private:
  void displace(std::size_t source, math::Vector3& position, math::Vector3& normal) const {
    if (m_Deformation.firstDisplacement.empty()) return;
    const std::uint32_t end = m_Deformation.firstDisplacement[source + 1];
    for (std::uint32_t i = m_Deformation.firstDisplacement[source]; i < end; ++i) {
      const Displacement& displacement = m_Deformation.displacements[i];
      const double weight = displacement.shape < m_ShapeWeights.size() ? double(m_ShapeWeights[displacement.shape]) : 0;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        position[axis] += weight * double(displacement.position[axis]);
        normal[axis] += weight * double(displacement.normal[axis]);
      }
    }
  }

  /// False: no bone moves the vertex.
  bool blend(std::size_t source, math::Matrix4& blended) const {
    blended = math::scaling(0, 0, 0);
    const std::size_t first = source * m_Deformation.influences;
    bool isMoved = false;
    for (std::size_t k = first; k < first + m_Deformation.influences; ++k) {
      const double weight = double(m_Deformation.weights[k]);
      if (weight == 0) continue;
      isMoved = true;
      const math::Matrix4& matrix = m_Matrices[m_Deformation.bones[k]];
      for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 3; ++row) blended(row, column) += weight * matrix(row, column);
    }
    return isMoved;
  }

  const Deformation& m_Deformation;
  const std::vector<math::Matrix4>& m_Matrices;
  const std::vector<float>& m_ShapeWeights;
};

/// Weighted as those that prepare() finds (see CornerGroups), among the same corners.
void setNormalsOfFaces(Geometry& g, const std::vector<std::uint32_t>& groups) {
  std::vector<math::Vector3> sums(g.vertexCount(), math::Vector3{0, 0, 0});
  for (std::size_t corner = 0; corner < g.indices.size(); ++corner) {
    const std::size_t face = corner - corner % 3;
    const std::uint32_t vertex = g.indices[corner];
    const math::Vector3 here = vectorAt(g.positions, vertex);
    const math::Vector3 next = difference(vectorAt(g.positions, g.indices[face + (corner + 1) % 3]), here);
    const math::Vector3 previous = difference(vectorAt(g.positions, g.indices[face + (corner + 2) % 3]), here);
    const double lengths = dot(next, next) * dot(previous, previous);
    const math::Vector3 n = cross(next, previous);
    for (std::size_t axis = 0; axis < 3 && lengths > 0; ++axis) sums[groups[vertex]][axis] += n[axis] / lengths;
  }
  for (std::size_t v = 0; v < g.vertexCount(); ++v)
    if (const math::Vector3 n = normalized(sums[groups[v]]); n != math::Vector3{0, 0, 0}) store(n, &g.normals[v * 3]);
}

void setBounds(Geometry& g) {
  g.box = BoundingBox();
  for (Cluster& cluster : g.clusters) {
    BoundingBox box;
    for (std::size_t v = cluster.firstVertex; v < std::size_t(cluster.firstVertex) + cluster.vertexCount; ++v)
      box.add(vectorAt(g.positions, v));
    for (std::size_t axis = 0; axis < 3; ++axis) {
      cluster.min[axis] = float(box.min[axis]);
      cluster.max[axis] = float(box.max[axis]);
    }
    g.box.add(box);
  }
}

}  // namespace

void Posing::moved(const SceneElement& element) {
  for (const SceneElement* above = element.getParent(); above; above = above->getParent())
    if (above->getRig()) m_Owners.insert(above);
}

void Posing::finish() {
  for (const SceneElement* owner : m_Owners) pose(*owner);
  m_Owners.clear();
}

void pose(const SceneElement& owner) {
  if (!owner.getRig()) return;
  Places places(owner);
  for (DeformedMesh& mesh : owner.getRig()->meshes) {
    std::vector<math::Matrix4> matrices = matricesOf(mesh, places);
    const std::vector<float>& weights = mesh.element->getShapeWeights();
    if (matrices == mesh.matrices && weights == mesh.shapeWeights) continue;
    mesh.matrices = std::move(matrices);
    mesh.shapeWeights = weights;
    Geometry& g = *mesh.geometry;
    const Mover mover(mesh);
    parallelRanges(g.vertexCount(), [&](std::size_t begin, std::size_t end, std::size_t) {
      for (std::size_t v = begin; v < end; ++v) mover.move(v, g);
    });
    if (!mesh.deformation->smoothGroups.empty()) setNormalsOfFaces(g, mesh.deformation->smoothGroups);
    setBounds(g);
    g.dropCopies();
  }
}

}  // namespace nubo::scene
