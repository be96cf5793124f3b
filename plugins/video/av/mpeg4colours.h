// The colours of MPEG-4 part 2 streams, which FFmpeg's encoder leaves unsaid and AVI has no place for.
#pragma once

struct AVPacket;

namespace nubo::grab::video::av {

/// Says in the packet's stream header, which FFmpeg puts before each key frame, that the colours are BT.709 of
/// limited range. Packets without one stay as they are. Throws Error.
void tagMpeg4Colours(AVPacket* packet);

}  // namespace nubo::grab::video::av
