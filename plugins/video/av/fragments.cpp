#include "plugins/video/av/fragments.h"

#include <QFile>
#include <QSaveFile>

#include "plugins/video/av/demuxer.h"
#include "plugins/video/av/muxer.h"

namespace nubo::grab::video::av {

namespace {

constexpr const char* action = "Couldn't merge the fragments of the video";

/// Room for the index: tables with a size and a key frame number for each frame, and a place for each run of up
/// to a megabyte of frames, of which two that follow one another exceed half of that.
qint64 indexSize(qint64 frames, qint64 fileSize) {
  constexpr qint64 headers = 4096;
  constexpr qint64 perFrame = 4 + 4;
  constexpr qint64 perRun = 8 + 12;
  const qint64 runs = 2 * (fileSize / (1 << 20)) + 2;
  return headers + frames * perFrame + runs * perRun;
}

[[noreturn]] void fail(const QFileDevice& file) {
  throw Error(QStringLiteral("%1: %2").arg(QLatin1String(action), file.errorString()));
}

}  // namespace

QByteArray wholeOptions(qint64 frames, qint64 bytes) {
  return QStringLiteral("movflags=write_colr:moov_size=%1").arg(indexSize(frames, bytes)).toLatin1();
}

void mergeFragments(const QString& fileName, qint64 frames, int fps) {
  QFile source(fileName);
  if (!source.open(QIODevice::ReadOnly)) fail(source);
  QSaveFile target(fileName);
  if (!target.open(QIODevice::WriteOnly)) fail(target);

  Demuxer input(&source, "mp4", action);
  Muxer output(&target, "mp4", wholeOptions(frames, source.size()), *input.stream().codecpar, fps);

  const Packet packet(checkAllocated(av_packet_alloc()));
  qint64 copied = 0;
  for (; input.read(packet.get()); ++copied) output.write(packet.get(), input.stream().time_base);
  if (copied != frames) throw Error(QStringLiteral("%1: frames are missing").arg(QLatin1String(action)));
  output.finish();
  source.close();
  if (!target.commit()) fail(target);
}

}  // namespace nubo::grab::video::av
