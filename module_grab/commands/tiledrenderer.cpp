#define NUBO_LOG_SOURCE "module_grab/commands/grabimage"
#include "module_grab/commands/tiledrenderer.h"

#include <QImage>

#include "kernel/log/logger.h"
#include "picture/composetile.h"
#include "picture/tiledrawing.h"

namespace nubo::commands::grab {

namespace {

const char Function[] = "nubo::commands::grab::GrabImage::saveImage";

/// Puts tiles into an image.
class Composition : public picture::TileReceiver {
 public:
  Composition(QImage* target, const std::atomic<bool>& stop) : mp_Target(target), m_Stop(stop) {}

  bool wantsMore() override { return !m_Stop; }
  void take(const picture::Tile& tile, const QImage& pixels) override {
    picture::composeTile(mp_Target, pixels, tile.x0, tile.targetRow, [this](int x, int y) {
      NUBO_LOG(log::Failure, Function, "setPixel(%d, %d) oversizes target image dimensions (%d, %d)", x, y,
               mp_Target->width(), mp_Target->height());
    });
  }
  void fail(const char* reason) override { NUBO_LOG(log::Failure, Function, "%s", reason); }

 private:
  QImage* mp_Target;
  const std::atomic<bool>& m_Stop;
};

}  // namespace

void renderTiled(QImage* target, const math::Matrix4& transform, const std::atomic<bool>& stop) {
  Composition composition(target, stop);
  picture::drawTiles(target->size(), transform, composition);
}

}  // namespace nubo::commands::grab
