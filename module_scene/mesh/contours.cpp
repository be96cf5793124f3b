#include "module_scene/mesh/contours.h"

#include <algorithm>
#include <numeric>

namespace nubo::scene {

namespace {

/// Walks along segments, each once.
class Walker {
 public:
  Walker(std::uint32_t places, const std::vector<Segment>& segments, bool bothWays)
      : m_Segments(segments), m_Used(segments.size()), m_First(places + 1), m_Ends(places), m_OnWay(places) {
    const auto forEach = [&](const auto& take) {
      for (std::uint32_t i = 0; i < segments.size(); ++i) {
        if (segments[i].from == segments[i].to) continue;
        take(segments[i].from, i);
        if (bothWays) take(segments[i].to, i);
      }
    };
    forEach([this](std::uint32_t place, std::uint32_t) { ++m_First[place]; });
    std::partial_sum(m_First.begin(), m_First.end(), m_First.begin());
    m_Leaving.resize(m_First.back());
    forEach([this](std::uint32_t place, std::uint32_t segment) { m_Leaving[--m_First[place]] = segment; });
    m_Next.assign(m_First.begin(), m_First.end() - 1);
    findEnds(bothWays);
  }

  Contours walk() {
    Contours result;
    // What is left when all ways are gone that must end somewhere else leads back to where it begins.
    for (std::uint32_t place = 0; place < m_Ends.size(); ++place)
      while (m_Ends[place] > 0) {
        result.open = true;
        --m_Ends[place];
        const std::uint32_t end = follow(place, result.loops);
        if (m_Ends[end] > 0) --m_Ends[end];
      }
    for (std::uint32_t place = 0; place < m_Ends.size(); ++place) follow(place, result.loops);
    return result;
  }

 private:
  /// How many ways begin at a place that do not lead back to it.
  void findEnds(bool bothWays) {
    for (std::uint32_t place = 0; place < m_Ends.size(); ++place)
      m_Ends[place] = int(m_First[place + 1] - m_First[place]);
    for (const Segment& segment : m_Segments)
      if (!bothWays && segment.from != segment.to) --m_Ends[segment.to];
    for (int& ends : m_Ends) ends = bothWays ? ends % 2 : ends;
  }

  /// Walks on from a place for as long as there is a way, and takes out what has become a loop. Returns where it ends.
  std::uint32_t follow(std::uint32_t place, std::vector<std::vector<std::uint32_t>>& loops) {
    std::vector<std::uint32_t> way;
    while (m_Next[place] < m_First[place + 1]) {
      const std::uint32_t segment = m_Leaving[m_Next[place]++];
      if (m_Used[segment]) continue;
      m_Used[segment] = true;
      m_OnWay[place] = true;
      way.push_back(place);
      place = m_Segments[segment].from == place ? m_Segments[segment].to : m_Segments[segment].from;
      if (!m_OnWay[place]) continue;
      const auto first = std::find(way.rbegin(), way.rend(), place).base() - 1;
      loops.emplace_back(first, way.end());
      for (auto passed = first; passed != way.end(); ++passed) m_OnWay[*passed] = false;
      way.erase(first, way.end());
    }
    for (const std::uint32_t passed : way) m_OnWay[passed] = false;
    return place;
  }

  const std::vector<Segment>& m_Segments;
  std::vector<bool> m_Used;
  std::vector<std::uint32_t> m_First, m_Leaving;  // per place, and one more: into those that leave it
  std::vector<std::uint32_t> m_Next;              // per place
  std::vector<int> m_Ends;
  std::vector<bool> m_OnWay;
};

}  // namespace

Contours contoursOf(std::uint32_t places, const std::vector<Segment>& segments) {
  Contours result = Walker(places, segments, false).walk();
  if (!result.open) return result;
  result = Walker(places, segments, true).walk();
  result.oriented = false;
  return result;
}

}  // namespace nubo::scene
