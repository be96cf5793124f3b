// What it takes to find out which parts of a model meet the tiles of a large picture, beside asking for every part.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <algorithm>

#include "kernel/main/overseer.h"
#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"
#include "module_scene/io/importer.h"
#include "picture/tiling.h"

namespace {

using namespace nubo;

constexpr int Width = 10000, Height = 5625;

math::Matrix4 frustumMatrix(const picture::Frustum& f) {
  const double near = scene::SceneDrawer::ZNEAR, far = scene::SceneDrawer::ZFAR;
  math::Matrix4 m = math::scaling(2 * near / (f.right - f.left), 2 * near / (f.top - f.bottom), 1);
  m(0, 2) = (f.right + f.left) / (f.right - f.left);
  m(1, 2) = (f.top + f.bottom) / (f.top - f.bottom);
  m(2, 2) = -(far + near) / (far - near);
  m(2, 3) = -2 * far * near / (far - near);
  m(3, 2) = -1;
  m(3, 3) = 0;
  return m;
}

std::vector<scene::ViewQuery> tiles(int edge) {
  const auto whole = picture::pictureFrustum(Width, Height, scene::SceneDrawer::ZNEAR);
  const picture::TileGrid grid(Width, Height, edge);
  std::vector<scene::ViewQuery> queries;
  for (int i = 0; i < grid.count(); ++i) {
    const picture::Tile tile = grid.tile(i);
    scene::ViewQuery query;
    query.projection = frustumMatrix(picture::tileFrustum(tile, whole, Width, Height));
    query.width = tile.width;
    query.height = tile.height;
    query.layers = 3;
    query.kinds = 7;
    queries.push_back(query);
  }
  return queries;
}

class Culling : public benchmark::Fixture {
 public:
  void SetUp(benchmark::State& state) override {
    gui::ScenePanel panel;
    panel.resize(1280, 720);
    panel.fit();
    m_View = panel.getScaledTransformMatrix();
    m_Queries = tiles(int(state.range(0)));
  }

 protected:
  math::Matrix4 m_View;
  std::vector<scene::ViewQuery> m_Queries;
};

BENCHMARK_DEFINE_F(Culling, collectAllTiles)(benchmark::State& state) {
  scene::DrawList list;
  scene::SceneParts parts;
  parts.reset({{scene::_GlobalScene()->getRootNode().get(), nullptr}});
  std::size_t ranges = 0;
  for (auto _ : state) {
    ranges = 0;
    for (const scene::ViewQuery& query : m_Queries) {
      list.clear();
      list.collect(parts, m_View, query);
      ranges += list.ranges().size();
    }
  }
  state.counters["ranges"] = double(ranges);
  state.SetItemsProcessed(state.iterations() * std::int64_t(m_Queries.size()));
}

/// Whether all corners of the cluster's box lie beyond one of the frustum's planes.
bool isOutside(const scene::Cluster& cluster, const math::Matrix4& clip) {
  int beyondAll = 63;
  for (int corner = 0; corner < 8; ++corner) {
    double p[4];
    for (int row = 0; row < 4; ++row) {
      p[row] = clip(row, 3);
      for (int axis = 0; axis < 3; ++axis)
        p[row] += clip(row, axis) * (corner >> axis & 1 ? cluster.max[axis] : cluster.min[axis]);
    }
    int beyond = 0;
    for (int plane = 0; plane < 6; ++plane)
      if (p[3] + (plane % 2 ? -1 : 1) * p[plane / 2] < 0) beyond |= 1 << plane;
    beyondAll &= beyond;
  }
  return beyondAll != 0;
}

std::size_t countClusters(const scene::SceneElement& element, const math::Matrix4& clip) {
  std::size_t met = 0;
  for (const auto& geometry : element.getGeometries())
    met += std::size_t(std::count_if(geometry->clusters.begin(), geometry->clusters.end(),
                                     [&](const scene::Cluster& cluster) { return !isOutside(cluster, clip); }));
  for (const auto& child : element.getChildren()) met += countClusters(*child, clip * child->getTransform());
  return met;
}

BENCHMARK_DEFINE_F(Culling, askEveryCluster)(benchmark::State& state) {
  std::size_t met = 0;
  for (auto _ : state) {
    met = 0;
    const auto& root = *scene::_GlobalScene()->getRootNode();
    for (const scene::ViewQuery& query : m_Queries)
      met += countClusters(root, query.projection * m_View * root.getTransform());
  }
  state.counters["clusters"] = double(met);
  state.SetItemsProcessed(state.iterations() * std::int64_t(m_Queries.size()));
}

BENCHMARK_REGISTER_F(Culling, collectAllTiles)->Arg(512)->Arg(64)->Unit(benchmark::kMillisecond);
BENCHMARK_REGISTER_F(Culling, askEveryCluster)->Arg(512)->Unit(benchmark::kMillisecond);

}  // namespace

/// The first argument is the model's file.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "headless");
  QCoreApplication::addLibraryPath(QStringLiteral(NUBO_PLUGIN_DIR));
  const QApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (argc != 2) qFatal("The name of a model's file is missing");
  const main::Overseer overseer((QString()));
  gui::Viewer viewer;
  const io::ImportResult result = io::importFile(QString::fromLocal8Bit(argv[1]));
  if (!result.root) qFatal("%s", qPrintable(result.error));
  viewer.getGlobalScene()->setRootNode(result.root);

  QOffscreenSurface surface;
  surface.setFormat(scene::_GlobalContext()->glContext()->format());
  surface.create();
  QOpenGLContext context;
  context.setShareContext(scene::_GlobalContext()->glContext());
  if (!context.create() || !context.makeCurrent(&surface)) qFatal("No OpenGL");
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
