// Which files are read at the same time, what becomes of them when one fails, and in which order they come back.
#include "module_scene/io/sidebyside.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>
#include <mutex>

#include "tests/support/waiting.h"

namespace nubo::io {
namespace {

using test::waitUntil;

/// Stands for reading: counts how many do it at once, and lets each wait until as many have come as it should.
class SideBySide : public testing::Test {
 protected:
  std::vector<ImportResult> read(const QStringList& files, Others others = Others::AreRead) {
    return readSideBySide(files, m_Control, others, [this](const QString& file, ImportControl& control) {
      enter();
      if (file.startsWith("meets")) waitUntil([this] { return m_Most >= m_Together; });
      if (file.startsWith("long")) m_IsGivenUp = waitUntil([&control] { return bool(control.cancelled); });
      if (file.endsWith("alone")) waitUntil([this] { return m_Most > 1; }, 100);
      const std::lock_guard<std::mutex> lock(m_Mutex);
      --m_Now;
      ImportResult result;
      if (file.contains("bad") || control.cancelled) result.error = file;
      if (result.error.isEmpty()) result.root = new scene::SceneElement(file);
      return result;
    });
  }

  void enter() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Most = std::max(m_Most.load(), ++m_Now);
    ++m_Begun;
  }

  const int m_Cores = QThread::idealThreadCount();
  ImportControl m_Control;
  std::mutex m_Mutex;
  int m_Now = 0, m_Together = m_Cores;
  std::atomic<int> m_Most{0}, m_Begun{0};
  std::atomic<bool> m_IsGivenUp{false};
};

TEST_F(SideBySide, AsManyAsThereAreCoresInTheOrderInWhichTheyAreNamed) {
  QStringList files;
  for (int i = 0; i < 3 * m_Cores; ++i) files << QStringLiteral("%1 %2").arg(i % 2 ? "at once" : "meets").arg(i);
  const auto results = read(files);
  ASSERT_EQ(results.size(), std::size_t(files.size()));
  for (int i = 0; i < files.size(); ++i) EXPECT_EQ(results[std::size_t(i)].root->getName(), files[i]);
  EXPECT_EQ(m_Most, m_Cores);
}

TEST_F(SideBySide, OneAloneWhereTwoDoNotFitIntoMemory) {
  const QTemporaryDir folder;
  const qint64 memory = sysconf(_SC_PHYS_PAGES) * sysconf(_SC_PAGESIZE);
  QStringList files;
  for (const char* name : {"one alone", "two alone"}) {
    files << folder.filePath(name);
    QFile file(files.last());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(memory / 40));
  }
  for (const ImportResult& result : read(files)) EXPECT_TRUE(result.root);
  EXPECT_EQ(m_Most, 1);
}

TEST_F(SideBySide, GivesUpWhatStandsBehindAFailureWhereThatIsWanted) {
  struct Row {
    QStringList files;
    Others others;
    QStringList errors;
  };
  for (const Row& row :
       {Row{{"a", "bad", "c"}, Others::AreRead, {"", "bad", ""}}, Row{{"bad", "long"}, Others::AreGivenUp, {"bad"}},
        Row{{"meets bad", "bad"}, Others::AreGivenUp, {"meets bad"}}}) {
    SCOPED_TRACE(row.files.join('+').toStdString());
    m_Most = 0, m_Together = std::min(2, m_Cores);
    const auto results = read(row.files, row.others);
    for (int i = 0; i < row.errors.size(); ++i) EXPECT_EQ(results[std::size_t(i)].error, row.errors[i]);
  }
  EXPECT_TRUE(m_IsGivenUp || m_Cores == 1);
}

TEST_F(SideBySide, AllEndWhenTheyAreCancelled) {
  QStringList files;
  for (int i = 0; i < m_Cores + 2; ++i) files << QStringLiteral("long %1").arg(i);
  std::thread other([this] {
    waitUntil([this] { return m_Most == m_Cores; });
    m_Control.cancelled = true;
  });
  for (const ImportResult& result : read(files)) EXPECT_FALSE(result.error.isEmpty());
  other.join();
  EXPECT_EQ(m_Begun, m_Cores);
}

TEST_F(SideBySide, HowFarTheyAreIsToldOfAllBytes) {
  const QTemporaryDir folder;
  QStringList files;
  for (const auto& [name, size] : {std::pair("small", 10), {"large", 30}}) {
    files << folder.filePath(name);
    QFile file(files.last());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(size));
  }
  static_cast<void>(readSideBySide(files, m_Control, Others::AreRead, [&](const QString& file, ImportControl& own) {
    own.percent = file.endsWith("small") ? 100 : 20;
    if (file.endsWith("large")) {
      EXPECT_TRUE(waitUntil([this] { return m_Control.percent == 40; }));
    }
    return ImportResult();
  }));
  EXPECT_EQ(m_Control.percent, 100);
}

}  // namespace
}  // namespace nubo::io
