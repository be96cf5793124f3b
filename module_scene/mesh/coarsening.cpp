#include "module_scene/mesh/coarsening.h"

#include <meshoptimizer.h>

#include <cmath>
#include <limits>
#include <unordered_map>

#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// What has fewer primitives in all is drawn fast enough as it is.
constexpr std::size_t WorthIt = 200000;
/// Of the whole's extent, by which a group's coarse version may lie off: where all of it is seen, about a pixel.
constexpr double MostError = 0.001;
/// Of the group's own extent: a small part of a large whole need not be better, but is to keep its form.
constexpr double LeastGroupError = 0.002, MostGroupError = 0.25;
/// So many faces give one where it is to be quick, and more where that leaves more than are drawn fast enough.
constexpr std::size_t LeastQuickShare = 5, QuickFaces = 150000;

/// One group of clusters, and what becomes of it.
struct Job {
  const Geometry* geometry;
  std::size_t firstCluster;
  std::vector<std::uint32_t> indices{};
  double error = 0;

  const Cluster& first() const { return geometry->clusters[firstCluster]; }
  const Cluster& last() const {
    return geometry->clusters[std::min(firstCluster + geometry->clustersPerGroup(), geometry->clusters.size()) - 1];
  }
  std::uint32_t end() const { return last().first + last().count; }  ///< of its indices
};

std::size_t countPrimitives(const SceneElement& root) {
  std::size_t count = 0;
  for (const auto& geometry : root.getGeometries()) count += geometry->primitiveCount();
  for (const auto& child : root.getChildren()) count += countPrimitives(*child);
  return count;
}

double extentOf(const BoundingBox& box) {
  return std::max({box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]});
}

/// Finds the geometries of a scene by which coarse versions are made.
class Collector {
 public:
  explicit Collector(double error) : m_Error(error) {}

  /// How far off a coarse version of what is deformed lies would change with every step, and so would its vertices
  /// while it is made.
  void visit(const SceneElement& element, const math::Matrix4& parent) {
    const math::Matrix4 place = parent * element.getTransform();
    const double scale = std::cbrt(std::abs(math::determinant(place)));
    const double error = scale > 0 ? m_Error / scale : m_Error;
    for (const auto& geometry : element.getGeometries()) {
      if (geometry->kind != KindFaces || !geometry->identities.empty()) continue;
      const auto [known, isNew] = m_Known.emplace(geometry.get(), m_Found.size());
      if (isNew) m_Found.push_back({geometry, error});
      double& most = m_Found[known->second].error;
      most = std::min(most, error);
    }
    for (const auto& child : element.getChildren()) visit(*child, place);
  }
  std::vector<Coarsenable> take() { return std::move(m_Found); }

 private:
  double m_Error;
  std::unordered_map<const Geometry*, std::size_t> m_Known;
  std::vector<Coarsenable> m_Found;
};

/// The group's faces between its own vertices, which are made fewer by `simplify`.
template <class Simplify>
void coarsenFaces(Job& job, Simplify simplify) {
  const Geometry& geometry = *job.geometry;
  const std::uint32_t offset = job.first().firstVertex;
  const std::size_t vertexCount = job.last().firstVertex + job.last().vertexCount - offset;
  const float* positions = &geometry.positions[std::size_t(offset) * 3];
  constexpr std::size_t Stride = 3 * sizeof(float);
  std::vector<std::uint32_t> whole(geometry.indices.begin() + job.first().first, geometry.indices.begin() + job.end());
  for (std::uint32_t& index : whole) index -= offset;
  job.indices.resize(whole.size());
  float error = 0;
  job.indices.resize(simplify(job.indices.data(), whole.data(), whole.size(), positions, vertexCount, Stride, &error));
  for (std::uint32_t& index : job.indices) index += offset;
  job.error = double(error) * double(meshopt_simplifyScale(positions, vertexCount, Stride));
}

/// Vertices on the group's border stay, so that it fits to its neighbours whether they are coarse or not, and those on
/// the seams of textures and creases move along them only.
auto simplifyFine(double most) {
  return [most](std::uint32_t* result, const std::uint32_t* indices, std::size_t count, const float* positions,
                std::size_t vertexCount, std::size_t stride, float* error) {
    const double extent = double(meshopt_simplifyScale(positions, vertexCount, stride));
    const double share = std::clamp(most / std::max(extent, 1e-30), LeastGroupError, MostGroupError);
    return meshopt_simplify(result, indices, count, positions, vertexCount, stride, 0, float(share),
                            meshopt_SimplifyLockBorder, error);
  };
}

/// So many faces give one, unless that would lie off by more than `most`.
auto simplifyQuick(std::size_t share, double most = std::numeric_limits<double>::infinity()) {
  return [share, most](std::uint32_t* result, const std::uint32_t* indices, std::size_t count, const float* positions,
                       std::size_t vertexCount, std::size_t stride, float* error) {
    const double extent = double(meshopt_simplifyScale(positions, vertexCount, stride));
    const double mostShare = std::min(1.0, most / std::max(extent, 1e-30));
    return meshopt_simplifySloppy(result, indices, count, positions, vertexCount, stride, count / share,
                                  float(mostShare), error);
  };
}

/// Whether it is worth drawing in the place of the whole.
bool isMuchFewer(const Job& job) { return job.indices.size() <= (job.end() - job.first().first) * 3 / 4; }

/// What consists of seams and borders, such as a street of boxes, cannot keep them. Of what is torn, the error that is
/// found is that of planes; what is smaller than twice the most that it may lie off can be lost.
void coarsenFinely(Job& job, double most) {
  coarsenFaces(job, simplifyFine(most));
  if (isMuchFewer(job)) return;
  constexpr std::size_t Share = 20;
  const double mostTorn = 3 * most;
  coarsenFaces(job, simplifyQuick(Share, mostTorn));
  job.error = std::max(job.error, 2 * mostTorn);
}

void append(CoarseVersion& version, const Job& job) {
  CoarseGroup group;
  group.first = std::uint32_t(version.indices.size());
  group.error = float(job.error);
  if (isMuchFewer(job)) {
    group.count = std::uint32_t(job.indices.size());
    version.indices.insert(version.indices.end(), job.indices.begin(), job.indices.end());
  }
  version.groups.push_back(group);
}

/// `quickShare` of faces give one, if it is to be quick. Null if cancelled.
util::YPointer<CoarseVersion> coarsened(const Coarsenable& of, Coarsening coarsening, std::size_t quickShare,
                                        const std::atomic<bool>& cancelled) {
  const Geometry& geometry = *of.geometry;
  std::vector<Job> jobs;
  for (std::size_t i = 0; i < geometry.clusters.size(); i += geometry.clustersPerGroup())
    jobs.push_back({&geometry, i});
  const auto coarsen = [&](Job& job) {
    if (coarsening == Coarsening::Fine) return coarsenFinely(job, of.error);
    coarsenFaces(job, simplifyQuick(quickShare));
    // To answer at once matters more, for the moment until there is a better one.
    job.error = 0;
  };
  constexpr std::size_t JobsWorthAThread = 4;
  parallelRanges(
      jobs.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end && !cancelled; ++i) coarsen(jobs[i]);
      },
      JobsWorthAThread);
  if (cancelled) return {};
  const util::YPointer<CoarseVersion> version(new CoarseVersion);
  for (const Job& job : jobs) append(*version, job);
  return version;
}

}  // namespace

bool isWorthCoarsening(const SceneElement& root) { return countPrimitives(root) >= WorthIt; }

std::vector<Coarsenable> worthCoarsening(const SceneElement& root) {
  Collector collector(MostError * extentOf(root.getBoundingBox()));
  if (isWorthCoarsening(root)) collector.visit(root, math::Matrix4());
  return collector.take();
}

void makeCoarseVersions(const std::vector<Coarsenable>& geometries, Coarsening coarsening,
                        const std::atomic<bool>& cancelled) {
  std::size_t all = 0;
  for (const Coarsenable& one : geometries) all += one.geometry->primitiveCount();
  const std::size_t quickShare = std::max(LeastQuickShare, all / QuickFaces);
  for (const Coarsenable& one : geometries) {
    const util::YPointer<CoarseVersion> version = coarsened(one, coarsening, quickShare, cancelled);
    if (!version) return;
    CopySlot& slot = one.geometry->coarseSlot();
    const QMutexLocker locker(&slot.mutex);
    slot.copy = version;
  }
}

util::YPointer<CoarseVersion> coarseVersion(const Geometry& geometry) {
  CopySlot& slot = geometry.coarseSlot();
  const QMutexLocker locker(&slot.mutex);
  return util::YPointer<CoarseVersion>(static_cast<CoarseVersion*>(slot.copy.get()));
}

}  // namespace nubo::scene
