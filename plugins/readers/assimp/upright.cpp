#include "plugins/readers/assimp/upright.h"

#include <assimp/scene.h>

#include <algorithm>
#include <iterator>
#include <optional>

namespace nubo::reader {
namespace {

/// Whether the format has z up, so that nothing is turned on its way here. Assimp turns most others to y
/// up, and a few formats it leaves as they are.
bool hasVerticalZ(const std::string& format) {
  static const char* const Formats[]{"stl", "ply", "off", "amf", "3mf", "dxf", "raw", "cob", "scn"};
  return std::find(std::begin(Formats), std::end(Formats), format) != std::end(Formats);
}

/// From what an FBX file says of its axes, which Assimp leaves as they are; nothing where that makes no sense.
std::optional<aiMatrix4x4> statedUpright(const aiScene& scene) {
  static constexpr struct {
    const char *axis, *sign;
    unsigned row;
    int direction;
  } Axes[]{{"CoordAxis", "CoordAxisSign", 0, 1}, {"FrontAxis", "FrontAxisSign", 1, -1}, {"UpAxis", "UpAxisSign", 2, 1}};
  aiMatrix4x4 upright;
  unsigned seen = 0;
  for (const auto& [axisName, signName, row, direction] : Axes) {
    std::int32_t axis = -1, sign = 0;
    const aiMetadata* stated = scene.mMetaData;
    const bool isKnown = stated && stated->Get(axisName, axis) && stated->Get(signName, sign);
    if (!isKnown || axis < 0 || axis > 2 || (sign != 1 && sign != -1)) return std::nullopt;
    for (unsigned column = 0; column < 3; ++column)
      upright[row][column] = column == unsigned(axis) ? ai_real(direction * sign) : ai_real(0);
    seen |= 1u << axis;
  }
  return seen == 7 ? std::optional(upright) : std::nullopt;
}

}  // namespace

aiMatrix4x4 uprightFor(const std::string& format, const aiScene& scene) {
  if (hasVerticalZ(format)) return {};
  const aiMatrix4x4 yToZ(1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1);
  return format == "fbx" ? statedUpright(scene).value_or(yToZ) : yToZ;
}

}  // namespace nubo::reader
