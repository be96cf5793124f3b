// What moves single vertices of meshes: bones and shapes.
#pragma once

#include <memory>

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// How far a vertex goes for a shape whose weight is 1.
struct Displacement {
  std::uint32_t shape = 0;
  std::array<float, 3> position{}, normal{};
};

/// How the vertices of a mesh are moved; all its uses share it. No change after it became part of a scene.
struct Deformation : public util::YObject {
  // Per vertex of those that Geometry::identities names:
  std::uint32_t influences = 0;                  ///< bones per vertex; 0: no bone moves any
  std::vector<std::uint16_t> bones;              ///< `influences` each: into the skin
  std::vector<float> weights;                    ///< the same; their sum is 1, or 0 where no bone moves the vertex
  std::vector<std::uint32_t> firstDisplacement;  ///< and one more; empty: there are no shapes
  std::vector<Displacement> displacements;

  // Per vertex of the geometry, x y z at rest:
  std::vector<float> positions, normals;
  /// Where normals are those of the faces, wherever these go: the same number for vertices that share theirs; or empty.
  std::vector<std::uint32_t> smoothGroups;
};

/// An element that has vertices follow it.
struct Bone {
  util::YPointer<SceneElement> element;
  math::Matrix4 fromMesh;  ///< from the space of the mesh at rest to the element's
};
using Skin = std::vector<Bone>;

/// One use of a mesh that is deformed.
struct DeformedMesh {
  util::YPointer<SceneElement> element;  ///< shows the geometry, and has the weights of its shapes
  util::YPointer<Geometry> geometry;     ///< of this use alone
  util::YPointer<Deformation> deformation;
  std::shared_ptr<const Skin> skin;  ///< null: only shapes move it

  // What the geometry was computed for, last:
  std::vector<math::Matrix4> matrices;
  std::vector<float> shapeWeights;
};

/// All that is deformed below an element, which owns it. Bones and meshes lie below that element, too, and what is
/// above it moves them together.
struct Rig : public util::YObject {
  std::vector<DeformedMesh> meshes;
};

}  // namespace nubo::scene
