#include "module_scene/mesh/coarsening.h"

#include <meshoptimizer.h>

#include <set>

#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// What has fewer primitives in all is drawn fast enough as it is.
constexpr std::size_t WorthIt = 200000;
/// Of a group's extent, by which its coarse version may lie off.
constexpr float MostError = 0.002f;
/// So many points give one.
constexpr std::uint32_t PointsPerCoarsePoint = 16;

/// One group of clusters, and what becomes of it.
struct Job {
  Geometry* geometry;
  std::size_t firstCluster;
  std::vector<std::uint32_t> indices{};
  double error = 0;

  const Cluster& first() const { return geometry->clusters[firstCluster]; }
  const Cluster& last() const {
    return geometry->clusters[std::min(firstCluster + ClustersPerGroup, geometry->clusters.size()) - 1];
  }
  std::uint32_t end() const { return last().first + last().count; }  ///< of its indices
};

std::size_t countPrimitives(const SceneElement& root) {
  std::size_t count = 0;
  for (const auto& geometry : root.getGeometries()) count += geometry->primitiveCount();
  for (const auto& child : root.getChildren()) count += countPrimitives(*child);
  return count;
}

/// Elements may share geometries, of which each is to be coarsened once.
void collectJobs(const SceneElement& root, std::set<const Geometry*>& known, std::vector<Job>& jobs) {
  for (const auto& geometry : root.getGeometries()) {
    if (geometry->kind == KindLines || !geometry->coarseGroups.empty() || !known.insert(geometry.get()).second)
      continue;
    for (std::size_t i = 0; i < geometry->clusters.size(); i += ClustersPerGroup) jobs.push_back({geometry.get(), i});
  }
  for (const auto& child : root.getChildren()) collectJobs(*child, known, jobs);
}

/// Fewer faces between the same vertices. Those on the group's border stay, so that it fits to its neighbours whether
/// they are coarse or not, and those on the seams of textures and creases move along them only.
void coarsenFaces(Job& job) {
  const Geometry& geometry = *job.geometry;
  const std::uint32_t offset = job.first().firstVertex;
  const std::size_t vertexCount = job.last().firstVertex + job.last().vertexCount - offset;
  const float* positions = &geometry.positions[std::size_t(offset) * 3];
  constexpr std::size_t Stride = 3 * sizeof(float);
  std::vector<std::uint32_t> whole(geometry.indices.begin() + job.first().first, geometry.indices.begin() + job.end());
  for (std::uint32_t& index : whole) index -= offset;
  job.indices.resize(whole.size());
  float error = 0;
  job.indices.resize(meshopt_simplify(job.indices.data(), whole.data(), whole.size(), positions, vertexCount, Stride, 0,
                                      MostError, meshopt_SimplifyLockBorder, &error));
  for (std::uint32_t& index : job.indices) index += offset;
  job.error = double(error) * double(meshopt_simplifyScale(positions, vertexCount, Stride));
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

void append(const Job& job) {
  Geometry& geometry = *job.geometry;
  CoarseGroup group;
  group.first = std::uint32_t(geometry.coarseIndices.size());
  group.error = float(job.error);
  const std::size_t wholeCount = job.end() - job.first().first;
  if (job.indices.size() <= wholeCount * 3 / 4) {
    group.count = std::uint32_t(job.indices.size());
    geometry.coarseIndices.insert(geometry.coarseIndices.end(), job.indices.begin(), job.indices.end());
  }
  geometry.coarseGroups.push_back(group);
}

}  // namespace

void makeCoarseVersions(const SceneElement& root) {
  if (countPrimitives(root) < WorthIt) return;
  std::set<const Geometry*> known;
  std::vector<Job> jobs;
  collectJobs(root, known, jobs);
  constexpr std::size_t JobsWorthAThread = 4;
  parallelRanges(
      jobs.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i)
          jobs[i].geometry->kind == KindFaces ? coarsenFaces(jobs[i]) : coarsenPoints(jobs[i]);
      },
      JobsWorthAThread);
  for (const Job& job : jobs) append(job);
}

}  // namespace nubo::scene
