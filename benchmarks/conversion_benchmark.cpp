// What it takes to turn raw frames into the pixels and colours of each codec, beside FFmpeg's quickest conversion of
// the same frame, with its rounding errors, to 4:2:0.
#include <benchmark/benchmark.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include "plugins/video/av/filtergraph.h"
#include "plugins/video/av/formats.h"

namespace {

using namespace nubo::grab::video::av;

constexpr int Width = 1280, Height = 720, Fps = 25;

Frame newFrame(AVPixelFormat format) {
  Frame frame(checkAllocated(av_frame_alloc()));
  frame->format = format;
  frame->width = Width;
  frame->height = Height;
  check(av_frame_get_buffer(frame.get(), 0), "Couldn't allocate");
  return frame;
}

Frame rawFrame() {
  Frame frame = newFrame(AV_PIX_FMT_BGRA);
  for (int y = 0; y < Height; ++y)
    for (int x = 0; x < 4 * Width; ++x) frame->data[0][y * frame->linesize[0] + x] = uint8_t(x * y >> 6 ^ x);
  return frame;
}

void convertFor(benchmark::State& state, const char* extension) {
  FilterGraph graph(findFormat(extension)->filter, Width, Height, Fps, int(state.range(0)));
  const Frame raw = rawFrame();
  const Frame converted(checkAllocated(av_frame_alloc()));
  for (auto _ : state) {
    ++raw->pts;
    graph.push(raw.get());
    while (graph.pull(converted.get())) av_frame_unref(converted.get());
  }
  state.SetItemsProcessed(state.iterations());
}

void convertQuickly(benchmark::State& state) {
  SwsContext* scaler = sws_getContext(Width, Height, AV_PIX_FMT_BGRA, Width, Height, AV_PIX_FMT_YUV420P, SWS_POINT,
                                      nullptr, nullptr, nullptr);
  const Frame raw = rawFrame();
  const Frame converted = newFrame(AV_PIX_FMT_YUV420P);
  for (auto _ : state) sws_scale(scaler, raw->data, raw->linesize, 0, Height, converted->data, converted->linesize);
  sws_freeContext(scaler);
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK_CAPTURE(convertFor, mp4, "mp4")->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(convertFor, mkv, "mkv")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(convertFor, webm, "webm")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(convertFor, mov, "mov")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(convertFor, gif, "gif")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(convertQuickly)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
