#include "module_poster/files/posterbuilder.h"

#include <algorithm>
#include <thread>

#include "module_poster/files/error.h"

namespace nubo::poster {

namespace {
std::size_t mostAtOnce() { return std::max(2U, std::thread::hardware_concurrency()); }
}  // namespace

PosterBuilder::PosterBuilder(const Description& description, TileSink& sink, const QString& scratchFolder)
    : m_Description(description),
      m_Sink(sink),
      m_Pyramid(description.layout(), scratchFolder,
                [this](const TileId& tile, const QImage& pixels) { encode(tile, pixels); }) {}

PosterBuilder::~PosterBuilder() = default;

void PosterBuilder::add(int level, QPoint corner, const QImage& pixels) { m_Pyramid.add(level, corner, pixels); }

void PosterBuilder::put(const TileId& tile, const QByteArray& bytes) {
  m_Sink.put(tile, bytes);
  ++m_Tiles;
}

void PosterBuilder::encode(const TileId& tile, const QImage& pixels) {
  if (m_Encoding.size() >= mostAtOnce()) finishOldest();
  m_Encoding.push_back(
      {tile, std::async(std::launch::async, [pixels, format = m_Description.format, edge = m_Description.edge] {
         return encoded(pixels, format, edge);
       })});
}

void PosterBuilder::finishOldest() {
  Encoding oldest = std::move(m_Encoding.front());
  m_Encoding.pop_front();
  put(oldest.tile, oldest.bytes.get());
}

void PosterBuilder::finishTiles() {
  while (!m_Encoding.empty()) finishOldest();
}

}  // namespace nubo::poster
