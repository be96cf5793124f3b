// One run of "grabposter".
#pragma once

#include <atomic>
#include <functional>

#include "module_poster/commands/posterrequest.h"
#include "module_poster/files/posterbuilder.h"
#include "module_scene/graph/background.h"
#include "picture/tiledrawing.h"

namespace nubo::commands::poster {

/// Streams what is drawn into the file. Without finish() nothing is left of it. On a command's thread; its public
/// functions throw nubo::poster::Error.
class PosterRun : private picture::TileReceiver {
 public:
  /// `stop` outlives the run, and is looked at between tiles.
  PosterRun(const PosterRequest& request, const std::atomic<bool>& stop);
  ~PosterRun() override;

  /// Draws the global scene. `tell` is told, in words, how far it is.
  void draw(const math::Matrix4& transform, const std::function<void(const QString&)>& tell);
  void finish();
  qint64 tiles() const { return m_Builder.tiles(); }

 private:
  bool wantsMore() override;
  void take(const picture::Tile& tile, const QImage& pixels) override;
  void fail(const char* reason) override;

  PosterRequest m_Request;
  std::optional<scene::Backdrop> m_Backdrop;  ///< that shall be in the poster
  const std::atomic<bool>& m_Stop;
  std::unique_ptr<nubo::poster::TileSink> mp_Sink;
  nubo::poster::PosterBuilder m_Builder;
  std::function<void(const QString&)> m_Tell;
  QString m_Failure;
};

}  // namespace nubo::commands::poster
