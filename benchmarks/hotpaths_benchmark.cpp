// What happens once for each tile, frame or chunk, each beside the plain way.
#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QCoreApplication>
#include <cmath>
#include <vector>

#include "module_grab/video/encoder.h"
#include "picture/composetile.h"

namespace {

constexpr int Edge = 512;

QImage tile() {
  QImage image(Edge, Edge, QImage::Format_ARGB32_Premultiplied);
  for (int y = 0; y < Edge; ++y)
    for (int x = 0; x < Edge; ++x)
      reinterpret_cast<QRgb*>(image.scanLine(y))[x] = QRgb(x) * 2654435761u ^ QRgb(y) * 40503u;
  return image;
}

void composeByRows(benchmark::State& state) {
  const QImage from = tile();
  QImage to(4 * Edge, 2 * Edge, QImage::Format(state.range(0)));
  for (auto _ : state) nubo::picture::composeTile(&to, from, Edge, Edge, [](int, int) {});
  state.SetItemsProcessed(state.iterations() * Edge * Edge);
}

void composeByPixels(benchmark::State& state) {
  const QImage from = tile();
  QImage to(4 * Edge, 2 * Edge, QImage::Format(state.range(0)));
  for (auto _ : state)
    for (int x = 0; x < Edge; ++x)
      for (int y = 0; y < Edge; ++y) to.setPixel(Edge + x, Edge + y, from.pixel(x, y));
  state.SetItemsProcessed(state.iterations() * Edge * Edge);
}

/// Takes chunks, and does nothing with them.
class Sink : public nubo::grab::video::Encoder {
 protected:
  bool initEncoding() override { return true; }
  bool encodeChunk(QIODevice*, bool) override { return true; }
  void finishEncoding() override {}
};

/// From the grabbing thread to the worker, which deletes the chunk.
void handOverChunk(benchmark::State& state) {
  Sink sink;
  for (auto _ : state) {
    auto* chunk = new QBuffer;
    chunk->open(QIODevice::ReadWrite);
    if (!sink.encodeVideoChunk(chunk, false)) state.SkipWithError("the chunk was refused");
  }
  sink.encodeVideoChunk(nullptr, true);
  sink.waitForFinish();
}

/// The bytes of a frame into a chunk that has room for them.
void fillChunk(benchmark::State& state) {
  const QByteArray frame(4 * 1280 * 720, 'x');
  QByteArray memory;
  memory.reserve(frame.size());
  QBuffer chunk(&memory);
  chunk.open(QIODevice::ReadWrite);
  for (auto _ : state) {
    chunk.seek(0);
    chunk.write(frame);
  }
  state.SetBytesProcessed(state.iterations() * frame.size());
}

BENCHMARK(composeByRows)->Arg(QImage::Format_ARGB32)->Arg(QImage::Format_RGB32)->Arg(QImage::Format_RGBA8888);
BENCHMARK(composeByPixels)->Arg(QImage::Format_ARGB32)->Arg(QImage::Format_RGB32)->Arg(QImage::Format_RGBA8888);
BENCHMARK(handOverChunk)->UseRealTime();
BENCHMARK(fillChunk);

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
