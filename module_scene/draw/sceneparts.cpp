#include "module_scene/draw/sceneparts.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>

#include "module_scene/draw/culler.h"
#include "module_scene/draw/sectionfaces.h"

namespace nubo::scene {

namespace {

bool isPlainPoints(const Geometry& geometry) {
  const Material* material = geometry.material.get();
  const bool isLit = !geometry.normals.empty() && (!material || material->lit);
  const bool isTextured = !geometry.texCoords.empty() && material && material->texture;
  return geometry.kind == KindPoints && !geometry.transparent && !isLit && !isTextured;
}

}  // namespace

void SceneParts::update(const Subject& subject) {
  if (m_IsKnown && m_Subject == subject) return;
  reset(subject);
  m_IsKnown = true;
}

void SceneParts::reset(const Subject& subject) {
  m_IsKnown = false;
  m_Subject = subject;
  ++m_Version;
  m_Found.clear();
  for (const SceneElement* root : subject.roots)
    if (root) gather(*root, math::Matrix4(), LayerModel);
  cut();
  const bool isArranged = this->isArranged();
  if (!isArranged) arrange();
  std::vector<BoundingBox> boxes(m_Found.size());
  m_Parts.resize(m_Found.size());
  for (std::size_t i = 0; i < m_Found.size(); ++i) {
    boxes[m_Places[i]] = m_Found[i].geometry->box.transformed(m_Found[i].place);
    m_Parts[m_Places[i]] = m_Found[i];
  }
  isArranged ? m_Tree.refit(boxes) : m_Tree.build(boxes);
}

void SceneParts::gather(const SceneElement& element, const math::Matrix4& parent, Layer inherited) {
  if (!element.isVisible()) return;
  const Layer layer = element.getLayer() == LayerModel ? inherited : element.getLayer();
  const math::Matrix4 place = parent * element.getTransform();
  for (const auto& geometry : element.getGeometries())
    if (!geometry->clusters.empty()) m_Found.push_back({geometry.get(), &element, layer, place});
  for (const auto& child : element.getChildren()) gather(*child, place, layer);
}

std::vector<const Geometry*> SceneParts::geometries() const {
  std::vector<const Geometry*> result;
  for (const ScenePart& part : m_Parts) result.push_back(part.geometry);
  return result;
}

/// Elements' geometries stand side by side.
void SceneParts::cut() {
  m_Own.clear();
  m_Open.clear();
  if (!section()) return;
  std::vector<SectionFaces::Cut> cuts;
  for (const ScenePart& part : m_Found) {
    const bool isKnown = !cuts.empty() && cuts.back().element == part.element;
    if (part.layer == LayerModel && part.geometry->kind == KindFaces && !isKnown)
      cuts.push_back({part.element, part.place});
  }
  const std::vector<CrossSection> found = SectionFaces::of(*section())->find(cuts, *section(), m_Subject.changes);
  double largest = 0;
  const std::size_t first = m_Found.size();
  std::vector<double> areas;
  for (std::size_t i = 0; i < cuts.size(); ++i) {
    if (found[i].open) m_Open.push_back(cuts[i].element);
    for (const SectionFace& face : found[i].faces) {
      m_Own.push_back(face.faces);
      m_Found.push_back({face.faces.get(), cuts[i].element, LayerModel, cuts[i].place, true});
      areas.push_back(face.area * std::pow(std::abs(determinant(cuts[i].place)), 2.0 / 3));
      largest = std::max(largest, areas.back());
    }
  }
  // What lies in a body is smaller than that, and its face is to be seen before the body's.
  constexpr double Most = 1e-4;  // of the scene's size
  BoundingBox box;
  for (const ScenePart& part : m_Found) box.add(part.geometry->box.transformed(part.place));
  const math::Vector3& normal = section()->plane().normal;
  const double size = std::hypot(box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]) / 2;
  const double most = Most * size / std::hypot(normal[0], normal[1], normal[2]);
  for (std::size_t i = 0; i < areas.size(); ++i) {
    const double way = most * (1 - std::sqrt(areas[i] / largest));
    math::Matrix4& place = m_Found[first + i].place;
    place = math::translation(way * normal[0], way * normal[1], way * normal[2]) * place;
  }
}

bool SceneParts::isArranged() const {
  return std::equal(
      m_Found.begin(), m_Found.end(), m_Arranged.begin(), m_Arranged.end(),
      [](const ScenePart& part, const auto& known) { return std::pair(part.geometry, part.layer) == known; });
}

void SceneParts::arrange() {
  ++m_Arrangement;
  m_Arranged.clear();
  m_WidestPoint = m_WidestLine = 0;
  m_ArePlainPoints =
      std::all_of(m_Found.begin(), m_Found.end(), [](const ScenePart& part) { return isPlainPoints(*part.geometry); });
  // Ranks are by first use, so that every run has the same.
  std::unordered_map<const void*, std::uint32_t> ranks;
  const auto rankOf = [&ranks](const void* of) { return ranks.emplace(of, std::uint32_t(ranks.size())).first->second; };
  std::vector<std::pair<std::uint32_t, std::uint32_t>> keys;  // of materials and geometries
  for (const ScenePart& part : m_Found) {
    const Geometry& geometry = *part.geometry;
    m_Arranged.emplace_back(&geometry, part.layer);
    constexpr std::uint32_t Last = 0xFFFFFFFFu;
    keys.emplace_back(geometry.transparent ? std::pair(Last, Last)
                                           : std::pair(rankOf(geometry.material.get()), rankOf(&geometry)));
    if (geometry.kind == KindPoints) m_WidestPoint = std::max(m_WidestPoint, geometry.width);
    if (geometry.kind == KindLines) m_WidestLine = std::max(m_WidestLine, geometry.width);
  }
  std::vector<std::uint32_t> order(m_Found.size());
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
  m_Places.resize(order.size());
  for (std::uint32_t place = 0; place < order.size(); ++place) m_Places[order[place]] = place;
}

}  // namespace nubo::scene
