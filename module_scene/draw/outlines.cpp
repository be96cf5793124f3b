#include "module_scene/draw/outlines.h"

#include <algorithm>

#include "module_scene/mesh/silhouette.h"

namespace nubo::scene {

void Outlines::begin(const Viewpoint& viewpoint, std::uint64_t changes) {
  const bool isSame = m_Viewpoint.view == viewpoint.view && m_Viewpoint.parallel == viewpoint.parallel;
  if (!isSame || changes != m_Changes) m_Found.clear();
  m_Viewpoint = viewpoint;
  m_Changes = changes;
}

const Geometry* Outlines::of(const Geometry& faces, const math::Matrix4& modelView) {
  Key key{&faces, {}};
  std::copy_n(modelView.data(), key.second.size(), key.second.begin());
  const auto found = m_Found.find(key);
  if (found != m_Found.end()) return found->second.get();
  const math::Matrix4 inverse = math::affineInverse(modelView);
  Eye eye{{inverse(0, 3), inverse(1, 3), inverse(2, 3)}, 1};
  if (m_Viewpoint.parallel) eye = {{inverse(0, 2), inverse(1, 2), inverse(2, 2)}, 0};
  return m_Found.emplace(key, silhouette(faces, eye)).first->second.get();
}

}  // namespace nubo::scene
