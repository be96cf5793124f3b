#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "module_grab/freememory.h"
#include "module_grab/pacing.h"

namespace nubo::grab {
namespace {

TEST(Pacing, TakesThePauseOffTwice) {
  struct Row {
    int work;  // of each frame
    std::vector<int> pauses;
  };
  for (const Row& row : {Row{10, {30, 0, 30, 0, 30}}, Row{50, {0, 0, 0}}, Row{40, {0, 0}}, Row{0, {40, 0, 40}},
                         Row{25, {15, 0, 15, 0}}}) {
    SCOPED_TRACE(row.work);
    Pacing pacing;
    std::vector<int> pauses;
    for (std::size_t i = 0; i < row.pauses.size(); ++i)
      pauses.push_back(int(pacing.pauseAfter(row.work + (pauses.empty() ? 0 : pauses.back()))));
    EXPECT_EQ(pauses, row.pauses);
  }
}

TEST(Progress, IsTruncatedInDoublePrecision) {
  EXPECT_EQ(percentOfSteps(0, 3), 0);
  EXPECT_EQ(percentOfSteps(2, 3), 66);
  EXPECT_EQ(percentOfSteps(29, 100), 28);
  EXPECT_EQ(percentOfSteps(99, 100), 99);
  EXPECT_EQ(percentOfSteps((1ull << 40) - 1, 1ull << 40), 99);
}

TEST(Chunks, AreFullAtTheLimit) {
  constexpr std::int64_t Frame = 640 * 480 * 4;
  std::int64_t size = 0;
  int frames = 0;
  for (; !isChunkFull(size, 50 * 1000000); ++frames) size += Frame;
  EXPECT_EQ(frames, 41);
  EXPECT_TRUE(isChunkFull(1000, 1000));
  EXPECT_FALSE(isChunkFull(999, 1000));
  EXPECT_FALSE(fitsInMemory(1000, 1000));
  EXPECT_TRUE(fitsInMemory(1001, 1000));
}

class FreeMemory : public ::testing::Test {
 protected:
  void write(const QString& name, const QByteArray& text) {
    const QString path = m_Root.filePath(name);
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  }
  void writeGroup(const QString& folder, const QByteArray& limit, const QByteArray& usage, const QByteArray& cached) {
    write("sys/fs/cgroup/" + folder + "/memory.max", limit + "\n");
    write("sys/fs/cgroup/" + folder + "/memory.current", usage + "\n");
    write("sys/fs/cgroup/" + folder + "/memory.stat", "anon 7\ninactive_file " + cached + "\n");
  }
  std::uint64_t free() const { return freeMemoryUnder(m_Root.path()); }

  QTemporaryDir m_Root;
};

TEST_F(FreeMemory, IsTheLeastOfWhatSystemAndGroupsLeave) {
  EXPECT_EQ(free(), 0u);
  write("proc/meminfo", "MemTotal:  2000 kB\nMemFree:  10 kB\nMemAvailable:   1000 kB\n");
  EXPECT_EQ(free(), 1024000u);
  write("proc/self/cgroup", "0::/a/b\n");
  EXPECT_EQ(free(), 1024000u);
  writeGroup("a/b", "max", "5", "0");
  EXPECT_EQ(free(), 1024000u);
  writeGroup("a", "500000", "300000", "100000");
  EXPECT_EQ(free(), 300000u);
  writeGroup("a/b", "100000", "40000", "0");
  EXPECT_EQ(free(), 60000u);
  writeGroup("a/b", "100000", "140000", "0");
  EXPECT_EQ(free(), 0u);
}

TEST_F(FreeMemory, KnowsTheFirstVersionsFilesAndForeignPaths) {
  write("proc/meminfo", "MemAvailable:   1000 kB\n");
  write("proc/self/cgroup", "11:cpu,cpuacct:/x\n9:memory:/outside/this/container\n0::/\n");
  write("sys/fs/cgroup/memory/memory.limit_in_bytes", "400000\n");
  write("sys/fs/cgroup/memory/memory.usage_in_bytes", "250000\n");
  write("sys/fs/cgroup/memory/memory.stat", "inactive_file 1\ntotal_inactive_file 50000\n");
  EXPECT_EQ(free(), 200000u);
}

TEST(FreeMemoryHere, IsTold) { EXPECT_GT(freeMemory(), 1000000u); }

}  // namespace
}  // namespace nubo::grab
