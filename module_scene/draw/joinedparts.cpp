#include "module_scene/draw/joinedparts.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "module_scene/draw/buffercache.h"
#include "module_scene/draw/culler.h"

namespace nubo::scene {

namespace {

/// Parts of a group: so few that it is small, and that the next one need not be as fine where only it is near.
constexpr std::uint32_t MostTogether = 128;
/// Parts that one box may stand for.
constexpr std::uint32_t MostInBody[]{32, 8};

bool isTextured(const Material& material) {
  if (material.texture) return true;
  if (!material.physical) return false;
  const PhysicalMaterial& m = *material.physical;
  return m.baseColorTexture.texture || m.metallicRoughnessTexture.texture || m.normalTexture.texture ||
         m.occlusionTexture.texture || m.emissiveTexture.texture;
}

bool isJoinable(const ScenePart& part) {
  const Geometry& geometry = *part.geometry;
  const Material& material = materialOf(geometry);
  const double volume = math::determinant(part.place);
  return part.layer == LayerModel && !part.closes && geometry.kind == KindFaces && !geometry.transparent &&
         geometry.identities.empty() && material.alphaMode != AlphaMode::Mask && !isTextured(material) &&
         std::isfinite(volume) && volume != 0;
}

/// All that counts of an untextured, opaque material but its colour.
std::vector<float> appearanceOf(const Material& material, bool physical) {
  std::vector<float> result{float(material.lit)};
  const auto add = [&](const auto& values) { result.insert(result.end(), values.begin(), values.end()); };
  if (physical) {
    const PhysicalMaterial m = material.toPhysical();
    add(std::array{m.metallic, m.roughness, m.emissiveStrength});
    add(m.emissive);
  } else {
    result.push_back(material.shininess);
    add(material.specular);
    add(material.emissive);
  }
  return result;
}

/// Numbers that are the same for what looks alike and is about as large.
class Appearances {
 public:
  explicit Appearances(bool physical) : m_Physical(physical) {}

  std::uint64_t of(const ScenePart& part) {
    constexpr double TimesAsLarge = 4;
    const Geometry& geometry = *part.geometry;
    const Material& material = materialOf(geometry);
    const auto [known, isNew] = m_Known.emplace(&material, 0);
    if (isNew)
      known->second =
          m_Numbers.emplace(appearanceOf(material, m_Physical), std::uint32_t(m_Numbers.size())).first->second;
    const double diameter = 2 * Culler::radius(geometry.box) * std::cbrt(std::abs(math::determinant(part.place)));
    const int size = diameter > 0 ? int(std::floor(std::log(diameter) / std::log(TimesAsLarge))) : 0;
    return std::uint64_t(known->second) << 32 | std::uint64_t(std::uint16_t(size)) << 1 |
           std::uint64_t(geometry.normals.empty());
  }

 private:
  bool m_Physical;
  std::map<const Material*, std::uint32_t> m_Known;
  std::map<std::vector<float>, std::uint32_t> m_Numbers;
};

Bodies bodiesFor(const JoinedParts::Group& group) {
  const Geometry& first = *group.members[0].geometry;
  return {first.material, !first.normals.empty(), {group.place(0, 3), group.place(1, 3), group.place(2, 3)}};
}

void addLevel(JoinedParts::Group& group, Bodies& bodies, double error) {
  group.levels.push_back({bodies.finish(), error});
  BufferCache::buffer(*group.levels.back().geometry);
}

}  // namespace

bool JoinedParts::begin(const SceneParts& parts, bool physical, const Viewpoint& viewpoint) {
  const bool haveMoved = m_Version != parts.version();
  update(parts, physical);
  const Viewpoint last = std::exchange(m_Viewpoint, viewpoint);
  return !haveMoved || viewpoint.view != last.view || viewpoint.projection != last.projection;
}

void JoinedParts::update(const SceneParts& parts, bool physical) {
  if (m_Arrangement != parts.arrangement() || m_Physical != physical) {
    m_Groups.clear();
    m_IsGrouped = false;
  } else if (m_Version != parts.version()) {
    for (Group& group : m_Groups)
      for (Member& member : group.members) {
        const math::Matrix4& place = parts.all()[member.part].place;
        if (member.place == place) continue;
        member.place = place;
        group.levels.clear();
      }
  }
  m_Arrangement = parts.arrangement();
  m_Version = parts.version();
  m_Physical = physical;
}

bool JoinedParts::join(const SceneParts& parts, bool physical, double milliseconds) {
  QElapsedTimer timer;
  timer.start();
  update(parts, physical);
  if (!m_IsGrouped) group(parts);
  for (Group& group : m_Groups) {
    if (!group.levels.empty()) continue;
    make(group);
    if (double(timer.nsecsElapsed()) > milliseconds * 1e6) return true;
  }
  return false;
}

/// Parts whose boxes lie together, and of these such as look alike.
void JoinedParts::group(const SceneParts& parts) {
  m_IsGrouped = true;
  Appearances appearances(m_Physical);
  std::vector<std::array<std::uint32_t, 2>> knots(parts.all().size());
  for (std::size_t i = 0; i < std::size(MostInBody); ++i)
    parts.tree().visitTogether(MostInBody[i], [&](const std::uint32_t* numbers, std::uint32_t count) {
      for (std::uint32_t n = 0; n < count; ++n) knots[numbers[n]][i] = numbers[0];
    });
  std::vector<std::pair<std::uint64_t, std::uint32_t>> found;  // what parts look like, and their numbers
  parts.tree().visitTogether(MostTogether, [&](const std::uint32_t* numbers, std::uint32_t count) {
    found.clear();
    for (std::uint32_t i = 0; i < count; ++i)
      if (const ScenePart& part = parts.all()[numbers[i]]; isJoinable(part))
        found.emplace_back(appearances.of(part), numbers[i]);
    // Neighbours stay neighbours.
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto first = found.begin(), end = first; first != found.end(); first = end) {
      end = std::find_if(first, found.end(), [&](const auto& one) { return one.first != first->first; });
      if (end - first < 2) continue;
      m_Groups.emplace_back();
      for (auto one = first; one != end; ++one) {
        const ScenePart& part = parts.all()[one->second];
        m_Groups.back().members.push_back(
            {one->second, util::YPointer<const Geometry>(part.geometry), part.place, knots[one->second]});
      }
    }
  });
}

void JoinedParts::make(Group& group) const {
  BoundingBox box;
  std::vector<double> areas;
  for (const Member& member : group.members) {
    box.add(member.geometry->box.transformed(member.place));
    // What is open is seen from both sides.
    areas.push_back(areaOf(*member.geometry) * (member.geometry->closed ? 1 : 2));
  }
  group.place = math::translation(0.5 * (box.min[0] + box.max[0]), 0.5 * (box.min[1] + box.max[1]),
                                  0.5 * (box.min[2] + box.max[2]));
  for (std::size_t knot = 0; knot < std::size(MostInBody); ++knot) addBodies(group, areas, knot);
  addBodies(group, areas);
}

/// A level with a box for each part, along its axes.
void JoinedParts::addBodies(Group& group, const std::vector<double>& areas) const {
  Bodies bodies = bodiesFor(group);
  for (std::size_t i = 0; i < group.members.size(); ++i) {
    const Member& member = group.members[i];
    bodies.add(member.geometry->box, areas[i], member.place, colorOf(*member.geometry));
  }
  addLevel(group, bodies, bodies.reach());
}

/// A level with a box for each so many parts.
void JoinedParts::addBodies(Group& group, const std::vector<double>& areas, std::size_t knot) const {
  Bodies bodies = bodiesFor(group);
  for (std::size_t i = 0; i < group.members.size();) {
    BoundingBox box;
    double area = 0;
    Bodies::Color color{};
    const std::uint32_t number = group.members[i].knots[knot];
    for (float count = 1; i < group.members.size() && group.members[i].knots[knot] == number; ++i, ++count) {
      const Member& member = group.members[i];
      box.add(member.geometry->box.transformed(member.place));
      area += areas[i] * std::pow(std::abs(math::determinant(member.place)), 2.0 / 3);
      const Bodies::Color own = colorOf(*member.geometry);
      for (std::size_t c = 0; c < color.size(); ++c) color[c] += (own[c] - color[c]) / count;
    }
    bodies.add(box, area, math::Matrix4(), color);
  }
  addLevel(group, bodies, 2 * bodies.reach());  // the gaps between them are lost, too
}

/// Where vertices have colours, the first one's.
Bodies::Color JoinedParts::colorOf(const Geometry& geometry) const {
  const Material& material = materialOf(geometry);
  Bodies::Color color = m_Physical ? material.toPhysical().baseColor : material.diffuse;
  for (std::size_t i = 0; i < color.size() && !geometry.colors.empty(); ++i) color[i] = float(geometry.colors[i]) / 255;
  color[3] = 1;
  return color;
}

}  // namespace nubo::scene
