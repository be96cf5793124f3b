// The encoder for every format of this plug-in.
#pragma once

#include <memory>

#include "module_grab/video/encoder.h"
#include "module_grab/video/framecadence.h"

namespace nubo::grab::video::av {

struct Format;
class Pipeline;

class AvEncoder : public Encoder {
  Q_OBJECT

 public:
  /// The format outlives the encoder.
  explicit AvEncoder(const Format& format);
  ~AvEncoder() override;

 protected:
  bool initEncoding() override;
  bool encodeChunk(QIODevice* chunk, bool last) override;
  void finishEncoding() override;

 private:
  void encodeFrames(QIODevice* chunk);
  void encodeFrame(qint64 times);
  template <typename Function>
  bool guarded(const char* function, Function step);

  const Format& m_Format;
  std::unique_ptr<Pipeline> m_Pipeline;  ///< from a good initEncoding to finishEncoding
  FrameCadence m_Cadence{1};
  bool m_Complete = false;  ///< all frames are encoded, only the end of the file is missing
};

}  // namespace nubo::grab::video::av
