// The threads that grab the frames of a recording.
#pragma once

#include <QThread>
#include <atomic>
#include <memory>

#include "module_grab/videohandler.h"

QT_BEGIN_NAMESPACE
class QIODevice;
QT_END_NAMESPACE

namespace nubo::grab {

/// Grabs frames at a fixed pace into chunks, one after the other, until it is told to stop, and hands each full
/// chunk to the handler's encoder, at the end the last one. Made on the handler's thread.
class NUBO_MODULE_GRAB_EXPORT VideoHandler::Grabber : public QThread {
 public:
  explicit Grabber(VideoHandler* handler);
  ~Grabber() override;

  /// Ends the thread before its next frame; any thread.
  void requestStop() { m_Stop = true; }

 protected:
  void run() override;

  /// A new open chunk, in memory or in a temporary file; null, with the reason in the log, if there is none to be
  /// had.
  std::unique_ptr<QIODevice> createChunkFile() const;
  /// The first chunk; without one the recording's OpenGL objects are given up.
  std::unique_ptr<QIODevice> openFirstChunk();
  /// Hands a full chunk over and puts a new one in its place; false, with a null chunk, if that cannot be made.
  bool makeRoom(std::unique_ptr<QIODevice>* chunk);
  /// Ends the encoder's stream with what was grabbed last (null: with nothing), releases the OpenGL objects and
  /// tells the handler's receivers.
  void endRecording(std::unique_ptr<QIODevice> chunk);

  std::atomic<bool> m_Stop{false};
  VideoHandler* mp_Handler;

 private:
  void handOver(std::unique_ptr<QIODevice> chunk, bool last);
};

/// Plays the selected trajectory from its current step to the last, one frame a step, and then ends by itself.
class NUBO_MODULE_GRAB_EXPORT VideoHandler::SyncedGrabber : public VideoHandler::Grabber {
 public:
  explicit SyncedGrabber(VideoHandler* handler);

 protected:
  void run() override;
};

}  // namespace nubo::grab
