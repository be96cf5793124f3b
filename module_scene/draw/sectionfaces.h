// The faces that close what a section cuts, for all who draw it.
#pragma once

#include <map>
#include <vector>

#include "module_scene/graph/scene.h"
#include "module_scene/mesh/crosssection.h"

namespace nubo::scene {

/// Kept with the section, so that they are found once. Any thread.
class SectionFaces : public util::YObject {
 public:
  static util::YPointer<SectionFaces> of(const Section& section);

  /// An element, and the way from its space to the section's.
  struct Cut {
    const SceneElement* element;
    math::Matrix4 place;
  };
  /// Of each, in the element's space. `changes` is the scene's, whose lock the caller holds.
  std::vector<CrossSection> find(const std::vector<Cut>& cuts, const Section& section, std::uint64_t changes);

 private:
  /// What was found for an element, and what of.
  struct Found {
    math::Matrix4 place;
    std::vector<util::YPointer<Geometry>> geometries;
    std::vector<util::YPointer<Material>> materials;
    std::uint64_t changes = 0;
    CrossSection result;
  };
  static bool isSame(const Found& found, const Cut& cut, std::uint64_t changes);
  static Found make(const Cut& cut, const Plane& plane, std::uint64_t changes);

  QMutex m_Mutex;
  std::uint64_t m_Changes = 0;
  std::map<const SceneElement*, Found> m_Found;
};

/// The names of the elements that the scene's section cuts where they have a border, so that they cannot be closed
/// there. The caller holds the scene's lock.
NUBO_MODULE_SCENE_EXPORT QStringList openWhereCut(const Scene& scene);

}  // namespace nubo::scene
