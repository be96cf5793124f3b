#include "module_grab/video/encoder.h"

#include <QFile>
#include <QMutexLocker>
#include <QSemaphore>
#include <QThread>

#include "kernel/log/logger.h"
#include "kernel/util/exceptiontext.h"

namespace nubo::grab::video {
namespace {

/// What a function of the concrete encoder answers. An exception of a plug-in's would end the program, and whatever its
/// user has not saved; so it is a failure like any other.
template <class Function>
bool answerOf(const char* name, const Function& function) {
  try {
    return function();
  } catch (...) {
    NUBO_LOG(log::Failure, name, util::exceptionText());
    return false;
  }
}

}  // namespace

/// Feeds the chunks to the concrete encoder, one at a time.
class Encoder::Runner : public QThread {
 public:
  explicit Runner(Encoder* encoder) : mp_Encoder(encoder) {}

  bool m_Running = true;
  bool m_Finishing = false;

 protected:
  void run() override;

 private:
  bool encodeNext(QMutexLocker* lock);

  Encoder* mp_Encoder;
};

void Encoder::Runner::run() {
  mp_Encoder->m_State = Running;
  setPriority(QThread::IdlePriority);
  Q_EMIT mp_Encoder->progressChanged(-1);
  mp_Encoder->mp_Semaphore->acquire();
  QMutexLocker lock(&mp_Encoder->m_Mutex);
  while (m_Running && !(m_Finishing && mp_Encoder->m_Chunks.empty())) {
    if (!encodeNext(&lock)) break;
    mp_Encoder->mp_Semaphore->acquire();
    lock.relock();
  }
  lock.unlock();
  mp_Encoder->m_State = Finished;
}

/// Enters with the lock held and leaves without it. Receivers of the progress run without it too, so that
/// they may call the encoder.
bool Encoder::Runner::encodeNext(QMutexLocker* lock) {
  const std::unique_ptr<QIODevice> chunk = std::move(mp_Encoder->m_Chunks.front());
  mp_Encoder->m_Chunks.pop_front();
  int percent = -1;
  if (mp_Encoder->m_ChunksTotal > 0) {
    percent = static_cast<int>(static_cast<float>(mp_Encoder->m_ChunksDone) /
                               static_cast<float>(mp_Encoder->m_ChunksTotal) * 100.0f);
    ++mp_Encoder->m_ChunksDone;
  }
  const bool last = m_Finishing && mp_Encoder->m_Chunks.empty();
  lock->unlock();

  if (percent >= 0) Q_EMIT mp_Encoder->progressChanged(percent);
  const qint64 bytes = chunk ? chunk->size() : 0;
  if (!answerOf("nubo::grab::video::Encoder::encodeChunk",
                [&] { return mp_Encoder->encodeChunk(chunk.get(), last); })) {
    NUBO_LOG(log::Failure, "nubo::grab::video::Encoder::Runner::run", "Couldn't encode chunk!");
    return false;
  }
  if (chunk && !mp_Encoder->m_Aborted && mp_Encoder->m_Observer) mp_Encoder->m_Observer(bytes);
  return true;
}

Encoder::Encoder()
    : mp_Device(nullptr),
      m_Aborted(false),
      m_Width(0),
      m_Height(0),
      m_Fps(0),
      m_Bitrate(0),
      m_State(Idle),
      m_ChunksDone(0),
      m_ChunksTotal(0) {}

Encoder::~Encoder() = default;

bool Encoder::setOutputParameters(const QString& fileName, int width, int height, int fps, int bitrate) {
  m_Width = width;
  m_Height = height;
  m_Fps = fps;
  m_Bitrate = bitrate;
  if (width % 2 != 0) {
    NUBO_LOG(log::Failure, "nubo::grab::video::Encoder::setOutputParameters", "Encoder: invalid width specified");
    return false;
  }
  if (height % 2 != 0) {
    NUBO_LOG(log::Failure, "nubo::grab::video::Encoder::setOutputParameters", "Encoder: invalid height specified");
    return false;
  }
  auto file = std::make_unique<QFile>(fileName);
  if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate)) {
    NUBO_LOG(log::Failure, "nubo::grab::video::Encoder::setOutputParameters",
             "Encoder: Couldn't open file '%s' for writing", fileName.toLocal8Bit().constData());
    return false;
  }
  mp_Device = file.release();
  return true;
}

bool Encoder::encodeVideoChunk(QIODevice* chunk, bool last) {
  if (m_State == Failed) return false;
  if (m_State == Idle) {
    if (!answerOf("nubo::grab::video::Encoder::initEncoding", [this] { return initEncoding(); })) {
      m_State = Failed;
      NUBO_LOG(log::Failure, "nubo::grab::video::Encoder::encodeVideoChunk", "Couldn't initialize video encoding");
      return false;
    }
    startWorker();
  }
  {
    const QMutexLocker lock(&m_Mutex);
    m_Chunks.emplace_back(chunk);
    if (last) mp_Runner->m_Finishing = true;
  }
  mp_Semaphore->release(last ? 2 : 1);
  return true;
}

void Encoder::startWorker() {
  mp_Semaphore = std::make_unique<QSemaphore>(0);
  mp_Runner = std::make_unique<Runner>(this);
  m_State = Started;
  mp_Runner->start(QThread::InheritPriority);
}

void Encoder::waitForFinish() {
  {
    const QMutexLocker lock(&m_Mutex);
    m_ChunksTotal = static_cast<int>(m_Chunks.size());
    m_ChunksDone = 0;
  }
  if (mp_Runner) mp_Runner->wait();
  cleanUp();
}

void Encoder::abortEncoding() {
  m_Aborted = true;
  if (mp_Runner) {
    {
      const QMutexLocker lock(&m_Mutex);
      mp_Runner->m_Running = false;
    }
    mp_Semaphore->release();
    mp_Runner->wait();
  }
  if (mp_Device) {
    mp_Device->close();
    auto* file = qobject_cast<QFile*>(mp_Device);
    if (file && !file->remove())
      NUBO_LOG(log::Failure, "nubo::grab::video::Encoder::abortEncoding", "Couldn't remove file '%s'",
               file->fileName().toLocal8Bit().constData());
  }
  cleanUp();
}

void Encoder::cleanUp() {
  answerOf("nubo::grab::video::Encoder::finishEncoding", [this] {
    finishEncoding();
    return true;
  });
  m_State = Idle;
  mp_Runner.reset();
  mp_Semaphore.reset();
  std::deque<std::unique_ptr<QIODevice>> dropped;
  {
    const QMutexLocker lock(&m_Mutex);
    dropped.swap(m_Chunks);
  }
  dropped.clear();
  delete mp_Device;
  mp_Device = nullptr;
}

unsigned char Encoder::clamp(double value) {
  if (value > 255.0) return 255;
  return value >= 0.0 ? static_cast<unsigned char>(value) : 0;
}

}  // namespace nubo::grab::video
