// What it takes to get a big mesh from a file into the form that is drawn, beside what Assimp takes to read it.
#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>
#include <assimp/Importer.hpp>
#include <cmath>
#include <cstring>

#include "module_scene/io/importer.h"
#include "module_scene/mesh/preparation.h"

namespace {

using nubo::scene::Geometry;

/// A sphere with bumps as a soup of about `triangles` triangles, 9 coordinates each.
std::vector<float> bumpySphere(std::size_t triangles) {
  const int rings = int(std::sqrt(double(triangles) / 4)), sectors = 2 * rings;
  const double pi = std::acos(-1.0);
  std::vector<float> soup;
  soup.reserve(std::size_t(rings) * sectors * 18);
  const auto add = [&](int ring, int sector) {
    const double theta = pi * ring / rings, phi = 2 * pi * (sector % sectors) / sectors;
    const double radius = (1 + 0.05 * std::sin(20 * theta) * std::cos(20 * phi)) * std::sin(theta);
    soup.push_back(float(radius * std::cos(phi)));
    soup.push_back(float(radius * std::sin(phi)));
    soup.push_back(float((1 + 0.05 * std::sin(20 * theta)) * std::cos(theta)));
  };
  for (int r = 0; r < rings; ++r)
    for (int s = 0; s < sectors; ++s) {
      add(r, s), add(r + 1, s), add(r + 1, s + 1);
      add(r, s), add(r + 1, s + 1), add(r, s + 1);
    }
  return soup;
}

/// The sphere as a binary STL file that lives as long as the process.
QString stlFile(std::size_t triangles) {
  static const QTemporaryDir folder;
  const QString name = folder.filePath(QStringLiteral("sphere%1.stl").arg(triangles));
  if (QFile::exists(name)) return name;
  const std::vector<float> soup = bumpySphere(triangles);
  const auto count = std::uint32_t(soup.size() / 9);
  std::vector<char> bytes(84 + std::size_t(count) * 50);
  qToLittleEndian(count, bytes.data() + 80);
  for (std::size_t i = 0; i < count; ++i) std::memcpy(bytes.data() + 84 + i * 50 + 12, &soup[i * 9], 36);
  QFile file(name);
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes.data(), qint64(bytes.size())) != qint64(bytes.size()))
    std::abort();
  return name;
}

void prepareSoup(benchmark::State& state) {
  const std::vector<float> soup = bumpySphere(std::size_t(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    nubo::util::YPointer<Geometry> geometry(new Geometry);
    geometry->positions = soup;
    geometry->indices.resize(soup.size() / 3);
    for (std::size_t i = 0; i < geometry->indices.size(); ++i) geometry->indices[i] = std::uint32_t(i);
    state.ResumeTiming();
    prepare(*geometry);
    state.counters["clusters"] = double(geometry->clusters.size());
    state.counters["vertices"] = double(geometry->vertexCount());
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t(soup.size() / 9));
}

void importStl(benchmark::State& state) {
  const QString name = stlFile(std::size_t(state.range(0)));
  for (auto _ : state) {
    const nubo::io::ImportResult result = nubo::io::importFile(name);
    if (!result.root) state.SkipWithError(qPrintable(result.error));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Reading alone, without joining or sorting anything.
void assimpReadsStl(benchmark::State& state) {
  const QString name = stlFile(std::size_t(state.range(0)));
  for (auto _ : state) {
    Assimp::Importer importer;
    if (!importer.ReadFile(QFile::encodeName(name).constData(), 0)) state.SkipWithError(importer.GetErrorString());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr int Small = 100000, Medium = 1000000, Large = 4000000;
BENCHMARK(prepareSoup)->Arg(Small)->Arg(Medium)->Arg(Large)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(importStl)->Arg(Small)->Arg(Medium)->Arg(Large)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(assimpReadsStl)->Arg(Small)->Arg(Medium)->Arg(Large)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
