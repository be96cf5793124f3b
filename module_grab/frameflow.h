// What a grabbing thread works for.
#pragma once

#include <cstdint>
#include <optional>

#include "module_grab/visibility.h"
#include "module_scene/gui/camera.h"

QT_BEGIN_NAMESPACE
class QIODevice;
QT_END_NAMESPACE

namespace nubo::grab {

/// How a recording's frames are put into chunks.
struct ChunkRules {
  std::uint32_t maxSize = 0;    ///< bytes; a chunk that has reached it is handed over before the next frame
  bool useMemory = true;        ///< chunks lie in memory while more than one chunk's worth is free
  std::int64_t frameBytes = 0;  ///< of a whole frame
};

/// Where a grabbing thread's frames come from and where its chunks go. Everything is called on that thread.
class NUBO_MODULE_GRAB_EXPORT FrameFlow {
 public:
  virtual ~FrameFlow();

  virtual ChunkRules chunkRules() const = 0;
  /// The scene stands at another step, at which it is looked at from this camera; nothing: from where the panel does.
  virtual void lookFrom(const std::optional<gui::Camera>& /*camera*/) {}
  /// Appends one raw frame to the device; after a failure the frame or its rest is missing.
  virtual void grabPicture(QIODevice* device) = 0;
  /// As the encoder's: false if it did not take the chunk, which then stays the caller's.
  virtual bool encodeVideoChunk(QIODevice* chunk, bool last) = 0;
  /// How many frames there will be in all, as far as that is known; again when it changes.
  virtual void tellPlan(int frames) = 0;
  /// A percentage from 0 to 100.
  virtual void tellProgress(int percent) = 0;
  /// No frame will be asked for any more.
  virtual void cleanUpGL() = 0;
  /// Comes last where there was no first chunk to be had: the recording stands still until others end it.
  virtual void tellStuck() = 0;
  /// Comes last, after a recording that handed its last chunk over.
  virtual void tellFinished() = 0;
};

}  // namespace nubo::grab
