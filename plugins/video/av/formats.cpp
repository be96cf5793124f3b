#include "plugins/video/av/formats.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "plugins/video/av/mpeg4colours.h"

namespace nubo::grab::video::av {

namespace {

// Exact rounding and all columns for the colour samples. The latter are sited where players expect them: with the
// left of two columns, half-way between two rows.
#define NUBO_BT709 "scale=out_color_matrix=bt709:out_range=tv:flags=bicubic+accurate_rnd+full_chroma_inp"
#define NUBO_BT709_420 NUBO_BT709 ":out_h_chr_pos=0:out_v_chr_pos=128,format="

const std::array<Format, 6> formats{{
    // Every frame leaves the encoder at once: what was encoded is in the file when the program is killed.
    {"mp4", "mp4", "movflags=frag_keyframe+empty_moov+default_base_moof+write_colr", "libx264",
     "preset=veryfast:tune=zerolatency", "crf=18", NUBO_BT709_420 "yuv420p", true, 0, 0, nullptr},
    // Without identifiers drawn by lot, two recordings of the same frames are the same file.
    {"mkv", "matroska", "fflags=bitexact", "ffv1", "level=3:slicecrc=1:g=1", nullptr, "format=bgra", false, 0, 0,
     nullptr},
    {"webm", "webm", "fflags=bitexact", "libvpx-vp9",
     "deadline=realtime:cpu-used=5:row-mt=1:lag-in-frames=0:auto-alt-ref=0", "crf=24", NUBO_BT709_420 "yuva420p", false,
     0, 0, nullptr},
    {"mov", "mov", "movflags=write_colr", "prores_ks", "profile=4444:vendor=apl0", nullptr,
     NUBO_BT709 ",format=yuva444p10", false, 0, 0, nullptr},
    {"avi", "avi", "", "mpeg4", "", "flags=+qscale:global_quality=354", NUBO_BT709_420 "yuv420p", false, 0, 0,
     &tagMpeg4Colours},
    // Players take a hundredth of a second for a tenth. One palette for all: only the first palette of a file lets a
    // frame leave out what stays as it was.
    {"gif", "gif", "", "gif", "", nullptr,
     "format=bgr24,split[picture][copy];[copy]trim=end_frame=HELD_FRAMES,palettegen=reserve_transparent=0[palette];"
     "[picture][palette]paletteuse=dither=sierra2_4a:diff_mode=rectangle",
     false, 100, 50, nullptr},
}};

}  // namespace

const Format* findFormat(const char* extension) {
  const auto* found = std::find_if(formats.begin(), formats.end(), [extension](const Format& format) {
    return std::strcmp(format.extension, extension) == 0;
  });
  return found == formats.end() ? nullptr : found;
}

}  // namespace nubo::grab::video::av
