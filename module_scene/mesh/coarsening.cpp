#include "module_scene/mesh/coarsening.h"

#include <meshoptimizer.h>

#include <set>

#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// What has fewer primitives in all is drawn fast enough as it is.
constexpr std::size_t WorthIt = 200000;
/// Of the geometry's extent, by which a group's coarse version may lie off: where all of it is seen, about a pixel.
constexpr double MostError = 0.001;
/// Of the group's own extent: a small part of a large whole need not be better, but is to keep its form.
constexpr double LeastGroupError = 0.002, MostGroupError = 0.05;
/// So many faces give one where it is to be quick, and more where that leaves more than are drawn fast enough.
constexpr std::size_t LeastQuickShare = 5, QuickFaces = 150000;
/// So many points give one.
constexpr std::uint32_t PointsPerCoarsePoint = 16;

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

/// How far off a coarse version of what is deformed lies would change with every step, and so would its vertices while
/// it is made.
void collect(const SceneElement& root, std::set<const Geometry*>& known, std::vector<util::YPointer<Geometry>>& found) {
  for (const auto& geometry : root.getGeometries())
    if (geometry->kind != KindLines && geometry->identities.empty() && known.insert(geometry.get()).second)
      found.push_back(geometry);
  for (const auto& child : root.getChildren()) collect(*child, known, found);
}

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

double extentOf(const BoundingBox& box) {
  return std::max({box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]});
}

/// Vertices on the group's border stay, so that it fits to its neighbours whether they are coarse or not, and those on
/// the seams of textures and creases move along them only.
auto simplifyFine(const Geometry& whole) {
  return [most = MostError * extentOf(whole.box)](std::uint32_t* result, const std::uint32_t* indices,
                                                  std::size_t count, const float* positions, std::size_t vertexCount,
                                                  std::size_t stride, float* error) {
    const double extent = double(meshopt_simplifyScale(positions, vertexCount, stride));
    const double share = std::clamp(most / std::max(extent, 1e-30), LeastGroupError, MostGroupError);
    return meshopt_simplify(result, indices, count, positions, vertexCount, stride, 0, float(share),
                            meshopt_SimplifyLockBorder, error);
  };
}

auto simplifyQuick(std::size_t share) {
  return [share](std::uint32_t* result, const std::uint32_t* indices, std::size_t count, const float* positions,
                 std::size_t vertexCount, std::size_t stride, float* error) {
    return meshopt_simplifySloppy(result, indices, count, positions, vertexCount, stride, count / share, 1, error);
  };
}

/// Points that follow each other lie near each other, so some of them stand for all.
void coarsenPoints(Job& job) {
  BoundingBox box;
  for (std::uint32_t i = job.first().first; i < job.end(); ++i) {
    const std::uint32_t vertex = job.geometry->indices[i];
    const float* p = &job.geometry->positions[std::size_t(vertex) * 3];
    box.add(math::Vector3{p[0], p[1], p[2]});
    if (i % PointsPerCoarsePoint == 0) job.indices.push_back(vertex);
  }
  // How far apart they are, where they lie on a surface.
  const double diagonal = std::hypot(box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]);
  job.error = diagonal / std::sqrt(double(job.indices.size()) + 1);
}

void append(CoarseVersion& version, const Job& job) {
  CoarseGroup group;
  group.first = std::uint32_t(version.indices.size());
  group.error = float(job.error);
  const std::size_t wholeCount = job.end() - job.first().first;
  if (job.indices.size() <= wholeCount * 3 / 4) {
    group.count = std::uint32_t(job.indices.size());
    version.indices.insert(version.indices.end(), job.indices.begin(), job.indices.end());
  }
  version.groups.push_back(group);
}

/// `quickShare` of faces give one, if it is to be quick. Null if cancelled.
util::YPointer<CoarseVersion> coarsened(const Geometry& geometry, Coarsening coarsening, std::size_t quickShare,
                                        const std::atomic<bool>& cancelled) {
  std::vector<Job> jobs;
  for (std::size_t i = 0; i < geometry.clusters.size(); i += geometry.clustersPerGroup()) jobs.push_back({&geometry, i});
  const auto coarsen = [&](Job& job) {
    if (geometry.kind == KindPoints) return coarsenPoints(job);
    if (coarsening == Coarsening::Fine) return coarsenFaces(job, simplifyFine(geometry));
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

std::vector<util::YPointer<Geometry>> worthCoarsening(const SceneElement& root) {
  std::vector<util::YPointer<Geometry>> found;
  std::set<const Geometry*> known;
  if (isWorthCoarsening(root)) collect(root, known, found);
  return found;
}

void makeCoarseVersions(const std::vector<util::YPointer<Geometry>>& geometries, Coarsening coarsening,
                        const std::atomic<bool>& cancelled) {
  std::size_t all = 0;
  for (const auto& geometry : geometries) all += geometry->primitiveCount();
  const std::size_t quickShare = std::max(LeastQuickShare, all / QuickFaces);
  for (const auto& geometry : geometries) {
    const util::YPointer<CoarseVersion> version = coarsened(*geometry, coarsening, quickShare, cancelled);
    if (!version) return;
    CopySlot& slot = geometry->coarseSlot();
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
