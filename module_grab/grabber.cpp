#include "module_grab/grabber.h"

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryFile>
#include <new>

#include "kernel/log/logger.h"
#include "module_grab/freememory.h"
#include "module_grab/pacing.h"
#include "module_trajectory/trajectory.h"

namespace nubo::grab {

namespace {

/// The trajectory that was selected when this was made, of either mode; without one it has no steps. Nobody but other
/// recordings moves the scene along it meanwhile.
class Trajectory {
 public:
  Trajectory() {
    auto* handler = trajectory::TrajectoryHandler::getInstance();
    const auto mode = handler->getSelectedMode();
    if (mode == trajectory::TrajectoryHandler::Points) mp_Points = handler->getTrajectoryInfo();
    if (mode == trajectory::TrajectoryHandler::Matrices) mp_Matrices = handler->getAdvancedTrajectoryInfo();
  }

  /// Nobody moves the scene while this is held.
  auto takeTurn() const { return m_Drive.takeTurn(); }

  std::uint64_t position() const {
    if (mp_Points) return mp_Points->getPosition();
    return mp_Matrices ? mp_Matrices->getPosition() : 0;
  }

  /// May change from step to step.
  std::uint64_t count() const {
    if (mp_Points) return mp_Points->getPoints().size();
    const auto* steps = mp_Matrices ? mp_Matrices->getMatrixMapList() : nullptr;
    return steps ? steps->size() : 0;
  }

  void setPosition(std::uint64_t step) {
    if (mp_Points) mp_Points->setPosition(step);
    if (mp_Matrices) mp_Matrices->setPosition(step);
  }

 private:
  const trajectory::TrajectoryDrive m_Drive;
  std::shared_ptr<trajectory::TrajectoryInfo> mp_Points;
  std::shared_ptr<trajectory::AdvancedTrajectoryInfo> mp_Matrices;
};

void logChunkFailure(int line, const char* message) {
  log::Logger::getInstance()->log(log::Failure, "module_grab/videohandler", line,
                                  "nubo::grab::VideoHandler::Grabber::createChunkFile", nullptr, "%s", message);
}

/// With room for what it will hold, so that it is not copied while it grows; null if it cannot be opened.
std::unique_ptr<QIODevice> createMemoryChunk(std::int64_t capacity) {
  auto chunk = std::make_unique<QBuffer>();
  try {
    chunk->buffer().reserve(static_cast<int>(capacity));
  } catch (const std::bad_alloc&) {
    return nullptr;
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

VideoHandler::Grabber::Grabber(VideoHandler* handler) : mp_Handler(handler) {
  setObjectName(QStringLiteral("Grabber"));
}

VideoHandler::Grabber::~Grabber() = default;

void VideoHandler::Grabber::run() {
  std::unique_ptr<QIODevice> chunk = openFirstChunk();
  if (!chunk) return;
  QElapsedTimer clock;
  clock.start();
  Pacing pacing;
  while (!m_Stop) {
    if (!makeRoom(&chunk)) break;
    mp_Handler->grabPicture(chunk.get());
    const std::int64_t pause = pacing.pauseAfter(clock.restart());
    if (pause > 0) msleep(static_cast<unsigned long>(pause));
  }
  endRecording(std::move(chunk));
}

std::unique_ptr<QIODevice> VideoHandler::Grabber::createChunkFile() const {
  const std::uint32_t limit = mp_Handler->m_MaxChunkSize;
  if (mp_Handler->m_UseMemoryAsBuffer && fitsInMemory(freeMemory(), limit)) {
    // A full chunk exceeds the limit by less than a frame.
    std::unique_ptr<QIODevice> chunk = createMemoryChunk(limit + mp_Handler->frameBytes());
    if (!chunk) logChunkFailure(__LINE__, "Couldn't create temporary buffer");
    return chunk;
  }
  std::unique_ptr<QIODevice> chunk = createFileChunk();
  if (!chunk) logChunkFailure(__LINE__, "Couldn't open temporary file");
  return chunk;
}

std::unique_ptr<QIODevice> VideoHandler::Grabber::openFirstChunk() {
  std::unique_ptr<QIODevice> chunk = createChunkFile();
  if (!chunk) mp_Handler->cleanUpGL();
  return chunk;
}

bool VideoHandler::Grabber::makeRoom(std::unique_ptr<QIODevice>* chunk) {
  if (!isChunkFull((*chunk)->size(), mp_Handler->m_MaxChunkSize)) return true;
  handOver(std::move(*chunk), false);
  *chunk = createChunkFile();
  return *chunk != nullptr;
}

void VideoHandler::Grabber::handOver(std::unique_ptr<QIODevice> chunk, bool last) {
  // What the encoder takes it also deletes when it has encoded it, perhaps before the call returns.
  QMetaObject::Connection encoded;
  if (chunk) {
    const int frames = int(chunk->size() / mp_Handler->frameBytes());
    encoded = connect(
        chunk.get(), &QObject::destroyed, mp_Handler,
        [handler = mp_Handler, frames] { handler->countFrames(0, frames); }, Qt::DirectConnection);
  }
  if (mp_Handler->mp_Encoder->encodeVideoChunk(chunk.get(), last))
    chunk.release();
  else
    disconnect(encoded);
}

void VideoHandler::Grabber::endRecording(std::unique_ptr<QIODevice> chunk) {
  handOver(std::move(chunk), true);
  mp_Handler->cleanUpGL();
  emit mp_Handler->grabbingFinished();
}

VideoHandler::SyncedGrabber::SyncedGrabber(VideoHandler* handler) : Grabber(handler) {
  setObjectName(QStringLiteral("SyncedGrabber"));
}

void VideoHandler::SyncedGrabber::run() {
  std::unique_ptr<QIODevice> chunk = openFirstChunk();
  if (!chunk) return;
  Trajectory trajectory;
  const std::uint64_t first = trajectory.position();
  std::uint64_t position = first;
  std::uint64_t count = trajectory.count();
  if (first < count) mp_Handler->m_FramesPlanned = int(count - first);
  while (!m_Stop && position < count) {
    if (!makeRoom(&chunk)) break;
    emit mp_Handler->progressChanged(percentOfSteps(position, count));
    const auto turn = trajectory.takeTurn();  // another panel may be recorded in step, too
    trajectory.setPosition(position);
    count = trajectory.count();
    mp_Handler->m_FramesPlanned = int(count - first);
    mp_Handler->grabPicture(chunk.get());
    ++position;
  }
  endRecording(std::move(chunk));
}

}  // namespace nubo::grab
