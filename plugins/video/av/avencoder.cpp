#include "plugins/video/av/avencoder.h"

#include <QFile>
#include <QVariant>
#include <QVector>

#include "kernel/log/logger.h"
#include "plugins/video/av/formats.h"
#include "plugins/video/av/fragments.h"
#include "plugins/video/av/pipeline.h"

namespace nubo::grab::video::av {

AvEncoder::AvEncoder(const Format& format) : m_Format(format) {}

AvEncoder::~AvEncoder() = default;

/// Exceptions must not reach the base class.
template <typename Function>
bool AvEncoder::guarded(const char* function, Function step) {
  try {
    step();
    return true;
  } catch (const std::exception& error) {
    NUBO_LOG(nubo::log::Failure, function, QString::fromLocal8Bit(error.what()));
    return false;
  }
}

bool AvEncoder::initEncoding() {
  return guarded("nubo::grab::video::av::AvEncoder::initEncoding", [this] {
    if (!mp_Device) throw Error(QStringLiteral("There is no output file"));
    m_Pipeline = std::make_unique<Pipeline>(m_Format, Picture{m_Width, m_Height, m_Fps, m_Bitrate, m_IsBitrateChosen},
                                            mp_Device);
    m_Cadence = FrameCadence(m_Pipeline->fps());
    if (m_Pipeline->fps() != m_Fps)
      NUBO_LOG(nubo::log::Note, "nubo::grab::video::av::AvEncoder::initEncoding",
               QStringLiteral("Players show at most %1 frames of a .%2 file per second; it is written with so many")
                   .arg(m_Pipeline->fps())
                   .arg(QLatin1String(m_Format.extension)));
  });
}

bool AvEncoder::encodeChunk(QIODevice* chunk, bool last) {
  return guarded("nubo::grab::video::av::AvEncoder::encodeChunk", [this, chunk, last] {
    if (chunk) encodeFrames(chunk);
    if (last) encodeFrame(m_Cadence.finishAt(chunk ? chunk->property(EndTimeProperty).toLongLong() : 0));
    if (m_Aborted) return;
    if (last) m_Pipeline->drain();
    m_Pipeline->flush();
    m_Complete = last;
  });
}

void AvEncoder::encodeFrames(QIODevice* chunk) {
  const qint64 frameSize = 4LL * m_Width * m_Height;
  const qint64 rest = chunk->size() % frameSize;
  if (rest != 0)
    NUBO_LOG(nubo::log::Failure, "nubo::grab::video::av::AvEncoder::encodeFrames",
             QStringLiteral("The chunk holds an incomplete frame, its last %1 bytes are left out").arg(rest));
  if (!chunk->seek(0)) throw Error(QStringLiteral("Couldn't read the chunk: %1").arg(chunk->errorString()));
  const auto times = chunk->property(FrameTimesProperty).value<QVector<qint64>>();
  for (int i = 0; i < chunk->size() / frameSize && !m_Aborted; ++i) {
    const bool isTimed = i < times.size();
    if (isTimed) encodeFrame(m_Cadence.advanceTo(times[i]));  // the one before, which stands until then
    m_Pipeline->readFrame(chunk);
    if (!isTimed) encodeFrame(1);
  }
}

void AvEncoder::encodeFrame(qint64 times) {
  for (; times > 0 && !m_Aborted; --times) m_Pipeline->encodeFrame();
}

void AvEncoder::finishEncoding() {
  const auto pipeline = std::move(m_Pipeline);
  if (!pipeline || !m_Complete || m_Aborted || pipeline->frames() == 0) return;
  guarded("nubo::grab::video::av::AvEncoder::finishEncoding", [this, &pipeline] {
    pipeline->finish();
    auto* file = qobject_cast<QFile*>(mp_Device);
    if (!m_Format.isFragmented || !file) return;
    file->close();
    mergeFragments(file->fileName(), pipeline->frames(), m_Fps);
  });
}

}  // namespace nubo::grab::video::av
