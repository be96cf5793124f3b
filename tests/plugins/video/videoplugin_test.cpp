// Encodes known pictures with each plug-in, through the interface of the module, and reads them back with FFmpeg's
// programs.
#include <gmock/gmock.h>

#include <QDir>
#include <QTemporaryDir>
#include <QTemporaryFile>

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
  constexpr int frames = 150;
  constexpr int fps = 30;
  const QString name = file("video.") + QLatin1String(expected.extension);
  auto encoder = test::open(name, fps);
  ASSERT_TRUE(encoder);
  ASSERT_TRUE(hand(*encoder, chunk(0, 97), false));
  ASSERT_TRUE(hand(*encoder, chunk(97, 0), false));
  auto temporary = std::make_unique<QTemporaryFile>();
  ASSERT_TRUE(temporary->open());
  for (int i = 97; i < frames; ++i) temporary->write(test::rawFrame(i));
  ASSERT_TRUE(hand(*encoder, std::move(temporary), true));
  encoder->waitForFinish();
  EXPECT_THAT(m_Log.messages(log::Failure), IsEmpty());

  const auto properties = test::probe(name);
  EXPECT_EQ(properties["nb_read_frames"].toInt(), frames);
  EXPECT_EQ(properties["r_frame_rate"], QString("%1/1").arg(fps));
  EXPECT_EQ(properties["width"].toInt(), width);
  EXPECT_EQ(properties["height"].toInt(), height);
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

}  // namespace
