#include "module_scene/draw/stillparts.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace nubo::scene {

bool StillParts::Setting::operator==(const Setting& other) const {
  const auto all = [](const Setting& s) {
    const ViewQuery& q = s.query;
    return std::tie(s.viewpoint.projection, s.viewpoint.view, s.viewpoint.parallel, s.viewpoint.lens, q.width, q.height,
                    q.detail, q.layers, q.kinds, q.samples, q.sieved, q.edges, q.widthScale, s.look, s.environment,
                    s.section);
  };
  return all(*this) == all(other);
}

StillParts::Found StillParts::compare(const SceneParts& parts, const Setting& setting) {
  if (!(setting == m_Setting && hasSeen(parts))) {
    start(parts, setting);
    return Found::Other;
  }
  Found found = Found::Same;
  if (m_Runs.empty()) {
    m_Still.clear();
    for (const Seen& seen : m_Seen) m_Still.push_back(!seen.geometry->transparent && seen.geometry->identities.empty());
    found = Found::Moved;
  }
  if (parts.version() != m_Version)
    for (std::size_t i = 0; i < m_Seen.size(); ++i)
      if (m_Still[i] && m_Seen[i].place != parts.all()[i].place) {
        m_Still[i] = false;
        found = Found::Moved;
      }
  m_Version = parts.version();
  if (found == Found::Same || count()) return found;
  start(parts, setting);
  return Found::Other;
}

void StillParts::start(const SceneParts& parts, const Setting& setting) {
  m_Setting = setting;
  m_Runs.clear();
  if (std::exchange(m_Version, parts.version()) == parts.version()) return;
  m_Seen.clear();
  for (const ScenePart& part : parts.all()) m_Seen.push_back({part.geometry, part.layer, part.place});
}

bool StillParts::hasSeen(const SceneParts& parts) const {
  if (parts.version() == m_Version) return true;
  const auto isSame = [](const Seen& seen, const ScenePart& part) {
    return seen.geometry.get() == part.geometry && seen.layer == part.layer;
  };
  return std::equal(m_Seen.begin(), m_Seen.end(), parts.all().begin(), parts.all().end(), isSame);
}

/// Counts the runs; false if there are too many, or if to bring back what stands still would take longer than to draw
/// it.
bool StillParts::count() {
  constexpr std::size_t PixelsPerIndex = 8;
  constexpr int Numbers = std::numeric_limits<std::uint8_t>::max();
  const int mostRuns = m_Setting.query.edges ? Numbers / 2 : Numbers;
  std::size_t still = 0, moving = 0;
  int run = 0;
  m_Runs.resize(m_Seen.size());
  for (std::size_t i = 0; i < m_Seen.size(); ++i) {
    if (i > 0 && m_Still[i] && !m_Still[i - 1]) ++run;
    if (run > mostRuns) return false;
    m_Runs[i] = std::uint8_t(run);
    (m_Still[i] ? still : moving) += m_Seen[i].geometry->indices.size();
  }
  m_FirstRunOfEdges = run + 1;
  const ViewQuery& query = m_Setting.query;
  const auto samples = std::size_t(query.width) * std::size_t(query.height) * std::size_t(std::max(1, query.samples));
  return still > moving && still * PixelsPerIndex > samples;
}

}  // namespace nubo::scene
