// Encodes known pictures with each plug-in, through the interface of the module, and reads them back with FFmpeg's
// programs.
#include <gmock/gmock.h>

#include <QDir>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtEndian>
#include <random>

#include "support/host.h"
#include "testvideo.h"

using namespace nubo;
using test::chunk;
using test::hand;
using test::height;
using test::width;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;

namespace {

class VideoPlugins : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_Plugins.isRegistered()); }
  QString file(const char* name) const { return m_Directory.filePath(QLatin1String(name)); }

  QTemporaryDir m_Directory;
  test::Plugins m_Plugins;
  test::LogCollector m_Log;
};

struct Case {
  const char* extension;
  const char* codec;
  const char* matrix;
  const char* range;
  const char* primaries;
  double levels;  ///< how far a patch's mean may be off; 0: not a byte may differ
  bool hasAlpha;
  double seconds;  ///< how far a frame's time may be off: half the unit of the container's clock
  QStringList decoder;
};

void PrintTo(const Case& value, std::ostream* stream) { *stream << value.extension; }

class Formats : public VideoPlugins, public testing::WithParamInterface<Case> {};

void expectPatches(const QByteArray& frame, int number, const Case& expected) {
  constexpr int margin = 8;
  for (int patch = 0; patch < 8; ++patch) {
    for (int channel = 0; channel < (expected.hasAlpha ? 4 : 3); ++channel) {
      const double actual = test::mean(frame, patch % 4 * test::patchSize + margin,
                                       patch / 4 * test::patchSize + margin, test::patchSize - 2 * margin, channel);
      EXPECT_NEAR(actual, test::patches[patch][channel], expected.levels)
          << "frame " << number << " patch " << patch << " channel " << channel;
    }
  }
}

TEST_P(Formats, EveryFrameComesBackInOrderTimeAndColour) {
  const auto& expected = GetParam();
  constexpr int frames = 20;
  constexpr int fps = 30;
  const QString name = file("video.") + QLatin1String(expected.extension);
  auto encoder = test::open(name, fps);
  ASSERT_TRUE(encoder);
  ASSERT_TRUE(hand(*encoder, chunk(0, 13), false));
  ASSERT_TRUE(hand(*encoder, chunk(13, 0), false));
  auto temporary = std::make_unique<QTemporaryFile>();
  ASSERT_TRUE(temporary->open());
  for (int i = 13; i < frames; ++i) temporary->write(test::rawFrame(i));
  ASSERT_TRUE(hand(*encoder, std::move(temporary), true));
  encoder->waitForFinish();
  EXPECT_THAT(m_Log.messages(log::Failure), IsEmpty());

  const auto properties = test::probe(name);
  EXPECT_EQ(properties["r_frame_rate"], QString("%1/1").arg(fps));
  EXPECT_EQ(properties["codec_name"], expected.codec);
  EXPECT_EQ(properties["color_space"], expected.matrix);
  EXPECT_EQ(properties["color_range"], expected.range);
  EXPECT_EQ(properties["color_primaries"], expected.primaries);
  EXPECT_EQ(properties["color_transfer"], expected.primaries);

  const auto times = test::times(name);
  const QByteArray decoded = test::decode(name, expected.decoder);
  ASSERT_EQ(decoded.size(), frames * test::frameSize);
  ASSERT_EQ(times.size(), frames);
  for (int i = 0; i < frames; ++i) {
    const QByteArray frame = decoded.mid(i * test::frameSize, test::frameSize);
    EXPECT_EQ(test::numberIn(frame), i);
    EXPECT_NEAR(times[i], static_cast<double>(i) / fps, expected.seconds) << "frame " << i;
    EXPECT_TRUE(expected.levels > 0 || frame == test::rawFrame(i)) << "frame " << i;
    expectPatches(frame, i, expected);
    if (HasFailure()) break;
  }
}

constexpr double microsecond = 1e-6;  // ffprobe prints six places
INSTANTIATE_TEST_SUITE_P(
    All, Formats,
    testing::Values(Case{"mp4", "h264", "bt709", "tv", "bt709", 2, false, microsecond, {}},
                    Case{"mkv", "ffv1", "gbr", "pc", "bt709", 0, true, 0.0006, {}},
                    Case{"webm", "vp9", "bt709", "tv", "bt709", 2, true, 0.0006, {"-c:v", "libvpx-vp9"}},
                    Case{"mov", "prores", "bt709", "tv", "bt709", 2, true, microsecond, {}},
                    Case{"avi", "mpeg4", "bt709", "tv", "bt709", 2, false, microsecond, {}},
                    Case{"gif", "gif", "unknown", "unknown", "unknown", 2, false, 0.0051, {}},
                    Case{"y4m", "rawvideo", "unknown", "pc", "unknown", 2, false, microsecond, {}}),
    [](const auto& info) { return std::string(info.param.extension); });

/// The top-level boxes of an MP4 file, in order.
QStringList boxes(const QByteArray& file) {
  QStringList result;
  for (int offset = 0; offset + 8 <= file.size();) {
    result.append(QString::fromLatin1(file.mid(offset + 4, 4)));
    offset += qFromBigEndian<quint32>(file.constData() + offset);
  }
  return result;
}

QByteArray contents(const QString& name) {
  QFile file(name);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A chunk that tells when the worker has done with it, which is when a kill would find it in the file.
class WatchedChunk : public QBuffer {
 public:
  WatchedChunk(int firstFrame, int count, QSemaphore* done) : m_Done(done) {
    open(ReadWrite);
    for (int i = 0; i < count; ++i) write(test::rawFrame(firstFrame + i));
  }
  ~WatchedChunk() override { m_Done->release(); }

 private:
  QSemaphore* m_Done;
};

TEST_F(VideoPlugins, AnMp4PlaysUpToTheLastFinishedChunkAndIsAnOrdinaryOneAtTheEnd) {
  const QString name = file("video.mp4");
  const QString cut = file("cut.mp4");
  auto encoder = test::open(name);
  QSemaphore done;
  for (const auto& [first, count] : {std::pair(0, 1), std::pair(1, 60)}) {
    ASSERT_TRUE(hand(*encoder, std::make_unique<WatchedChunk>(first, count, &done), false));
    done.acquire();
    ASSERT_TRUE(QFile::remove(cut) || first == 0);
    ASSERT_TRUE(QFile::copy(name, cut));
    EXPECT_EQ(test::probe(cut)["nb_read_frames"].toInt(), first + count);
    EXPECT_EQ(test::numberIn(test::decode(cut).right(test::frameSize)), first + count - 1);
  }
  ASSERT_TRUE(hand(*encoder, chunk(61, 1), true));
  encoder->waitForFinish();
  const QStringList order = boxes(contents(name));
  EXPECT_LT(order.indexOf("moov"), order.indexOf("mdat"));
  EXPECT_FALSE(order.contains("moof"));
  EXPECT_EQ(test::probe(name)["nb_read_frames"].toInt(), 62);
  EXPECT_EQ(QDir(m_Directory.path()).entryList(QDir::Files).size(), 2) << "a temporary file was left";
}

TEST_F(VideoPlugins, EveryEncodingEndsCleanly) {
  for (const auto& [extension, description] : *grab::video::VideoEncoder::getInstance()->getLoadableFiles()) {
    SCOPED_TRACE(extension.toStdString());
    const QString name = m_Directory.filePath("end." + extension.toLower());

    auto encoder = test::open(name);  // no chunk at all
    encoder->waitForFinish();
    EXPECT_EQ(QFileInfo(name).size(), 0);

    encoder = test::open(name);  // no frame
    EXPECT_TRUE(encoder->encodeVideoChunk(nullptr, true));
    encoder->waitForFinish();
    EXPECT_TRUE(QFile::exists(name));

    encoder = test::open(name);  // the last chunk could not be made
    EXPECT_TRUE(hand(*encoder, chunk(0, 3), false));
    EXPECT_TRUE(encoder->encodeVideoChunk(nullptr, true));
    encoder->waitForFinish();
    EXPECT_EQ(test::probe(name)["nb_read_frames"].toInt(), 3);

    EXPECT_THAT(m_Log.messages(log::Failure), IsEmpty());
    encoder = test::open(name);
    EXPECT_TRUE(hand(*encoder, chunk(0, 3), true));
    encoder->abortEncoding();
    EXPECT_FALSE(QFile::exists(name));

    encoder.reset(grab::video::VideoEncoder::getInstance()->getEncoder(name));  // no output file
    encoder->setOutputParameters(file("missing/") + "end", width, height, 25, 1000000);
    EXPECT_FALSE(hand(*encoder, chunk(0, 1), true));
    encoder->waitForFinish();
    m_Log.clear();
  }
}

TEST_F(VideoPlugins, AnIncompleteFrameIsLeftOutAndThoseOfLaterChunksAreWhole) {
  const QString name = file("video.mkv");
  auto encoder = test::open(name);
  auto cut = chunk(0, 2);
  cut->write(test::rawFrame(9).left(1000));
  ASSERT_TRUE(hand(*encoder, std::move(cut), false));
  ASSERT_TRUE(hand(*encoder, chunk(2, 2), true));
  encoder->waitForFinish();
  EXPECT_THAT(m_Log.messages(log::Failure),
              testing::ElementsAre(QString("The chunk holds an incomplete frame, its last 1000 bytes are left out")));
  EXPECT_EQ(test::decode(name), test::rawFrame(0) + test::rawFrame(1) + test::rawFrame(2) + test::rawFrame(3));
}

auto saysThat(const char* text) {
  return Contains(
      testing::ResultOf([](const QString& message) { return message.toStdString(); }, testing::HasSubstr(text)));
}

/// A frame that no codec makes small, so that the disk refuses what libav writes in the middle of its work.
std::unique_ptr<QIODevice> noise() {
  std::mt19937 generator;
  QByteArray frame(test::frameSize, Qt::Uninitialized);
  std::generate(frame.begin(), frame.end(), [&] { return char(generator()); });
  auto buffer = std::make_unique<QBuffer>();
  buffer->open(QIODevice::ReadWrite);
  buffer->write(frame);
  return buffer;
}

TEST_F(VideoPlugins, AFullDiskIsReportedInTheDevicesWords) {
  for (const auto& [extension, description] : *grab::video::VideoEncoder::getInstance()->getLoadableFiles())
    for (const bool noisy : {false, true}) {
      SCOPED_TRACE(extension.toStdString() + (noisy ? ", much at once" : ", little by little"));
      m_Log.clear();
      auto encoder = test::open(m_Directory.filePath("full." + extension.toLower()));
      ASSERT_TRUE(encoder);
      {
        const test::Limit fileSize(RLIMIT_FSIZE, 1000);
        EXPECT_TRUE(hand(*encoder, noisy ? noise() : chunk(0, 3), false));
        EXPECT_TRUE(hand(*encoder, chunk(3, 1), true));
        encoder->waitForFinish();
      }
      EXPECT_THAT(m_Log.messages(log::Failure), saysThat("Couldn't encode chunk!"));
      EXPECT_THAT(m_Log.messages(log::Failure), saysThat("File too large"));
      EXPECT_THAT(m_Log.messages(log::Failure), Not(saysThat("Input/output error")));
    }
}

TEST_F(VideoPlugins, FragmentsThatCannotBeMergedStay) {
  const QString name = file("video.mp4");
  QSemaphore done;
  auto encoder = test::open(name);
  ASSERT_TRUE(hand(*encoder, std::make_unique<WatchedChunk>(0, 20, &done), true));
  done.acquire();
  {
    const test::Limit files(RLIMIT_NOFILE, 0);
    encoder->waitForFinish();
  }
  EXPECT_THAT(m_Log.messages(log::Failure), saysThat("Couldn't merge the fragments of the video: Too many open files"));
  EXPECT_EQ(test::probe(name)["nb_read_frames"].toInt(), 20);
}

TEST_F(VideoPlugins, WhatCannotBeEncodedIsRefusedWithTheReason) {
  struct Refused {
    const char* name;
    int width, fps;
    const char* reason;
  };
  for (const auto& [name, refusedWidth, fps, reason] :
       {Refused{"video.gif", width, 120, "A .gif file has room for at most 100 frames per second"},
        Refused{"video.mp4", width, 0, "The frame rate is below 1"},
        Refused{"video.y4m", width, -1, "The frame rate is below 1"},
        Refused{"video.mkv", 0, 25, "The frames are empty"},
        // The codec's own words, which come through its log.
        Refused{"video.avi", width, 70000, "not supported by MPEG 4 standard"}}) {
    const std::unique_ptr<grab::video::Encoder> encoder(grab::video::VideoEncoder::getInstance()->getEncoder(name));
    ASSERT_TRUE(encoder->setOutputParameters(file(name), refusedWidth, height, fps, 1000000));
    EXPECT_FALSE(hand(*encoder, chunk(0, 1), true));
    encoder->waitForFinish();
    EXPECT_THAT(m_Log.messages(log::Failure), saysThat(reason));
  }
}

TEST_F(VideoPlugins, ManyShortVideosLeaveNoFileOrThreadOpen) {
  const auto count = [](const char* directory) { return QDir(directory).entryList(QDir::AllEntries).size(); };
  const auto encode = [&](const QString& extension, bool abort) {
    auto encoder = test::open(m_Directory.filePath("short." + extension));
    ASSERT_TRUE(hand(*encoder, chunk(0, 1), true));
    abort ? encoder->abortEncoding() : encoder->waitForFinish();
  };
  for (const char* extension : {"mp4", "mkv", "webm", "mov", "avi", "gif"}) {
    SCOPED_TRACE(extension);
    encode(extension, false);
    const int files = count("/proc/self/fd");
    const int threads = count("/proc/self/task");
    for (int i = 0; i < 5; ++i) {
      encode(extension, false);
      encode(extension, true);
    }
    EXPECT_EQ(count("/proc/self/fd"), files);
    EXPECT_TRUE(test::waitUntil([&] { return count("/proc/self/task") <= threads; }, 10000));
  }
}

}  // namespace
