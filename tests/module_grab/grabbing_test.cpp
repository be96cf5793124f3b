// What a grabbing thread does, for a recording that only remembers, by a clock that only counts; and how much memory
// is left for chunks.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPointer>
#include <QTemporaryDir>
#include <QVariant>
#include <functional>

#include "module_grab/freememory.h"
#include "module_grab/grabloops.h"
#include "module_grab/video/encoder.h"
#include "module_grab/videoframe.h"
#include "module_trajectory/trajectory.h"
#include "support/logcollector.h"

static std::uint64_t g_FreeMemory = 0;

// Stands before the module's own function.
std::uint64_t nubo::grab::freeMemory() { return g_FreeMemory; }

namespace nubo::grab {
namespace {

using testing::ElementsAre;
using trajectory::TrajectoryHandler;
using Texts = std::vector<std::string>;

constexpr std::uint64_t Plenty = std::uint64_t(1) << 40;

/// Grabs a number of frames, and counts the time that each takes.
class FakeRecording : public FrameFlow, public GrabbingClock {
 public:
  ChunkRules rules{1000, true, 100};
  int frames = 0;        ///< after which it is to stop
  bool refuses = false;  ///< chunks
  std::function<void(int)> onFrame = [](int) {};

  void run(bool inStep = false) {
    stop = frames == 0;
    inStep ? grabInStep(*this, stop) : grabAtPace(*this, *this, stop);
  }

  Texts calls;
  int planned = 0;
  QVector<qint64> times;
  QVariant end;
  std::vector<QPointer<QIODevice>> chunks;
  std::atomic<bool> stop{false};

  ChunkRules chunkRules() const override { return rules; }
  void grabPicture(QIODevice* device) override {
    now += 1;  // a little more than a whole number
    onFrame(grabbed);
    if (rules.frameBytes > 0) device->write(QByteArray(int(rules.frameBytes), 'x'));
    calls.emplace_back("frame");
    stop = ++grabbed >= frames;
  }
  bool encodeVideoChunk(QIODevice* chunk, bool last) override {
    std::string text = "nothing";
    if (chunk) {
      text = (qobject_cast<QBuffer*>(chunk) ? "memory " : "file ") + std::to_string(chunk->size() / 100);
      times += chunk->property(video::Encoder::FrameTimesProperty).value<QVector<qint64>>();
      end = chunk->property(video::Encoder::EndTimeProperty);
    }
    calls.push_back(text + (last ? ", last" : ""));
    chunks.emplace_back(chunk);
    const std::unique_ptr<QIODevice> taken(refuses ? nullptr : chunk);
    return !refuses;
  }
  void tellPlan(int steps) override { planned = steps; }
  void tellProgress(int percent) override { calls.push_back(std::to_string(percent) + " %"); }
  void cleanUpGL() override { calls.emplace_back("clean up"); }
  void tellStuck() override { calls.emplace_back("stuck"); }
  void tellFinished() override { calls.emplace_back("finished"); }
  std::int64_t microseconds() override { return now; }
  void sleep(std::int64_t milliseconds) override { pass(milliseconds); }
  void pass(std::int64_t milliseconds) { now += milliseconds * 1000; }

 private:
  std::int64_t now = 7000000;
  int grabbed = 0;
};

class Grabbing : public testing::Test {
 protected:
  Grabbing() { g_FreeMemory = Plenty; }
  ~Grabbing() override {
    TrajectoryHandler::getInstance()->clear();
    qunsetenv("TMPDIR");
  }
  /// The last calls of every recording that got as far as a first chunk.
  static Texts ended(Texts calls) {
    calls.insert(calls.end(), {"clean up", "finished"});
    return calls;
  }
  Texts failures() const {
    Texts texts;
    for (const auto& entry : m_Log.records())
      if (entry.file == "module_grab/videohandler") texts.push_back(entry.message.toStdString());
    return texts;
  }

  test::LogCollector m_Log;
  QTemporaryDir m_Directory;
};

TEST_F(Grabbing, PausesTwiceAsSeldomAsThePaceSaysAndTellsWhen) {
  struct Row {
    std::vector<int> work;  // of each frame, in milliseconds, and then on
    std::vector<int> times;
    int end;
  };
  for (const Row& row :
       {Row{{10}, {0, 40, 50, 90, 100}, 140}, Row{{50}, {0, 50, 100}, 150}, Row{{40}, {0, 40, 80}, 120},
        Row{{0}, {0, 40, 40, 80, 80}, 120}, Row{{30, 5}, {0, 40, 60, 70}, 100}}) {
    SCOPED_TRACE(row.work[0]);
    FakeRecording recording;
    recording.onFrame = [&](int frame) { recording.pass(row.work[std::min(std::size_t(frame), row.work.size() - 1)]); };
    recording.frames = int(row.times.size());
    recording.run();
    std::vector<int> milliseconds;
    for (const qint64 time : recording.times) milliseconds.push_back(int(time / 1000));
    EXPECT_EQ(milliseconds, row.times);
    EXPECT_EQ(recording.end.toLongLong() / 1000, row.end);
  }
}

TEST_F(Grabbing, FillsChunksToTheirLimitAndNoFurther) {
  struct Row {
    const char* name;
    ChunkRules rules;
    int frames;
    std::uint64_t freeMemory;
    Texts chunks;
  };
  const Row Rows[] = {
      {"several", {300, true, 100}, 7, Plenty, {"memory 3", "memory 3", "memory 1, last"}},
      {"to the byte", {301, true, 100}, 5, Plenty, {"memory 4", "memory 1, last"}},
      {"full at the end", {200, true, 100}, 4, Plenty, {"memory 2", "memory 2, last"}},
      {"large", {50000000, true, 640 * 480 * 4}, 42, Plenty, {"memory 503808", "memory 12288, last"}},
      {"none", {300, true, 100}, 0, Plenty, {"memory 0, last"}},
      {"just enough memory", {300, true, 100}, 2, 301, {"memory 2, last"}},
      {"too little memory", {300, true, 100}, 2, 300, {"file 2, last"}},
      {"files wanted", {300, false, 100}, 4, Plenty, {"file 3", "file 1, last"}},
      {"beyond a buffer", {1000000000, true, 1500000000}, 0, Plenty, {"file 0, last"}},
      {"frames of nothing", {300, true, 0}, 2, Plenty, {"memory 0, last"}},
  };
  for (const Row& row : Rows) {
    SCOPED_TRACE(row.name);
    g_FreeMemory = row.freeMemory;
    FakeRecording recording;
    recording.rules = row.rules;
    recording.frames = row.frames;
    recording.run();
    Texts calls;
    for (const std::string& call : recording.calls)
      if (call != "frame") calls.push_back(call);
    EXPECT_EQ(calls, ended(row.chunks));
    for (const auto& chunk : recording.chunks) EXPECT_FALSE(chunk);
  }
}

TEST_F(Grabbing, GoesOverIntoFilesWhileMemoryIsShort) {
  FakeRecording recording;
  recording.rules = {100, true, 100};
  recording.frames = 5;
  recording.onFrame = [](int frame) { g_FreeMemory = frame == 1 || frame == 2 ? 100 : Plenty; };
  recording.run();
  EXPECT_EQ(recording.calls, ended({"frame", "memory 1", "frame", "memory 1", "frame", "file 1", "frame", "file 1",
                                    "frame", "memory 1, last"}));
  EXPECT_EQ(recording.times.size(), 5);
}

TEST_F(Grabbing, EndsWithoutFurtherChunksAndDeletesWhatIsRefused) {
  const auto run = [this](bool later) {
    FakeRecording recording;
    recording.rules = {100, false, 100};
    recording.frames = 3;
    qputenv("TMPDIR", later ? m_Directory.path().toLocal8Bit() : "/nowhere");
    recording.onFrame = [](int frame) {
      if (frame == 1) qputenv("TMPDIR", "/nowhere");
    };
    recording.run();
    return recording.calls;
  };
  EXPECT_THAT(run(false), ElementsAre("clean up", "stuck"));
  EXPECT_EQ(run(true), ended({"frame", "file 1", "frame", "file 1", "nothing, last"}));
  EXPECT_EQ(failures(), Texts(2, "Couldn't open temporary file"));
  FakeRecording recording;
  recording.refuses = true;
  recording.frames = 11;
  recording.run();
  for (const auto& chunk : recording.chunks) EXPECT_FALSE(chunk);
}

TEST_F(Grabbing, TakesStepsOneByOne) {
  struct Row {
    const char* name;
    int steps, position, frames;  // after which the recording is told to stop
    Texts calls;
  };
  constexpr int All = 1000;
  const Row Rows[] = {
      {"from the seventh", 10, 7, All, {"70 %", "frame", "80 %", "frame", "90 %", "frame", "memory 3, last"}},
      {"the last", 3, 2, All, {"66 %", "frame", "memory 1, last"}},
      {"in double precision", 100, 29, 1, {"28 %", "frame", "memory 1, last"}},
      {"stopped", 10, 0, 2, {"0 %", "frame", "10 %", "frame", "memory 2, last"}},
      {"stopped at once", 10, 0, 0, {"memory 0, last"}},
      {"no steps", 0, 0, All, {"memory 0, last"}},
      {"no trajectory", -1, 0, All, {"memory 0, last"}},
  };
  auto* handler = TrajectoryHandler::getInstance();
  for (const bool matrices : {false, true})
    for (const Row& row : Rows) {
      SCOPED_TRACE(row.name);
      const auto steps = std::size_t(std::max(row.steps, 0));
      handler->clear();
      if (row.steps >= 0 && matrices)
        handler->select(std::make_unique<trajectory::AdvancedTrajectoryInfo>(
            std::make_unique<std::deque<trajectory::MatrixMap>>(steps)));
      if (row.steps >= 0 && !matrices)
        handler->select(std::make_unique<trajectory::TrajectoryInfo>(std::deque<trajectory::Point>(steps), nullptr));
      const trajectory::SelectedTrajectory trajectory;
      trajectory.setPosition(std::uint64_t(row.position));
      FakeRecording recording;
      recording.frames = row.frames;
      recording.onFrame = [&](int frame) {
        EXPECT_TRUE(handler->isDriven());
        EXPECT_EQ(trajectory.position(), std::uint64_t(row.position + frame));
      };
      recording.run(true);
      EXPECT_EQ(recording.calls, ended(row.calls));
      EXPECT_TRUE(recording.times.isEmpty() && !recording.end.isValid()) << "a step is a frame, whenever it came";
      EXPECT_EQ(recording.planned, int(steps) - row.position);
      EXPECT_FALSE(handler->isDriven());
      handler->putBack();
      EXPECT_EQ(trajectory.position(), std::uint64_t(row.position));
      FakeRecording other;  // goes on with what it began, when another trajectory is selected
      other.frames = row.frames;
      other.onFrame = [&](int) { handler->clear(); };
      other.run(true);
      EXPECT_EQ(other.calls, recording.calls);
    }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Grabbing, KeepsFramesInMemoryThatCannotBeReserved) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  const rlimit little{rlim_t(std::min(Plenty, 400000000ul)), before.rlim_max};
  FakeRecording recording;
  recording.rules = {1000000000, true, 100};
  recording.frames = 3;
  ASSERT_EQ(setrlimit(RLIMIT_AS, &little), 0);
  recording.run();
  EXPECT_LT(freeMemoryUnder(QString()), 400000000u);
  ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
  EXPECT_EQ(recording.calls, ended({"frame", "frame", "frame", "memory 3, last"}));
}
#endif

/// Takes what it is told to take at a time, and then says what it is told to say.
class NarrowDevice : public QIODevice {
 public:
  NarrowDevice(qint64 room, bool throws) : m_Room(room), m_Throws(throws) { open(WriteOnly | Unbuffered); }
  QByteArray bytes;

 protected:
  qint64 readData(char*, qint64) override { return -1; }
  qint64 writeData(const char* data, qint64 size) override {
    const qint64 taken = std::min({size, qint64(10), m_Room - bytes.size()});
    if (taken == 0 && m_Throws) throw std::bad_alloc();
    bytes.append(data, int(taken));
    return taken > 0 ? taken : -1;
  }

 private:
  qint64 m_Room;
  bool m_Throws;
};

TEST_F(Grabbing, WritesAFrameWholeOrTellsWhatIsMissing) {
  QImage picture(4, 4, QImage::Format_ARGB32_Premultiplied);
  picture.fill(0x01020304);
  NarrowDevice wide(64, false);
  EXPECT_TRUE(appendFrame(picture, wide));
  EXPECT_EQ(wide.bytes, QByteArray("\4\3\2\1").repeated(16));
  for (const bool throws : {false, true}) {
    NarrowDevice narrow(25, throws);
    EXPECT_FALSE(appendFrame(picture, narrow));
  }
  EXPECT_FALSE(appendFrame(QImage(), wide));
  EXPECT_EQ(failures(), (Texts{"Couldn't write 39 bytes to temporary file", "Couldn't write 39 bytes to temporary file",
                               "Picture couldn't be grabbed by FBO"}));
}

TEST(FreeMemory, IsTheLeastOfWhatSystemGroupsAndAddressSpaceLeave) {
  const QTemporaryDir root;
  const auto write = [&root](const QString& name, const QByteArray& text) {
    const QString path = root.filePath(name);
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  };
  const auto writeGroup = [&](const QString& folder, const char* limit, const char* usage, const char* cached) {
    write("sys/fs/cgroup/" + folder + "/memory.max", QByteArray(limit) + "\n");
    write("sys/fs/cgroup/" + folder + "/memory.current", QByteArray(usage) + "\n");
    write("sys/fs/cgroup/" + folder + "/memory.stat", "anon 7\ninactive_file " + QByteArray(cached) + "\n");
  };
  struct Row {
    std::function<void()> change;
    std::uint64_t left;
  };
  const Row Rows[] = {
      {[] {}, 0},
      {[&] { write("proc/meminfo", "MemTotal:  2000 kB\nMemFree:  10 kB\nMemAvailable:   1000 kB\n"); }, 1024000},
      {[&] { write("proc/self/cgroup", "0::/a/b\n"); }, 1024000},
      {[&] { writeGroup("a/b", "max", "5", "0"); }, 1024000},
      {[&] { writeGroup("a", "500000", "300000", "100000"); }, 300000},
      {[&] { writeGroup("a/b", "100000", "40000", "0"); }, 60000},
      {[&] { writeGroup("a/b", "100000", "140000", "0"); }, 0},
      {[&] { write("proc/self/cgroup", "11:cpu,cpuacct:/x\n9:memory:/outside/this/container\n0::/\n"); }, 1024000},
      {[&] { write("sys/fs/cgroup/memory/memory.limit_in_bytes", "400000\n"); }, 1024000},
      {[&] { write("sys/fs/cgroup/memory/memory.usage_in_bytes", "250000\n"); }, 150000},
      {[&] { write("sys/fs/cgroup/memory/memory.stat", "inactive_file 1\ntotal_inactive_file 50000\n"); }, 200000},
      {[&] { write("proc/self/status", "VmPeak:  90 kB\nVmSize:  60 kB\n"); }, 200000},
      {[&] { write("proc/self/limits", "Max address space  unlimited  unlimited  bytes\n"); }, 200000},
      {[&] { write("proc/self/limits", "Max stack size  1  1  bytes\nMax address space  71680  80000  bytes\n"); },
       10240},
      {[&] { write("proc/self/limits", "Max address space  50000  80000  bytes\n"); }, 0},
  };
  for (const Row& row : Rows) {
    SCOPED_TRACE(&row - Rows);
    row.change();
    EXPECT_EQ(freeMemoryUnder(root.path()), row.left);
  }
  EXPECT_GT(freeMemoryUnder(QString()), 1000000u) << "here";
}

}  // namespace
}  // namespace nubo::grab
