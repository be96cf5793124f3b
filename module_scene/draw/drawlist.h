// What of a scene meets a view.
#pragma once

#include <optional>
#include <vector>

#include "module_scene/draw/buffercache.h"
#include "module_scene/draw/pointsieve.h"
#include "module_scene/draw/sceneparts.h"
#include "module_scene/draw/viewquery.h"

namespace nubo::scene {

class Culler;
class GapFilling;

/// One geometry with the index ranges of it that are to be drawn.
struct Batch {
  const Geometry* geometry = nullptr;
  std::uint32_t part = 0;                 ///< its place in SceneParts::all()
  util::YPointer<GeometryBuffer> buffer;  ///< null: it is drawn without OpenGL
  util::YPointer<CoarseVersion> coarse;   ///< of those ranges that are a coarse version's
  math::Matrix4 modelView;
  bool edges = false;     ///< they are a part's edges or outline, which come after all other opaque ones
  bool mirrored = false;  ///< the transform turns counter-clockwise into clockwise
  bool cullBack = false;  ///< back faces cannot be seen
  bool clipped = false;   ///< some of it lies beyond the plane of DrawList::cut()
  float width = 1;        ///< pixels, of points and lines
  bool fine = false;      ///< each of its faces takes some pixels at most
  bool chosen = false;    ///< its ranges are of DrawList::chosen()
  std::size_t firstRange = 0, rangeCount = 0;

  /// Whether its faces are seen from the front only, by drawing that knows of that: what is cut open is from both
  /// sides.
  bool isOneSided() const {
    return geometry->kind == KindFaces && !clipped && geometry->material && !geometry->material->doubleSided;
  }
};

/// Collects the clusters that a view's frustum meets, in the order in which they are drawn. A list is
/// filled again for each view and keeps its memory. Needs a current context, whose copies it makes.
class DrawList {
 public:
  /// Cut as the parts are, but for overlays.
  void collect(const SceneParts& parts, const math::Matrix4& transform, const ViewQuery& query);
  void clear();
  /// To be called once after the last collect().
  void sortTransparent();

  bool isEmpty() const { return m_Opaque.empty() && m_Transparent.empty(); }
  const std::vector<Batch>& opaque() const { return m_Opaque; }
  /// After sortTransparent(): from back to front.
  const std::vector<Batch>& transparent() const { return m_Transparent; }
  /// Pixels around the view that points and lines of a width need to be drawn whole; 0 without any.
  int margin() const { return m_Margin; }
  /// Beyond it, in eye space, nothing of batches that are clipped is drawn.
  const std::optional<Plane>& cut() const { return m_Cut; }
  /// Of all batches.
  const std::vector<Range>& ranges() const { return m_Ranges; }
  /// Vertices of those batches of which few are drawn.
  const std::vector<std::uint32_t>& chosen() const { return m_Chosen; }

 private:
  struct Sortable {
    double depth;
    std::size_t batch;
    Range range;
  };

  void copySmall(const SceneParts& parts, const ViewQuery& query);
  void addJoined(const JoinedParts& joined, const math::Matrix4& transform, const ViewQuery& query);
  void addEdges(const SceneParts& parts, const math::Matrix4& transform, const ViewQuery& query);
  static bool isDrawn(const ScenePart& part, const ViewQuery& query);
  ViewQuery queryFor(const ScenePart& part, const ViewQuery& query) const;
  void add(const ScenePart& part, const math::Matrix4& transform, Overlap overlap, const ViewQuery& query);
  void add(const Geometry& geometry, const math::Matrix4& modelView, Overlap overlap, const ViewQuery& query);
  void addClusters(const Geometry& geometry, Overlap overlap, const Culler& culler, const GapFilling* gaps);
  bool closeGaps(const GapFilling& gaps, const Cluster& cluster, const Culler& culler, Range& range);
  void addRange(std::size_t firstRange, const Range& range);
  void sieve(Batch& batch, const ViewQuery& query);
  void choose(Batch& batch);
  void drawChosen(Batch& batch, std::size_t first);

  // Of the parts, by the present collect():
  std::vector<std::pair<std::uint32_t, Overlap>> m_Met;
  std::vector<bool> m_Joined;  // those that are drawn together, or seen to be too small together
  std::vector<Batch> m_Opaque, m_Transparent, m_Unsorted;
  std::vector<Sortable> m_Sortables;  // clusters of the batches in m_Unsorted
  std::vector<Range> m_Ranges;
  PointSieve m_Sieve;
  std::vector<std::uint32_t> m_Chosen;
  std::uint64_t m_Arrangement = 0;  // of parts of which OpenGL has copies
  std::uint32_t m_Part = 0;         // that is being added, or whose edges are
  bool m_AddsEdges = false;
  int m_Margin = 0;
  std::optional<Plane> m_Cut;
};

}  // namespace nubo::scene
