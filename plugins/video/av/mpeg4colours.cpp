#include "plugins/video/av/mpeg4colours.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "plugins/video/av/libav.h"

namespace nubo::grab::video::av {

namespace {

// A visual object header is this start code, a byte of version and priority, then bit by bit: the type of object
// (4 bits, 1 is video), whether a description of the signal follows (1 bit), that description, and a filling of
// the last byte (a 0, then 1s).
constexpr std::array<std::uint8_t, 4> startCode{0x00, 0x00, 0x01, 0xb5};
constexpr int typeOffset = 5;
constexpr std::uint8_t undescribed = 0b0001'0'011;
// Video format unspecified (101), limited range (0), colours described (1): primaries, transfer and matrix 1.
constexpr std::array<std::uint8_t, 5> described{0b0001'1'101, 0b0'1'000000, 0b01'000000, 0b01'000000, 0b01'011111};

}  // namespace

void tagMpeg4Colours(AVPacket* packet) {
  const auto* end = packet->data + packet->size;
  const auto* header = std::search<const std::uint8_t*>(packet->data, end, startCode.begin(), startCode.end());
  if (end - header <= typeOffset || header[typeOffset] != undescribed) return;

  const auto offset = header + typeOffset - packet->data;
  check(av_packet_make_writable(packet), "Couldn't describe the colours");
  check(av_grow_packet(packet, described.size() - 1), "Couldn't describe the colours");
  auto* type = packet->data + offset;
  std::copy_backward(type + 1, packet->data + packet->size - (described.size() - 1), packet->data + packet->size);
  std::copy(described.begin(), described.end(), type);
}

}  // namespace nubo::grab::video::av
