// The base class of encoders, under an encoder that does nothing but remember.
#include "module_grab/video/encoder.h"

#include <gmock/gmock.h>

#include <QBuffer>
#include <QFile>
#include <QSemaphore>
#include <QThread>
#include <atomic>
#include <limits>
#include <numeric>

#include "support/host.h"

namespace nubo::grab::video {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::atomic<int> livingChunks{0};

class Chunk : public QBuffer {
 public:
  explicit Chunk(int number) : m_Number(number) { ++livingChunks; }
  ~Chunk() override { --livingChunks; }
  const int m_Number;
};

class RecordingEncoder : public Encoder {
 public:
  RecordingEncoder() {
    connect(
        this, &Encoder::progressChanged, this,
        [this](int percent) {
          m_Progress.push_back(percent);
          m_ProgressThread = QThread::currentThread();
        },
        Qt::DirectConnection);
  }

  using Encoder::clamp;
  QIODevice* device() const { return mp_Device; }
  std::vector<int> parameters() const { return {m_Width, m_Height, m_Fps, m_Bitrate}; }

  bool m_InitResult = true;
  int m_FailAt = -2;
  QSemaphore m_Entered;           ///< a permit for each chunk whose encoding has begun
  QSemaphore* mp_Gate = nullptr;  ///< takes a permit before a chunk's encoding ends

  int m_Inits = 0;
  int m_Finishes = 0;
  QThread* mp_InitThread = nullptr;
  QThread* mp_EncodeThread = nullptr;
  QThread* m_ProgressThread = nullptr;
  std::vector<int> m_Encoded;  ///< chunk numbers, -1 for null
  std::vector<bool> m_Last;
  std::vector<int> m_Progress;
  bool m_AbortedAtFinish = false;
  bool m_FileThereAtFinish = false;

 protected:
  bool initEncoding() override {
    ++m_Inits;
    mp_InitThread = QThread::currentThread();
    return m_InitResult;
  }
  bool encodeChunk(QIODevice* chunk, bool last) override {
    mp_EncodeThread = QThread::currentThread();
    const int number = chunk ? static_cast<Chunk*>(chunk)->m_Number : -1;
    m_Encoded.push_back(number);
    m_Last.push_back(last);
    m_Entered.release();
    if (mp_Gate) mp_Gate->acquire();
    return number != m_FailAt;
  }
  void finishEncoding() override {
    ++m_Finishes;
    m_AbortedAtFinish = m_Aborted;
    if (auto* file = qobject_cast<QFile*>(mp_Device)) m_FileThereAtFinish = file->exists();
  }
};

class EncoderTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(livingChunks, 0); }

  QString name() const { return m_Host.file("video.out"); }
  bool openOutput() { return m_Encoder.setOutputParameters(name(), 640, 480, 25, 1200000); }
  bool hand(int number, bool last = false) {
    auto* chunk = new Chunk(number);
    const bool isTaken = m_Encoder.encodeVideoChunk(chunk, last);
    if (!isTaken) delete chunk;
    return isTaken;
  }
  std::vector<std::string> failures() const {
    std::vector<std::string> texts;
    for (const auto& entry : m_Log.records())
      if (entry.level == log::Failure && entry.file == "module_grab/video/encoder")
        texts.push_back(entry.function.section("::", -1).toStdString() + ": " + entry.message.toStdString());
    return texts;
  }

  test::Host m_Host;
  test::LogCollector m_Log;
  RecordingEncoder m_Encoder;
};

TEST_F(EncoderTest, ChecksItsOutputParametersAndTruncatesTheFile) {
  QFile earlier(name());
  ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
  earlier.write("earlier");
  earlier.close();
  EXPECT_FALSE(m_Encoder.setOutputParameters(name(), 641, 481, 25, 1));
  EXPECT_FALSE(m_Encoder.setOutputParameters(name(), 640, 481, 26, 2));
  EXPECT_THAT(m_Encoder.parameters(), ElementsAre(640, 481, 26, 2));
  EXPECT_EQ(earlier.size(), 7);
  const QString missing = m_Host.file("missing/video.out");
  EXPECT_FALSE(m_Encoder.setOutputParameters(missing, 0, 0, 0, 0));
  EXPECT_EQ(m_Encoder.device(), nullptr);
  EXPECT_THAT(failures(), ElementsAre("setOutputParameters: Encoder: invalid width specified",
                                      "setOutputParameters: Encoder: invalid height specified",
                                      "setOutputParameters: Encoder: Couldn't open file '" + missing.toStdString() +
                                          "' for writing"));
  EXPECT_TRUE(openOutput());
  EXPECT_EQ(earlier.size(), 0);
  m_Encoder.waitForFinish();
  EXPECT_EQ(m_Encoder.m_Finishes, 1);
  EXPECT_EQ(m_Encoder.m_Inits, 0);
  EXPECT_TRUE(QFile::exists(name()));
}

TEST_F(EncoderTest, EncodesInOrderOnAThreadOfItsOwn) {
  ASSERT_TRUE(openOutput());
  std::vector<int> expected(20);
  std::iota(expected.begin(), expected.end(), 0);
  for (const int number : expected) ASSERT_TRUE(hand(number));
  ASSERT_TRUE(m_Encoder.encodeVideoChunk(nullptr, true));
  m_Encoder.waitForFinish();
  expected.push_back(-1);
  EXPECT_EQ(m_Encoder.m_Encoded, expected);
  EXPECT_TRUE(m_Encoder.m_Last.back());
  EXPECT_EQ(std::count(m_Encoder.m_Last.begin(), m_Encoder.m_Last.end(), true), 1);
  EXPECT_EQ(m_Encoder.m_Inits, 1);
  EXPECT_EQ(m_Encoder.mp_InitThread, QThread::currentThread());
  EXPECT_NE(m_Encoder.mp_EncodeThread, QThread::currentThread());
  EXPECT_EQ(m_Encoder.m_ProgressThread, m_Encoder.mp_EncodeThread);
  EXPECT_EQ(m_Encoder.m_Finishes, 1);
  EXPECT_EQ(m_Encoder.device(), nullptr);
  EXPECT_THAT(failures(), IsEmpty());
}

/// Percentages of a backlog of so many chunks, after the -1 at the start.
std::vector<int> progressOf(RecordingEncoder& encoder, int backlog) {
  QSemaphore gate;
  encoder.mp_Gate = &gate;
  encoder.encodeVideoChunk(new Chunk(0), false);
  encoder.m_Entered.acquire();  // the worker has this one, so that it is not part of the backlog
  for (int i = 1; i <= backlog; ++i) encoder.encodeVideoChunk(new Chunk(i), i == backlog);
  EXPECT_THAT(encoder.m_Progress, ElementsAre(-1));
  const std::unique_ptr<QThread> owner(QThread::create([&encoder] { encoder.waitForFinish(); }));
  owner->start();
  // The owner counts the backlog before it waits; nothing tells when it has, but it takes no lock that is held.
  QThread::msleep(500);
  gate.release(backlog + 1);
  owner->wait();
  return std::vector<int>(encoder.m_Progress.begin() + 1, encoder.m_Progress.end());
}

TEST_F(EncoderTest, ReportsTheBacklogInTruncatedSinglePrecision) {
  EXPECT_THAT(progressOf(m_Encoder, 3), ElementsAre(0, 33, 66));
  RecordingEncoder other;
  const auto progress = progressOf(other, 100);
  ASSERT_EQ(progress.size(), 100u);
  EXPECT_EQ(progress[53], 52);
  EXPECT_EQ(progress[59], 58);
  EXPECT_EQ(progress[99], 99);
}

TEST_F(EncoderTest, RefusesEveryChunkAfterAFailedStart) {
  ASSERT_TRUE(openOutput());
  m_Encoder.m_InitResult = false;
  EXPECT_FALSE(hand(0));
  EXPECT_FALSE(hand(1, true));
  m_Encoder.waitForFinish();
  EXPECT_EQ(m_Encoder.m_Inits, 1);
  EXPECT_EQ(m_Encoder.m_Finishes, 1);
  EXPECT_THAT(m_Encoder.m_Encoded, IsEmpty());
  EXPECT_TRUE(QFile::exists(name()));
  EXPECT_THAT(failures(), ElementsAre("encodeVideoChunk: Couldn't initialize video encoding"));
}

TEST_F(EncoderTest, StopsAtAFailedChunkAndStillTakesLaterOnes) {
  ASSERT_TRUE(openOutput());
  m_Encoder.m_FailAt = 1;
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(hand(i));
  m_Encoder.m_Entered.acquire(2);
  EXPECT_TRUE(test::waitUntil([this] { return !failures().empty(); }));
  EXPECT_TRUE(hand(4, true));
  m_Encoder.waitForFinish();
  EXPECT_THAT(m_Encoder.m_Encoded, ElementsAre(0, 1));
  EXPECT_EQ(m_Encoder.m_Finishes, 1);
  EXPECT_TRUE(QFile::exists(name()));
  EXPECT_THAT(failures(), ElementsAre("run: Couldn't encode chunk!"));
}

TEST_F(EncoderTest, AnAbortEndsTheChunkAtWorkAndRemovesTheFile) {
  ASSERT_TRUE(openOutput());
  QSemaphore gate;
  m_Encoder.mp_Gate = &gate;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(hand(i, i == 2));
  m_Encoder.m_Entered.acquire();
  const std::unique_ptr<QThread> owner(QThread::create([this] { m_Encoder.abortEncoding(); }));
  owner->start();
  EXPECT_FALSE(owner->wait(200)) << "the abort did not wait for the chunk";
  gate.release();
  owner->wait();
  EXPECT_THAT(m_Encoder.m_Encoded, ElementsAre(0));
  EXPECT_EQ(m_Encoder.m_Finishes, 1);
  EXPECT_TRUE(m_Encoder.m_AbortedAtFinish);
  EXPECT_FALSE(m_Encoder.m_FileThereAtFinish);
  EXPECT_FALSE(QFile::exists(name()));
  EXPECT_THAT(failures(), IsEmpty());
}

TEST_F(EncoderTest, AnAbortBeforeAnyChunkOrWithTheFileGoneIsClean) {
  ASSERT_TRUE(openOutput());
  m_Encoder.abortEncoding();
  EXPECT_FALSE(QFile::exists(name()));
  EXPECT_EQ(m_Encoder.m_Finishes, 1);

  RecordingEncoder other;
  ASSERT_TRUE(other.setOutputParameters(name(), 2, 2, 25, 1));
  ASSERT_TRUE(QFile::remove(name()));
  other.abortEncoding();
  EXPECT_EQ(other.m_Finishes, 1);
  EXPECT_THAT(failures(), ElementsAre("abortEncoding: Couldn't remove file '" + name().toStdString() + "'"));
  RecordingEncoder unopened;
  unopened.abortEncoding();
  EXPECT_EQ(unopened.m_Finishes, 1);
}

TEST(EncoderClamp, LimitsAndTruncates) {
  EXPECT_EQ(RecordingEncoder::clamp(-0.5), 0);
  EXPECT_EQ(RecordingEncoder::clamp(254.99), 254);
  EXPECT_EQ(RecordingEncoder::clamp(255.9), 255);
  EXPECT_EQ(RecordingEncoder::clamp(std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(RecordingEncoder::clamp(std::numeric_limits<double>::infinity()), 255);
}

}  // namespace
}  // namespace nubo::grab::video
