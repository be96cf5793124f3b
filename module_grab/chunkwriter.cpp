#define NUBO_LOG_SOURCE "module_grab/videohandler"

#include "module_grab/chunkwriter.h"

#include <QBuffer>
#include <QDir>
#include <QTemporaryFile>
#include <QVariant>
#include <limits>
#include <new>
#include <utility>

#include "kernel/log/logger.h"
#include "module_grab/freememory.h"
#include "module_grab/video/encoder.h"

namespace nubo::grab {

namespace {

/// What a chunk can grow to; it exceeds the limit by less than a frame.
std::int64_t capacityOf(const ChunkRules& rules) { return rules.maxSize + rules.frameBytes; }

bool fitsInMemory(const ChunkRules& rules) {
  return capacityOf(rules) <= std::numeric_limits<int>::max() && freeMemory() > rules.maxSize;
}

std::unique_ptr<QIODevice> createMemoryChunk(const ChunkRules& rules) {
  auto chunk = std::make_unique<QBuffer>();
  try {
    chunk->buffer().reserve(int(capacityOf(rules)));  // so that frames are not copied while it grows
  } catch (const std::bad_alloc&) {
    // Then it grows as long as it can.
  }
  return chunk->open(QIODevice::ReadWrite) ? std::move(chunk) : nullptr;
}

std::unique_ptr<QIODevice> createFileChunk() {
  // Without a temporary directory Qt would try the root directory.
  if (QDir::tempPath().isEmpty()) return nullptr;
  auto chunk = std::make_unique<QTemporaryFile>();
  return chunk->open() ? std::move(chunk) : nullptr;
}

}  // namespace

FrameFlow::~FrameFlow() = default;

ChunkWriter::ChunkWriter(FrameFlow& flow) : m_Flow(flow), m_Rules(flow.chunkRules()) {}

ChunkWriter::~ChunkWriter() = default;

std::unique_ptr<QIODevice> ChunkWriter::createChunkFile() const {
  const bool inMemory = m_Rules.useMemory && fitsInMemory(m_Rules);
  std::unique_ptr<QIODevice> chunk = inMemory ? createMemoryChunk(m_Rules) : createFileChunk();
  if (!chunk)
    NUBO_LOG(log::Failure, "nubo::grab::VideoHandler::Grabber::createChunkFile", "%s",
             inMemory ? "Couldn't create temporary buffer" : "Couldn't open temporary file");
  return chunk;
}

bool ChunkWriter::makeRoom() {
  if (mp_Chunk && mp_Chunk->size() < m_Rules.maxSize) return true;
  if (mp_Chunk) handOver(false);
  mp_Chunk = createChunkFile();
  return mp_Chunk != nullptr;
}

void ChunkWriter::grab(std::optional<std::int64_t> time) {
  const qint64 before = mp_Chunk->size();
  m_Flow.grabPicture(mp_Chunk.get());
  if (!time || mp_Chunk->size() - before != m_Rules.frameBytes) return;
  if (!m_Begin) m_Begin = time;
  m_Times.append(*time - *m_Begin);
}

void ChunkWriter::finish(std::optional<std::int64_t> time) {
  if (mp_Chunk && time) mp_Chunk->setProperty(video::Encoder::EndTimeProperty, qint64(m_Begin ? *time - *m_Begin : 0));
  handOver(true);
}

void ChunkWriter::handOver(bool last) {
  std::unique_ptr<QIODevice> chunk = std::move(mp_Chunk);
  if (chunk && m_Begin)
    chunk->setProperty(video::Encoder::FrameTimesProperty, QVariant::fromValue(std::exchange(m_Times, {})));
  // What the encoder takes it deletes when it has encoded it, perhaps before the call returns.
  if (m_Flow.encodeVideoChunk(chunk.get(), last)) chunk.release();
}

}  // namespace nubo::grab
