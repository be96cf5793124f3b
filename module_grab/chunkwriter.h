// Puts the frames of a recording into chunks.
#pragma once

#include <QVector>
#include <cstdint>
#include <memory>
#include <optional>

#include "module_grab/frameflow.h"

namespace nubo::grab {

/// Holds the chunk that is being filled and hands each full one to the recording's encoder. Grabbing thread.
class NUBO_MODULE_GRAB_EXPORT ChunkWriter {
 public:
  explicit ChunkWriter(FrameFlow& flow);
  ~ChunkWriter();
  ChunkWriter(const ChunkWriter&) = delete;
  ChunkWriter& operator=(const ChunkWriter&) = delete;

  /// Makes a new chunk, where the first one is missing or the present one is full, which goes to the encoder. False,
  /// with the reason in the log, if there is none to be had.
  [[nodiscard]] bool makeRoom();
  /// Appends a frame; `time` is that of a free recording's frame, in microseconds on any clock.
  void grab(std::optional<std::int64_t> time);
  /// Ends the encoder's stream with what was grabbed last, or with nothing after makeRoom() has failed; `time` as
  /// grab()'s.
  void finish(std::optional<std::int64_t> time);

 private:
  std::unique_ptr<QIODevice> createChunkFile() const;
  void handOver(bool last);

  FrameFlow& m_Flow;
  const ChunkRules m_Rules;
  std::unique_ptr<QIODevice> mp_Chunk;
  QVector<qint64> m_Times;              ///< of the chunk's frames, since m_Begin
  std::optional<std::int64_t> m_Begin;  ///< the first frame's time
};

}  // namespace nubo::grab
