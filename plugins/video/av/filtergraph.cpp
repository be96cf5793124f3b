#include "plugins/video/av/filtergraph.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace nubo::grab::video::av {

namespace {
constexpr const char* action = "Couldn't convert frames";
}

FilterGraph::FilterGraph(const char* description, int width, int height, int fps, int threads)
    : m_Graph(checkAllocated(avfilter_graph_alloc())) {
  m_Graph->nb_threads = threads;
  const QString text = QStringLiteral("buffer=video_size=%1x%2:pix_fmt=bgra:time_base=1/%3:frame_rate=%3,%4,buffersink")
                           .arg(width)
                           .arg(height)
                           .arg(fps)
                           .arg(QLatin1String(description));
  AVFilterInOut* inputs = nullptr;
  AVFilterInOut* outputs = nullptr;
  const int result = avfilter_graph_parse2(m_Graph.get(), text.toLatin1().constData(), &inputs, &outputs);
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  check(result, action);
  check(avfilter_graph_config(m_Graph.get(), nullptr), action);
  mp_Source = m_Graph->filters[0];
  for (unsigned i = 0; i < m_Graph->nb_filters; ++i)
    if (m_Graph->filters[i]->nb_outputs == 0) mp_Sink = m_Graph->filters[i];
}

void FilterGraph::push(AVFrame* frame) {
  check(av_buffersrc_add_frame_flags(mp_Source, frame, AV_BUFFERSRC_FLAG_KEEP_REF), action);
}

bool FilterGraph::pull(AVFrame* frame) {
  const int result = av_buffersink_get_frame(mp_Sink, frame);
  if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return false;
  check(result, action);
  return true;
}

AVPixelFormat FilterGraph::pixelFormat() const { return static_cast<AVPixelFormat>(av_buffersink_get_format(mp_Sink)); }

AVRational FilterGraph::timeBase() const { return av_buffersink_get_time_base(mp_Sink); }

}  // namespace nubo::grab::video::av
