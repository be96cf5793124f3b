#include "module_scene/draw/sectionfaces.h"

#include <algorithm>

#include "module_scene/draw/sceneparts.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

bool isMet(const Geometry& geometry, const Plane& plane) {
  if (geometry.box.isEmpty()) return false;
  const auto [least, most] = plane.rangeOf(geometry.box);
  return least <= 0 && most > 0;
}

}  // namespace

util::YPointer<SectionFaces> SectionFaces::of(const Section& section) {
  CopySlot& slot = section.copySlot();
  const QMutexLocker locker(&slot.mutex);
  if (!slot.copy) slot.copy = new SectionFaces;
  return static_cast<SectionFaces*>(slot.copy.get());
}

std::vector<CrossSection> SectionFaces::find(const std::vector<Cut>& cuts, const Section& section,
                                             std::uint64_t changes) {
  const QMutexLocker locker(&m_Mutex);
  std::vector<Found> found(cuts.size());
  std::vector<std::size_t> missing;
  for (std::size_t i = 0; i < cuts.size(); ++i) {
    const auto known = m_Found.find(cuts[i].element);
    if (known != m_Found.end() && isSame(known->second, cuts[i], changes))
      found[i] = known->second;
    else
      missing.push_back(i);
  }
  parallelRanges(
      missing.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) found[missing[i]] = make(cuts[missing[i]], section.plane(), changes);
      },
      1);
  // What has not been asked for since the last change may be gone for good.
  if (std::exchange(m_Changes, changes) != changes) m_Found.clear();
  std::vector<CrossSection> result;
  for (std::size_t i = 0; i < cuts.size(); ++i) {
    result.push_back(found[i].result);
    m_Found[cuts[i].element] = std::move(found[i]);
  }
  return result;
}

bool SectionFaces::isSame(const Found& found, const Cut& cut, std::uint64_t changes) {
  if (found.place != cut.place || found.geometries != cut.element->getGeometries()) return false;
  for (std::size_t i = 0; i < found.geometries.size(); ++i) {
    const bool bends = !found.geometries[i]->identities.empty();
    if (found.geometries[i]->material != found.materials[i] || (bends && found.changes != changes)) return false;
  }
  return true;
}

SectionFaces::Found SectionFaces::make(const Cut& cut, const Plane& plane, std::uint64_t changes) {
  Found found{cut.place, cut.element->getGeometries(), {}, changes, {}};
  const Plane own = plane.before(cut.place);
  bool isMet = false;
  for (const auto& geometry : found.geometries) {
    found.materials.push_back(geometry->material);
    isMet = isMet || scene::isMet(*geometry, own);
  }
  if (isMet) found.result = crossSection(found.geometries, own);
  return found;
}

QStringList openWhereCut(const Scene& scene) {
  SceneParts parts;
  parts.reset({{scene.getRootNode().get(), nullptr}, scene.changeCount(), scene.getSection()});
  QStringList names;
  for (const SceneElement* element : parts.openElements()) names << element->getName();
  return names;
}

}  // namespace nubo::scene
