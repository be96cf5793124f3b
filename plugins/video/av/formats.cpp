#include "plugins/video/av/formats.h"

#include <array>

#include "plugins/video/av/libav.h"
#include "plugins/video/av/mpeg4colours.h"

namespace nubo::grab::video::av {

namespace {

// Exact rounding and all columns for the colour samples. The latter are sited where players expect them: with the
// left of two columns, half-way between two rows.
#define NUBO_BT709 "scale=out_color_matrix=bt709:out_range=tv:flags=bicubic+accurate_rnd+full_chroma_inp"
#define NUBO_BT709_420 NUBO_BT709 ":out_h_chr_pos=0:out_v_chr_pos=128,format="

const std::array<Format, 6> formats{{
    // Every frame leaves the encoder at once: what was encoded is in the file when the program is killed.
    {"mp4", "MPEG-4 video (H.264)", "mp4", "movflags=frag_keyframe+empty_moov+default_base_moof+write_colr", "libx264",
     "preset=veryfast:tune=zerolatency", NUBO_BT709_420 "yuv420p", true, true, 0, nullptr},
    {"mkv", "Matroska video (FFV1, lossless with alpha)", "matroska", "", "ffv1", "level=3:slicecrc=1:g=1",
     "format=bgra", false, false, 0, nullptr},
    {"webm", "WebM video (VP9 with alpha)", "webm", "", "libvpx-vp9",
     "deadline=realtime:cpu-used=5:row-mt=1:lag-in-frames=0:auto-alt-ref=0", NUBO_BT709_420 "yuva420p", true, false, 0,
     nullptr},
    {"mov", "QuickTime video (ProRes 4444 with alpha)", "mov", "movflags=write_colr", "prores_ks",
     "profile=4444:vendor=apl0", NUBO_BT709 ",format=yuva444p10", false, false, 0, nullptr},
    {"avi", "AVI video (MPEG-4 part 2)", "avi", "", "mpeg4", "", NUBO_BT709_420 "yuv420p", true, false, 0,
     &tagMpeg4Colours},
    {"gif", "Animated GIF", "gif", "", "gif", "",
     "format=bgr24,split[picture][copy];[copy]palettegen=stats_mode=single:reserve_transparent=0[palette];"
     "[picture][palette]paletteuse=new=1:dither=sierra2_4a",
     false, false, 100, nullptr},
}};

bool isAvailable(const Format& format) {
  return avcodec_find_encoder_by_name(format.codec) && av_guess_format(format.muxer, nullptr, nullptr);
}

}  // namespace

std::vector<const Format*> availableFormats() {
  std::vector<const Format*> available;
  for (const Format& format : formats)
    if (isAvailable(format)) available.push_back(&format);
  return available;
}

}  // namespace nubo::grab::video::av
