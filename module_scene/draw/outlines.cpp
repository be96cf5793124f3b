#include "module_scene/draw/outlines.h"

#include <algorithm>
#include <string_view>

#include "module_scene/draw/viewquery.h"
#include "module_scene/mesh/featureedges.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/silhouette.h"

namespace nubo::scene {

void Outlines::begin(const Viewpoint& viewpoint, std::uint64_t changes) {
  const bool isSame = m_Viewpoint.view == viewpoint.view && m_Viewpoint.parallel == viewpoint.parallel;
  if (!isSame || changes != m_Changes) m_Found.clear();
  m_Viewpoint = viewpoint;
  m_Changes = changes;
}

std::size_t Outlines::Hash::operator()(const Key& key) const {
  const std::string_view place(reinterpret_cast<const char*>(key.second.data()), sizeof key.second);
  return std::hash<std::string_view>()(place) ^ std::hash<const Geometry*>()(key.first);
}

Outlines::Key Outlines::keyOf(const Geometry& faces, const math::Matrix4& modelView) {
  Key key{&faces, {}};
  std::copy_n(modelView.data(), key.second.size(), key.second.begin());
  return key;
}

util::YPointer<Geometry> Outlines::made(const Geometry& faces, const math::Matrix4& modelView) const {
  const math::Matrix4 inverse = math::affineInverse(modelView);
  Eye eye{{inverse(0, 3), inverse(1, 3), inverse(2, 3)}, 1};
  if (m_Viewpoint.parallel) eye = {{inverse(0, 2), inverse(1, 2), inverse(2, 2)}, 0};
  return silhouette(faces, eye);
}

void Outlines::find(const std::vector<const ScenePart*>& parts, const math::Matrix4& transform) {
  struct Wanted {
    util::YPointer<Geometry>* lines;
    const Geometry* faces;
    math::Matrix4 modelView;
  };
  std::vector<Wanted> wanted;
  for (const ScenePart* part : parts) {
    const math::Matrix4 modelView = transform * part->place;
    const auto [place, isNew] = m_Found.try_emplace(keyOf(*part->geometry, modelView));
    if (isNew) wanted.push_back({&place->second, part->geometry, modelView});
  }
  runOnCores(wanted.size(), [&](std::size_t i) { *wanted[i].lines = made(*wanted[i].faces, wanted[i].modelView); });
}

const Geometry* Outlines::of(const Geometry& faces, const math::Matrix4& modelView) {
  const auto [place, isNew] = m_Found.try_emplace(keyOf(faces, modelView));
  if (isNew) place->second = made(faces, modelView);
  return place->second.get();
}

void findLines(const SceneParts& parts, const std::vector<std::pair<std::uint32_t, Overlap>>& numbers,
               const math::Matrix4& transform, const ViewQuery& query) {
  std::vector<const ScenePart*> drawn;
  for (const auto& [number, overlap] : numbers) {
    const ScenePart& part = parts.all()[number];
    const int layer = part.geometry->transparent ? LayerTransparent : LayerModel;
    if (part.layer == LayerModel && (query.layers & layer) && (query.kinds & part.geometry->kind) && !part.closes)
      drawn.push_back(&part);
  }
  runOnCores(drawn.size(), [&](std::size_t i) { static_cast<void>(featureEdges(*drawn[i]->geometry)); });
  if (query.outlines) query.outlines->find(drawn, transform);
}

}  // namespace nubo::scene
