#include "module_poster/commands/posterrun.h"

#include <QFileInfo>

#include "module_poster/files/bandfile.h"
#include "module_poster/files/error.h"
#include "module_scene/gui/viewer.h"
#include "picture/background.h"
#include "picture/composetile.h"

namespace nubo::commands::poster {

using nubo::poster::BandFile;
using nubo::poster::Error;

namespace {

std::unique_ptr<nubo::poster::TileSink> sinkFor(const PosterRequest& request) {
  if (request.band) return std::make_unique<BandFile>(request.description, *request.band, request.fileName);
  return nubo::poster::newSink(request.description, request.fileName);
}

}  // namespace

PosterRun::PosterRun(const PosterRequest& request, const std::atomic<bool>& stop)
    : m_Request(request),
      m_Stop(stop),
      mp_Sink(sinkFor(request)),
      m_Builder(request.description, *mp_Sink, QFileInfo(request.fileName).absolutePath()) {}

PosterRun::~PosterRun() = default;

void PosterRun::draw(const math::Matrix4& transform, const std::function<void(const QString&)>& tell) {
  m_Tell = tell;
  const scene::Background background = gui::Viewer::getInstance()->getGlobalScene()->getBackground();
  const bool isOpaque = background.inPictures || m_Request.description.format.coding == nubo::poster::Coding::Jpeg;
  if (isOpaque) m_Backdrop.emplace(background, m_Request.description.size);
  picture::drawTiles(m_Request.description.size, transform, *this, m_Request.band.value_or(picture::TileRows()));
  if (!m_Failure.isEmpty()) throw Error(m_Failure);
}

bool PosterRun::wantsMore() { return !m_Stop && m_Failure.isEmpty(); }

void PosterRun::take(const picture::Tile& tile, const QImage& pixels) {
  if (tile.x0 == 0) m_Tell(PosterRequest::tr("row %L1").arg(tile.y0 / picture::LargestTile + 1));
  QImage straight(pixels.size(), QImage::Format_ARGB32);
  picture::composeTile(&straight, pixels, 0, 0, [](int, int) {});
  const QPoint corner(tile.x0, tile.targetRow);
  if (m_Backdrop) straight = picture::laidOver(*m_Backdrop, corner, straight).convertToFormat(straight.format());
  try {
    m_Builder.add(0, corner, straight);
  } catch (const Error& error) {  // which must not pass through the drawing
    m_Failure = error.text();
  }
}

void PosterRun::fail(const char* reason) { m_Failure = QString::fromLatin1(reason); }

void PosterRun::finish() {
  m_Builder.finishTiles();
  if (auto* band = dynamic_cast<BandFile*>(mp_Sink.get()))
    m_Builder.takeFragments([band](const nubo::poster::Fragment& fragment) { band->put(fragment); });
  else if (m_Builder.tiles() != m_Request.description.layout().count())
    throw Error(PosterRequest::tr("the scene has nothing to draw"));
  mp_Sink->commit();
}

}  // namespace nubo::commands::poster
