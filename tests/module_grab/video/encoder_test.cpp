// The base class of encoders, under an encoder that does nothing but remember.
#include "module_grab/video/encoder.h"

#include <gmock/gmock.h>

#include <limits>

#include "module_grab/fakeencoder.h"
#include "support/host.h"

namespace nubo::test {
namespace {

using grab::video::Encoder;
using testing::ElementsAre;
using Sizes = std::vector<int>;
using Texts = std::vector<std::string>;

constexpr int Null = -1;
constexpr int Patience = 20000;
std::atomic<int> livingChunks{0};

/// Holds as many bytes as its number says.
class Chunk : public QBuffer {
 public:
  explicit Chunk(int size) {
    ++livingChunks;
    open(QIODevice::ReadWrite);
    write(QByteArray(size, 'x'));
  }
  ~Chunk() override { --livingChunks; }
};

class EncoderTest : public testing::Test {
 protected:
  EncoderTest() { makeEncoder(); }
  ~EncoderTest() override {
    mp_Encoder.reset();
    EXPECT_EQ(livingChunks, 0);
    delete grab::video::VideoEncoder::getInstance();
  }

  void makeEncoder() {
    mp_Encoder.reset(grab::video::VideoEncoder::getInstance()->getEncoder(name()));
    m_Encoding.clear();
    m_Log.clear();
    mp_Encoder->observeChunks([this](qint64 bytes) { m_Observed.push_back(int(bytes)); });
    QObject::connect(
        mp_Encoder.get(), &Encoder::progressChanged, mp_Encoder.get(),
        [this](int percent) {
          m_Progress.push_back(percent);
          mp_ProgressThread = QThread::currentThread();
        },
        Qt::DirectConnection);
    m_Observed.clear();
    m_Progress.clear();
  }
  QString name() const { return m_Host.file("video.fake"); }
  bool openOutput() { return mp_Encoder->setOutputParameters(name(), 640, 480, 25, 1200000); }
  bool hand(int size, bool last) {
    auto chunk = size == Null ? nullptr : std::make_unique<Chunk>(size);
    const bool taken = mp_Encoder->encodeVideoChunk(chunk.get(), last);
    if (taken) static_cast<void>(chunk.release());
    return taken;
  }
  Texts failures() const {
    Texts texts;
    for (const auto& entry : m_Log.records())
      if (entry.level == log::Failure && entry.file == "module_grab/video/encoder")
        texts.push_back(entry.function.section("::", -1).toStdString() + ": " + entry.message.toStdString());
    return texts;
  }
  Sizes encoded() const {
    Sizes sizes;
    for (const EncodedChunk& chunk : m_Encoding.chunks()) sizes.push_back(chunk.isNull ? Null : int(chunk.size));
    return sizes;
  }

  Host m_Host;
  LogCollector m_Log;
  FakeEncoding m_Encoding{QStringLiteral("fake")};
  std::unique_ptr<Encoder> mp_Encoder;
  Sizes m_Observed, m_Progress;
  QThread* mp_ProgressThread = nullptr;
};

enum Way { Plain, Unopened, RefusesToStart, FailsAtSecond, FileIsGone };
constexpr bool Aborts = true, Throws = true;

struct Scenario {
  const char* name;
  Way way;
  bool aborts, throws;
  Sizes handed;  // the last of them as the last
  Sizes encoded;
  Texts failures = {};
};

TEST_F(EncoderTest, EncodesInOrderOnAThreadOfItsOwnAndEndsWell) {
  const Scenario Scenarios[] = {
      {"all", Plain, !Aborts, !Throws, {1, 2, 3, 4, 5, 6, Null}, {1, 2, 3, 4, 5, 6, Null}},
      {"nothing", Plain, !Aborts, !Throws, {}, {}},
      {"nothing, aborted", Plain, Aborts, !Throws, {}, {}},
      {"no file", Unopened, !Aborts, !Throws, {1}, {1}},
      {"no file, aborted", Unopened, Aborts, !Throws, {}, {}},
      {"refused",
       RefusesToStart,
       !Aborts,
       !Throws,
       {1, 2},
       {},
       {"encodeVideoChunk: Couldn't initialize video encoding"}},
      {"refused, aborted",
       RefusesToStart,
       Aborts,
       !Throws,
       {1, 2},
       {},
       {"encodeVideoChunk: Couldn't initialize video encoding"}},
      {"failed", FailsAtSecond, !Aborts, !Throws, {1, 2, 3, 4}, {1, 2}, {"run: Couldn't encode chunk!"}},
      {"failed, aborted", FailsAtSecond, Aborts, !Throws, {1, 2, 3, 4}, {1, 2}, {"run: Couldn't encode chunk!"}},
      {"thrown at the start",
       RefusesToStart,
       !Aborts,
       Throws,
       {1},
       {},
       {"initEncoding: thrown", "encodeVideoChunk: Couldn't initialize video encoding", "finishEncoding: thrown"}},
      {"thrown at a chunk",
       FailsAtSecond,
       !Aborts,
       Throws,
       {1, 2, 3},
       {1, 2},
       {"encodeChunk: thrown", "run: Couldn't encode chunk!", "finishEncoding: thrown"}},
      {"gone",
       FileIsGone,
       Aborts,
       !Throws,
       {},
       {},
       {"abortEncoding: Couldn't remove file '" + name().toStdString() + "'"}},
  };
  for (const Scenario& row : Scenarios) {
    SCOPED_TRACE(row.name);
    makeEncoder();
    m_Encoding.throws = row.throws;
    m_Encoding.refuse = row.way == RefusesToStart;
    m_Encoding.failAtChunk = row.way == FailsAtSecond ? 1 : -1;
    QFile::remove(name());
    ASSERT_TRUE(row.way == Unopened || openOutput());
    ASSERT_TRUE(row.way != FileIsGone || QFile::remove(name()));
    QSemaphore gate(row.way == FailsAtSecond ? 1000 : 0);
    m_Encoding.gate = &gate;
    for (std::size_t i = 0; i < row.handed.size(); ++i) {
      EXPECT_EQ(hand(row.handed[i], i + 1 == row.handed.size()), row.way != RefusesToStart);
      ASSERT_TRUE(i != 1 || row.way != FailsAtSecond || waitUntil([this] { return !failures().empty(); }));
    }
    gate.release(1000);
    row.aborts ? mp_Encoder->abortEncoding() : mp_Encoder->waitForFinish();
    EXPECT_EQ(encoded(), row.encoded);
    for (std::size_t i = 0; i < row.encoded.size(); ++i)
      EXPECT_EQ(m_Encoding.chunks()[i].last, i + 1 == row.handed.size()) << i;
    Sizes sound = row.encoded;  // what counts as encoded
    if (row.way == FailsAtSecond) sound.pop_back();
    sound.erase(std::remove(sound.begin(), sound.end(), Null), sound.end());
    EXPECT_EQ(m_Observed, sound);
    EXPECT_EQ(failures(), row.failures);
    EXPECT_EQ(m_Encoding.started, row.handed.empty() ? 0 : 1);
    EXPECT_EQ(m_Encoding.finished, 1);
    EXPECT_EQ(m_Encoding.aborted, row.aborts ? 1 : 0);
    const bool stays = row.way != Unopened && !row.aborts;
    EXPECT_EQ(m_Encoding.fileThereAtEnd, stays);
    EXPECT_EQ(QFile::exists(name()), stays);
    EXPECT_EQ(livingChunks, 0);
    if (row.encoded.empty()) continue;
    EXPECT_EQ(m_Encoding.startThread, QThread::currentThread());
    EXPECT_NE(m_Encoding.encodingThread, QThread::currentThread());
    EXPECT_EQ(mp_ProgressThread, m_Encoding.encodingThread);
  }
}

TEST_F(EncoderTest, ChecksItsOutputParametersAndTruncatesTheFile) {
  QFile earlier(name());
  ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
  earlier.write("earlier");
  earlier.close();
  EXPECT_FALSE(mp_Encoder->setOutputParameters(name(), 641, 481, 25, 1));
  EXPECT_FALSE(mp_Encoder->setOutputParameters(name(), 640, 481, 26, 2));
  EXPECT_EQ(earlier.size(), 7);
  const QString missing = m_Host.file("missing/video.out");
  EXPECT_FALSE(mp_Encoder->setOutputParameters(missing, 0, 0, 27, 3));
  EXPECT_THAT(failures(), ElementsAre("setOutputParameters: Encoder: invalid width specified",
                                      "setOutputParameters: Encoder: invalid height specified",
                                      "setOutputParameters: Encoder: Couldn't open file '" + missing.toStdString() +
                                          "' for writing"));
  mp_Encoder->waitForFinish();
  EXPECT_EQ(m_Encoding.fps, 27) << "what was refused is stored all the same";
  makeEncoder();
  EXPECT_TRUE(openOutput());
  EXPECT_EQ(earlier.size(), 0);
  mp_Encoder->waitForFinish();
}

TEST_F(EncoderTest, AnAbortEndsTheChunkAtWorkAndDropsTheOthers) {
  ASSERT_TRUE(openOutput());
  QSemaphore gate;
  m_Encoding.gate = &gate;
  for (int i = 1; i <= 3; ++i) ASSERT_TRUE(hand(i, i == 3));
  ASSERT_TRUE(waitUntil([this] { return m_Encoding.chunkCount() == 1; }));
  const std::unique_ptr<QThread> owner(QThread::create([this] { mp_Encoder->abortEncoding(); }));
  owner->start();
  EXPECT_FALSE(owner->wait(200)) << "the abort did not wait for the chunk";
  gate.release();
  ASSERT_TRUE(owner->wait(Patience));
  EXPECT_THAT(encoded(), ElementsAre(1));
  EXPECT_THAT(m_Observed, testing::IsEmpty()) << "what goes with the file does not count";
  EXPECT_EQ(m_Encoding.aborted, 1);
  EXPECT_FALSE(QFile::exists(name()));
  EXPECT_THAT(failures(), testing::IsEmpty());
}

}  // namespace
}  // namespace nubo::test
