// The base class of every video encoder: output file, queue of chunks, worker thread, orderly end and abort.
#pragma once

#include <QMutex>
#include <QObject>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

#include "module_grab/visibility.h"

QT_BEGIN_NAMESPACE
class QIODevice;
class QSemaphore;
QT_END_NAMESPACE

namespace nubo::grab::video {

/// Takes chunks of raw frames from a grabbing thread and has a concrete encoder, which a plug-in derives from
/// this class, encode them one after the other on a worker thread of idle priority.
///
/// A chunk is a seekable device of raw frames back to back, without header, separator or padding. A raw frame is
/// m_Height rows from the top of the picture to its bottom, a row m_Width pixels of the four bytes blue, green,
/// red and alpha. Alpha is 0 where only background shows; colours are blended with the background's and not multiplied
/// by alpha.
///
/// A free recording's frames come when they can, not at the set rate. Each of its chunks, which are objects, tells
/// when, in the properties FrameTimesProperty and EndTimeProperty; in a recording in step, each frame is one of the
/// video's and chunks have neither.
///
/// An encoder serves one recording: setOutputParameters, encodeVideoChunk for every chunk, then waitForFinish or
/// abortEncoding, then deletion. An exception of the concrete encoder's three functions is logged, and is a failure.
/// Its owner calls one of these two before it deletes an encoder whose output parameters were set.
class NUBO_MODULE_GRAB_EXPORT Encoder : public QObject {
  Q_OBJECT

 public:
  /// A chunk's property of the type QVector<qint64>: for each of its frames in order, microseconds since the first
  /// frame of the recording was drawn, on a clock that never goes back.
  static constexpr char FrameTimesProperty[] = "frameTimes";
  /// The final chunk's property of the type qint64: when the recording ended, on the same clock; so long its last frame
  /// stands.
  static constexpr char EndTimeProperty[] = "endTime";

  Encoder();
  /// Neither stops the worker nor deletes the output device.
  ~Encoder() override;

  /// Opens and truncates the output file. Sizes in pixels, both even; frames and bits per second. Logs and
  /// returns false for an odd size and for a file that cannot be opened. The parameters are stored in any case.
  /// The owner's thread.
  bool setOutputParameters(const QString& fileName, int width, int height, int fps, int bitrate);

  /// Hands over one chunk, `last` with the final one, which may be null. True if the encoder took it and will
  /// delete it; false, with the chunk still the caller's, if encoding cannot start. Never waits for the codec.
  /// The grabbing thread.
  bool encodeVideoChunk(QIODevice* chunk, bool last);

  /// Tells an encoder that the bit rate is a mere default, so that it may aim at a quality. Before the first chunk.
  void setBitrateChosen(bool chosen) { m_IsBitrateChosen = chosen; }

  /// Calls `observer` with the size in bytes of each chunk that has been encoded, on the worker; not for a null chunk,
  /// and not for what is thrown away after a failure or an abort. Before the first chunk.
  void observeChunks(std::function<void(qint64 bytes)> observer) { m_Observer = std::move(observer); }

  /// Waits until every chunk is encoded, and closes the output. The final chunk must have been handed over.
  /// The owner's thread, never the worker.
  void waitForFinish();

 public Q_SLOTS:
  /// Completes the chunk that is being encoded, drops the others, removes the output file. The owner's thread,
  /// never the worker, with the grabbing thread at rest.
  void abortEncoding();

 Q_SIGNALS:
  /// -1 when the worker starts; percentages of the backlog once waitForFinish has begun. Emitted on the worker.
  void progressChanged(int percent);

 protected:
  /// Prepares the codec for the output device and parameters. Called once, on the thread that hands over the
  /// first chunk. False, after logging why, when encoding cannot start.
  virtual bool initEncoding() = 0;
  /// Encodes the frames of one chunk, which can be null, and writes the result to mp_Device. The chunk stands
  /// after its last byte and stays the base class's. Called on the worker, in hand-over order; `last` with the
  /// final chunk only. False, after logging why, ends the encoding.
  virtual bool encodeChunk(QIODevice* chunk, bool last) = 0;
  /// Ends the encoding and lets go of mp_Device. Called exactly once, on the owner's thread, after the worker has
  /// ended, whatever happened before: without a chunk, after a failed initEncoding or encodeChunk, and after an
  /// abort, when m_Aborted is set and the file is gone.
  virtual void finishEncoding() = 0;

  /// Limits a colour value to 0 ... 255 and drops its fraction; not a number gives 0.
  static unsigned char clamp(double value);

  QIODevice* mp_Device;           ///< owned; a QFile open for writing; null when no output is open
  std::atomic<bool> m_Aborted;    ///< set for good by abortEncoding
  int m_Width;                    ///< pixels, even
  int m_Height;                   ///< pixels, even
  int m_Fps;                      ///< frames per second, as in the user's settings; unchecked
  int m_Bitrate;                  ///< bits per second, likewise unchecked
  bool m_IsBitrateChosen = true;  ///< false: nobody has chosen m_Bitrate, and a quality serves better

 private:
  class Runner;
  enum State { Idle = 0, Started = 1, Running = 2, Finished = 4, Failed = 8 };

  void startWorker();
  void cleanUp();

  std::atomic<int> m_State;
  std::deque<std::unique_ptr<QIODevice>> m_Chunks;  ///< not yet taken by the worker, oldest first
  QMutex m_Mutex;                                   ///< guards m_Chunks, the progress counters and the worker's flags
  std::unique_ptr<QSemaphore> mp_Semaphore;  ///< a permit for each chunk, one for the final one's end, one for an abort
  std::unique_ptr<Runner> mp_Runner;
  int m_ChunksDone;
  int m_ChunksTotal;
  std::function<void(qint64)> m_Observer;
};

}  // namespace nubo::grab::video
