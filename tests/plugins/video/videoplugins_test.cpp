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
#include "support/limit.h"
#include "testvideo.h"

namespace nubo::test {
namespace {

using grab::video::Encoder;
using grab::video::VideoEncoder;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;

class VideoPlugins : public testing::Test {
 protected:
  static void SetUpTestSuite() { qputenv("NUBO_VIDEO_THREADS", "4"); }  // so that codecs hold frames back
  void SetUp() override { ASSERT_TRUE(m_Plugins.isRegistered()); }

  QString file(const QString& name) const { return m_Directory.filePath(name); }
  /// Hands over these chunks, of which the last may be null, and waits for the end.
  void encode(const QString& name, std::initializer_list<QIODevice*> chunks, int fps = 25) {
    const auto encoder = open(name, fps);
    ASSERT_TRUE(encoder);
    for (const auto& chunk : chunks) EXPECT_TRUE(hand(*encoder, Chunk(chunk), &chunk == chunks.end() - 1));
    encoder->waitForFinish();
  }
  static QByteArray contents(const QString& name) {
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  static QStringList extensions() {
    QStringList names;
    for (const auto& offer : *VideoEncoder::getInstance()->getLoadableFiles()) names << offer.first.toLower();
    return names;
  }

  QTemporaryDir m_Directory;
  Plugins m_Plugins;
  LogCollector m_Log;
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

void expectPatches(const QByteArray& frame, const Case& expected) {
  constexpr int margin = 8;
  for (int patch = 0; patch < 8; ++patch)
    for (int channel = 0; channel < (expected.hasAlpha ? 4 : 3); ++channel)
      EXPECT_NEAR(
          mean(frame, patch % 4 * patchSize + margin, patch / 4 * patchSize + margin, patchSize - 2 * margin, channel),
          patches[patch][channel], expected.levels)
          << "patch " << patch << " channel " << channel;
}

TEST_P(Formats, EveryFrameComesBackInOrderTimeAndColour) {
  const auto& expected = GetParam();
  constexpr int frames = 20;
  constexpr int fps = 30;
  const auto encodeAs = [&](const char* name) {
    auto temporary = std::make_unique<QTemporaryFile>();
    EXPECT_TRUE(temporary->open());
    encode(file(name), {chunk(0, 13).release(), chunk(13, 0).release(), chunk(13, 7, std::move(temporary)).release()},
           fps);
    return contents(file(name));
  };
  const QString name = file(QStringLiteral("a.") + expected.extension);
  EXPECT_EQ(encodeAs(qPrintable("a." + QString(expected.extension))),
            encodeAs(qPrintable("b." + QString(expected.extension))));
  EXPECT_THAT(m_Log.messages(log::Failure), IsEmpty());

  const auto properties = probe(name);
  EXPECT_EQ(properties["r_frame_rate"], QString("%1/1").arg(fps));
  EXPECT_NEAR(properties["duration"].toDouble(), static_cast<double>(frames) / fps, 0.011);  // GIF's clock
  EXPECT_EQ(properties["codec_name"], expected.codec);
  EXPECT_EQ(properties["color_space"], expected.matrix);
  EXPECT_EQ(properties["color_range"], expected.range);
  EXPECT_EQ(properties["color_primaries"], expected.primaries);
  EXPECT_EQ(properties["color_transfer"], expected.primaries);

  const auto seconds = times(name);
  const QByteArray decoded = decode(name, expected.decoder);
  ASSERT_EQ(decoded.size(), frames * frameSize);
  ASSERT_EQ(seconds.size(), frames);
  for (int i = 0; i < frames && !HasFailure(); ++i) {
    SCOPED_TRACE(i);
    const QByteArray frame = decoded.mid(i * frameSize, frameSize);
    EXPECT_EQ(numberIn(frame), i);
    EXPECT_NEAR(seconds[i], static_cast<double>(i) / fps, expected.seconds);
    EXPECT_TRUE(expected.levels > 0 || frame == rawFrame(i));
    expectPatches(frame, expected);
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

class FreeRecordings : public VideoPlugins, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(All, FreeRecordings, testing::Values("y4m", "mkv", "gif"));

TEST_P(FreeRecordings, ShowTheirFramesForAsLongAsTheyStood) {
  struct Row {
    const char* what;
    std::vector<qint64> milliseconds;
    qint64 end;  ///< below 0: not known, as without a final chunk
    std::vector<int> shown;
  };
  for (const Row& row :
       {Row{"in time", {0, 100, 200}, 300, {0, 1, 2}},
        Row{"a little early and late", {0, 110, 190, 310}, 390, {0, 1, 2, 3}},
        Row{"one late", {0, 100, 440}, 500, {0, 1, 1, 1, 2}}, Row{"too many", {0, 40, 80, 130, 200}, 310, {1, 3, 4}},
        Row{"one at the very end", {0, 100}, 100, {0, 1}}, Row{"a long one", {0}, 600, {0, 0, 0, 0, 0, 0}},
        Row{"without an end", {0, 200, 300}, -1, {0, 0, 1, 2}}}) {
    SCOPED_TRACE(row.what);
    const QString name = file(QStringLiteral("free.") + GetParam());
    // The first two frames are a chunk, all others the last one, if there is one.
    const auto timed = [&](std::size_t from, std::size_t to) {
      Chunk result = chunk(int(from), int(to - from));
      QVector<qint64> times;
      for (std::size_t i = from; i < to; ++i) times << 1000 * row.milliseconds[i];
      result->setProperty(Encoder::FrameTimesProperty, QVariant::fromValue(times));
      return result.release();
    };
    const std::size_t count = row.milliseconds.size(), first = row.end < 0 ? count : std::min<std::size_t>(2, count);
    QIODevice* const last = row.end < 0 ? nullptr : timed(first, count);
    if (last) last->setProperty(Encoder::EndTimeProperty, 1000 * row.end);
    encode(name, {timed(0, first), last}, 10);
    EXPECT_EQ(numbersIn(name), row.shown);
  }
}

TEST_F(VideoPlugins, AGifHasNoMoreFramesThanPlayersShow) {
  encode(file("fast.gif"), {chunk(0, 30).release()}, 60);
  EXPECT_NEAR(probe(file("fast.gif"))["duration"].toDouble(), 30 / 50.0, 0.001);
}

/// A chunk that tells when the worker has done with it, which is when a kill would find it in the file.
class WatchedChunk : public QBuffer {
 public:
  explicit WatchedChunk(QSemaphore* done) : m_Done(done) { open(ReadWrite); }
  ~WatchedChunk() override { m_Done->release(); }

 private:
  QSemaphore* m_Done;
};

TEST_F(VideoPlugins, AnMp4PlaysUpToTheLastFinishedChunkAndIsAnOrdinaryOneAtTheEnd) {
  const QString name = file("video.mp4");
  const QString cut = file("cut.mp4");
  auto encoder = open(name);
  QSemaphore done;
  for (const auto& [first, count] : {std::pair(0, 1), std::pair(1, 60)}) {
    ASSERT_TRUE(hand(*encoder, chunk(first, count, std::make_unique<WatchedChunk>(&done)), false));
    ASSERT_TRUE(done.tryAcquire(1, 60000));
    QFile::remove(cut);
    ASSERT_TRUE(QFile::copy(name, cut));
    EXPECT_EQ(numbersIn(cut).size(), first + count);
    EXPECT_EQ(numbersIn(cut).back(), first + count - 1);
  }
  ASSERT_TRUE(hand(*encoder, chunk(61, 1), true));
  encoder->waitForFinish();
  EXPECT_EQ(numbersIn(name).size(), 62);
  const QByteArray bytes = contents(name);
  EXPECT_LT(bytes.indexOf("moov"), bytes.indexOf("mdat"));
  EXPECT_FALSE(bytes.contains("moof"));
  EXPECT_EQ(QDir(m_Directory.path()).entryList(QDir::Files).size(), 2) << "a temporary file was left";
}

TEST_F(VideoPlugins, EveryEncodingEndsCleanly) {
  const auto openOnes = [](const char* directory) { return QDir(directory).entryList(QDir::AllEntries).size(); };
  for (const QString& extension : extensions()) {
    SCOPED_TRACE(extension.toStdString());
    const QString name = file("end." + extension);
    int files = 0, threads = 0;
    for (const bool again : {false, true}) {
      encode(name, {});  // no chunk at all
      EXPECT_EQ(QFileInfo(name).size(), 0);
      encode(name, {nullptr});  // no frame
      encode(name, {chunk(0, 3).release(), nullptr});
      EXPECT_EQ(probe(name)["nb_read_frames"], "3");
      EXPECT_THAT(m_Log.messages(log::Failure), IsEmpty());
      auto encoder = open(name);
      EXPECT_TRUE(hand(*encoder, chunk(0, 3), true));
      encoder->abortEncoding();
      EXPECT_FALSE(QFile::exists(name));

      encoder.reset(VideoEncoder::getInstance()->getEncoder(name));  // no output file
      encoder->setOutputParameters(file("missing/end"), width, height, 25, 1000000);
      EXPECT_FALSE(hand(*encoder, chunk(0, 1), true));
      encoder->waitForFinish();
      m_Log.clear();
      if (again) {
        EXPECT_EQ(openOnes("/proc/self/fd"), files);
        EXPECT_TRUE(waitUntil([&] { return openOnes("/proc/self/task") <= threads; }, 10000));
      }
      files = openOnes("/proc/self/fd");
      threads = openOnes("/proc/self/task");
    }
  }
}

TEST_F(VideoPlugins, AnIncompleteFrameIsLeftOutAndThoseOfLaterChunksAreWhole) {
  const QString name = file("video.mkv");
  auto cut = chunk(0, 2);
  cut->write(rawFrame(9).left(1000));
  encode(name, {cut.release(), chunk(2, 2).release()});
  EXPECT_THAT(m_Log.messages(log::Failure),
              testing::ElementsAre("The chunk holds an incomplete frame, its last 1000 bytes are left out"));
  EXPECT_EQ(numbersIn(name), (std::vector<int>{0, 1, 2, 3}));
}

auto saysThat(const char* text) {
  return Contains(
      testing::ResultOf([](const QString& message) { return message.toStdString(); }, testing::HasSubstr(text)));
}

/// A frame that no codec makes small, so that the disk refuses what libav writes in the middle of its work.
QByteArray noise() {
  std::mt19937 generator;
  QByteArray frame(frameSize, Qt::Uninitialized);
  std::generate(frame.begin(), frame.end(), [&] { return char(generator()); });
  return frame;
}

TEST_F(VideoPlugins, AFullDiskIsReportedInTheDevicesWords) {
  for (const QString& extension : extensions())
    for (const bool noisy : {false, true}) {
      SCOPED_TRACE(extension.toStdString() + (noisy ? ", much at once" : ", little by little"));
      m_Log.clear();
      auto first = chunk(0, noisy ? 0 : 3);
      if (noisy) first->write(noise());
      {
        const Limit fileSize(RLIMIT_FSIZE, 1000);
        encode(file("full." + extension), {first.release(), chunk(3, 1).release()});
      }
      EXPECT_THAT(m_Log.messages(log::Failure), saysThat("Couldn't encode chunk!"));
      EXPECT_THAT(m_Log.messages(log::Failure), saysThat("File too large"));
      EXPECT_THAT(m_Log.messages(log::Failure), Not(saysThat("Input/output error")));
    }
}

TEST_F(VideoPlugins, FragmentsThatCannotBeMergedStay) {
  const QString name = file("video.mp4");
  QSemaphore done;
  auto encoder = open(name);
  ASSERT_TRUE(hand(*encoder, chunk(0, 20, std::make_unique<WatchedChunk>(&done)), true));
  ASSERT_TRUE(done.tryAcquire(1, 60000));
  {
    const Limit files(RLIMIT_NOFILE, 0);
    encoder->waitForFinish();
  }
  EXPECT_THAT(m_Log.messages(log::Failure), saysThat("Couldn't merge the fragments of the video: Too many open files"));
  EXPECT_EQ(numbersIn(name).size(), 20);
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
    const std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(name));
    ASSERT_TRUE(encoder->setOutputParameters(file(name), refusedWidth, height, fps, 1000000));
    EXPECT_FALSE(hand(*encoder, chunk(0, 1), true));
    encoder->waitForFinish();
    EXPECT_THAT(m_Log.messages(log::Failure), saysThat(reason));
  }
}

TEST_F(VideoPlugins, ThereIsNoEncoderWhereTheCodecsCannotBeLoaded) {
  // Alone, without the library that it loads.
  const QString alone = file("libvideo_alone.so");
  ASSERT_TRUE(QFile::copy(NUBO_TEST_BIN_DIR "/plugins/video/libvideo_av.so", alone));
  delete VideoEncoder::getInstance();
  QLibrary library(alone);
  const auto doRegister = reinterpret_cast<bool (*)()>(library.resolve("doRegister"));
  ASSERT_TRUE(doRegister && doRegister()) << library.errorString().toStdString();
  EXPECT_EQ(VideoEncoder::getInstance()->getEncoder("a.mp4"), nullptr);
  EXPECT_THAT(m_Log.messages(log::Failure), saysThat("libvideo_av_codecs"));
}

}  // namespace
}  // namespace nubo::test
