#include "module_poster/files/tilesink.h"

#include "module_poster/files/deepzoom.h"
#include "module_poster/files/error.h"
#include "module_poster/files/tifffile.h"

namespace nubo::poster {

TileSink::~TileSink() = default;

std::unique_ptr<TileSink> newSink(const Description& description, const QString& fileName) {
  if (description.isTiff()) return std::make_unique<TiffFile>(description, fileName);
  if (const QString reason = DeepZoom::whyNotReplaceable(fileName); !reason.isEmpty()) throw Error(reason);
  return std::make_unique<DeepZoom>(description, fileName);
}

}  // namespace nubo::poster
