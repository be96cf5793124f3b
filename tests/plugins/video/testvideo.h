// A video of known pictures, and what FFmpeg's programs say of the file that a plug-in made of it.
#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QLibrary>
#include <QMap>
#include <QProcess>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>

#include "module_grab/video/encoder.h"
#include "module_grab/video/videoencoder.h"

namespace nubo::test {

constexpr int width = 320;
constexpr int height = 242;  // not a multiple of what codecs work in
constexpr int frameSize = width * height * 4;

/// Eight patches, in two rows of four, above a strip of eight blocks that spell the frame's number in black and
/// white, the lowest bit first.
constexpr int patchSize = 80;
constexpr std::array<std::array<std::uint8_t, 4>, 8> patches{{{20, 30, 200, 255},
                                                              {40, 190, 30, 255},
                                                              {210, 40, 50, 255},
                                                              {128, 128, 128, 255},
                                                              {240, 240, 240, 128},
                                                              {60, 200, 230, 64},
                                                              {180, 80, 160, 1},
                                                              {96, 64, 32, 0}}};

inline QByteArray rawFrame(int number) {
  QByteArray frame(frameSize, Qt::Uninitialized);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      auto* pixel = frame.data() + std::ptrdiff_t(4) * (y * width + x);
      if (y < 2 * patchSize) {
        const auto& patch = patches[4 * (y / patchSize) + x / patchSize];
        std::copy(patch.begin(), patch.end(), pixel);
      } else {
        std::fill_n(pixel, 3, static_cast<char>(number >> (8 * x / width) & 1 ? 255 : 0));
        pixel[3] = static_cast<char>(255);
      }
    }
  }
  return frame;
}

/// The mean of a rectangle's bytes of one channel.
inline double mean(const QByteArray& frame, int left, int top, int size, int channel) {
  double sum = 0;
  for (int y = top; y < top + size; ++y)
    for (int x = left; x < left + size; ++x) sum += static_cast<std::uint8_t>(frame[4 * (y * width + x) + channel]);
  return sum / (size * size);
}

inline int numberIn(const QByteArray& frame) {
  int number = 0;
  for (int bit = 0; bit < 8; ++bit)
    if (mean(frame, bit * width / 8 + 8, 2 * patchSize + 24, 24, 1) > 128) number |= 1 << bit;
  return number;
}

using Chunk = std::unique_ptr<QIODevice>;

/// A chunk as a grabbing thread hands it over: open and at its end. In `device`, where that is given, open.
inline Chunk chunk(int firstFrame, int count, Chunk device = nullptr) {
  if (!device) {
    device = std::make_unique<QBuffer>();
    device->open(QIODevice::ReadWrite);
  }
  for (int i = 0; i < count; ++i) device->write(rawFrame(firstFrame + i));
  return device;
}

inline QByteArray output(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  process.start(program, arguments);
  return process.waitForFinished(60000) && process.exitCode() == 0 ? process.readAllStandardOutput() : QByteArray();
}

/// The properties of the first stream, counted frames among them, and of the file, as ffprobe names them.
inline QMap<QString, QString> probe(const QString& fileName) {
  QMap<QString, QString> result;
  const QByteArray text = output("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v:0", "-show_streams",
                                             "-show_format", "-of", "default=nw=1", fileName});
  for (const QByteArray& line : text.split('\n'))
    if (line.contains('=')) result.insert(line.left(line.indexOf('=')), line.mid(line.indexOf('=') + 1));
  return result;
}

/// All frames, as BGRA.
inline QByteArray decode(const QString& fileName, const QStringList& decoder = {}) {
  return output("ffmpeg", QStringList{"-v", "error"} + decoder +
                              QStringList{"-i", fileName, "-vsync", "passthrough", "-f", "rawvideo", "-pix_fmt", "bgra",
                                          "-sws_flags", "accurate_rnd+full_chroma_int", "-"});
}

/// The numbers of all frames.
inline std::vector<int> numbersIn(const QString& fileName) {
  std::vector<int> numbers;
  const QByteArray frames = decode(fileName);
  for (int at = 0; at < frames.size(); at += frameSize) numbers.push_back(numberIn(frames.mid(at, frameSize)));
  return numbers;
}

inline QList<double> times(const QString& fileName) {
  QList<double> result;
  const QByteArray text = output("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                                             "frame=best_effort_timestamp_time", "-of", "csv=p=0", fileName});
  for (const QByteArray& line : text.split('\n'))
    if (!line.trimmed().isEmpty()) result.append(line.split(',').first().toDouble());
  return result;
}

/// The plug-ins, registered as the registry does it, but from where they were built.
class Plugins {
 public:
  Plugins() {
    for (const char* name : {"av", "frames"}) {
      QLibrary library(QStringLiteral(NUBO_TEST_BIN_DIR "/plugins/video/libvideo_%1").arg(name));
      const auto doRegister = reinterpret_cast<bool (*)()>(library.resolve("doRegister"));
      m_Registered = m_Registered && doRegister && doRegister();
    }
  }
  ~Plugins() { delete grab::video::VideoEncoder::getInstance(); }
  Plugins(const Plugins&) = delete;
  Plugins& operator=(const Plugins&) = delete;

  bool isRegistered() const { return m_Registered; }

 private:
  bool m_Registered = true;
};

/// An encoder that is open on a file.
inline std::unique_ptr<grab::video::Encoder> open(const QString& fileName, int fps = 25, int bitrate = 40000000) {
  std::unique_ptr<grab::video::Encoder> encoder(grab::video::VideoEncoder::getInstance()->getEncoder(fileName));
  if (encoder && !encoder->setOutputParameters(fileName, width, height, fps, bitrate)) encoder.reset();
  return encoder;
}

/// Hands a chunk over; deletes it if it is refused.
inline bool hand(grab::video::Encoder& encoder, Chunk chunk, bool last) {
  if (!encoder.encodeVideoChunk(chunk.get(), last)) return false;
  (void)chunk.release();
  return true;
}

}  // namespace nubo::test
