// An encoder that writes nothing and remembers what it was given.
#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QMutex>
#include <QOpenGLContext>
#include <QSemaphore>
#include <QThread>
#include <QVariant>
#include <QVector>
#include <atomic>
#include <stdexcept>
#include <vector>

#include "module_grab/video/encoder.h"
#include "module_grab/video/videoencoder.h"

namespace nubo::test {

/// What a chunk was when it reached the encoder.
struct EncodedChunk {
  qint64 size = 0;
  bool isNull = true;
  bool isMemory = false;
  bool last = false;
  QVector<qint64> times;
  QVariant end;
};

/// What all encoders of one extension met, and how they are to behave. Registered from construction on; the
/// encoders must be gone before it is.
class FakeEncoding {
 public:
  explicit FakeEncoding(const QString& extension) {
    video()->registerEncoder(&FakeEncoding::create, extension, QStringLiteral("Fake video"), this);
  }

  std::atomic<bool> refuse{false};         ///< initEncoding fails
  std::atomic<int> failAtChunk{-1};        ///< encodeChunk fails at the chunk of this number
  std::atomic<bool> throws{false};         ///< where they fail, they throw "thrown", and finishEncoding does always
  std::atomic<QSemaphore*> gate{nullptr};  ///< a permit is taken for each chunk, so that a test can hold them up

  std::atomic<int> width{0}, height{0}, fps{0}, bitrate{0};
  std::atomic<int> started{0}, finished{0}, aborted{0}, alive{0};
  std::atomic<bool> fileThereAtEnd{false}, contextAtStart{false};
  std::atomic<QThread*> startThread{nullptr}, encodingThread{nullptr};

  std::vector<EncodedChunk> chunks() const {
    const QMutexLocker locker(&m_Mutex);
    return m_Chunks;
  }
  int chunkCount() const {
    const QMutexLocker locker(&m_Mutex);
    return int(m_Chunks.size());
  }
  /// The raw frames of all chunks one after the other.
  std::vector<QByteArray> frames() const {
    const QMutexLocker locker(&m_Mutex);
    std::vector<QByteArray> frames;
    for (int at = 0, size = width * height * 4; size > 0 && at + size <= m_Bytes.size(); at += size)
      frames.push_back(m_Bytes.mid(at, size));
    return frames;
  }
  void clear() {
    const QMutexLocker locker(&m_Mutex);
    m_Chunks.clear();
    m_Bytes.clear();
    started = finished = aborted = 0;
  }

 private:
  class FakeEncoder : public grab::video::Encoder {
   public:
    explicit FakeEncoder(FakeEncoding& encoding) : m_Encoding(encoding) { ++m_Encoding.alive; }
    ~FakeEncoder() override { --m_Encoding.alive; }

   protected:
    bool initEncoding() override {
      ++m_Encoding.started;
      m_Encoding.startThread = QThread::currentThread();
      m_Encoding.contextAtStart = QOpenGLContext::currentContext() != nullptr;
      return answer(!m_Encoding.refuse);
    }
    bool encodeChunk(QIODevice* chunk, bool last) override {
      m_Encoding.encodingThread = QThread::currentThread();
      const int number = m_Encoding.add(chunk, last);
      constexpr int Patience = 60000;
      if (QSemaphore* gate = m_Encoding.gate) gate->tryAcquire(1, Patience);
      return answer(number != m_Encoding.failAtChunk);
    }
    void finishEncoding() override {
      ++m_Encoding.finished;
      if (m_Aborted) ++m_Encoding.aborted;
      const auto* file = qobject_cast<QFile*>(mp_Device);
      m_Encoding.fileThereAtEnd = file && file->exists();
      m_Encoding.width = m_Width;
      m_Encoding.height = m_Height;
      m_Encoding.fps = m_Fps;
      m_Encoding.bitrate = m_Bitrate;
      answer(false);
    }

   private:
    bool answer(bool isDone) const {
      if (!isDone && m_Encoding.throws) throw std::runtime_error("thrown");
      return isDone;
    }

    FakeEncoding& m_Encoding;
  };

  static grab::video::VideoEncoder* video() { return grab::video::VideoEncoder::getInstance(); }
  static grab::video::Encoder* create(void* encoding) { return new FakeEncoder(*static_cast<FakeEncoding*>(encoding)); }

  /// The chunk's number.
  int add(QIODevice* chunk, bool last) {
    EncodedChunk entry;
    entry.last = last;
    QByteArray bytes;
    if (chunk) {
      entry.isNull = false;
      entry.size = chunk->size();
      entry.isMemory = qobject_cast<QBuffer*>(chunk);
      entry.times = chunk->property(grab::video::Encoder::FrameTimesProperty).value<QVector<qint64>>();
      entry.end = chunk->property(grab::video::Encoder::EndTimeProperty);
      chunk->seek(0);
      bytes = chunk->readAll();
    }
    const QMutexLocker locker(&m_Mutex);
    m_Chunks.push_back(entry);
    m_Bytes.append(bytes.constData(), bytes.size());  // a copy: nothing is shared with what is dropped unlocked
    return int(m_Chunks.size()) - 1;
  }

  mutable QMutex m_Mutex;
  std::vector<EncodedChunk> m_Chunks;
  QByteArray m_Bytes;
};

}  // namespace nubo::test
