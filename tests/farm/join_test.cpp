// Recordings that were made in pieces are those that were made in one go.
#include <gmock/gmock.h>

#include <QDir>
#include <QTemporaryDir>
#include <numeric>

#include "plugins/video/testvideo.h"

namespace nubo::test {
namespace {

constexpr int Frames = 40;

class JoinTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_Plugins.isRegistered()); }

  QString file(const QString& name) const { return m_Folder.filePath(name); }

  void record(const QString& name, int first, int count, int fps = 30) {
    const auto encoder = open(file(name), fps, 8000000);
    ASSERT_TRUE(encoder && hand(*encoder, chunk(first, count), true));
    encoder->waitForFinish();
  }

  /// What it says, where it fails.
  QString join(const QStringList& arguments, const QByteArray& list = {}) {
    QProcess process;
    process.setWorkingDirectory(m_Folder.path());
    process.start(QStringLiteral(NUBO_TEST_BIN_DIR "/nubo-join"), arguments);
    process.write(list);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(60000));
    const QString said = QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
    EXPECT_EQ(process.exitCode() == 0, said.isEmpty());
    return said;
  }

  QByteArray bytes(const QString& name) const {
    QFile content(file(name));
    return content.open(QIODevice::ReadOnly) ? content.readAll() : QByteArray();
  }

 private:
  Plugins m_Plugins;
  QTemporaryDir m_Folder;
};

TEST_F(JoinTest, PiecesBecomeTheRecordingMadeInOneGo) {
  struct Row {
    const char *suffix, *pieces;
    bool sameBytes;
  };
  // Encoders that aim at a bit rate begin anew with each piece.
  const Row Rows[] = {{"mp4", "mp4", false}, {"mkv", "mkv", true}, {"webm", "webm", false}, {"mov", "mov", true},
                      {"avi", "avi", false}, {"gif", "mkv", true}, {"y4m", "y4m", true}};
  std::vector<int> all(Frames);
  std::iota(all.begin(), all.end(), 0);
  for (const Row& row : Rows) {
    SCOPED_TRACE(row.suffix);
    const QString whole = QStringLiteral("whole.") + row.suffix, joined = QStringLiteral("joined.") + row.suffix;
    ASSERT_NO_FATAL_FAILURE(record(whole, 0, Frames));
    QStringList call{joined};
    for (const auto& [first, count] : {std::pair(0, 15), {15, 1}, {16, Frames - 16}}) {
      call << QStringLiteral("piece%1.%2").arg(first).arg(row.pieces);
      ASSERT_NO_FATAL_FAILURE(record(call.last(), first, count));
    }
    ASSERT_EQ(join(call), "");
    EXPECT_EQ(bytes(joined) == bytes(whole), row.sameBytes);
    EXPECT_EQ(numbersIn(file(joined)), all);
    EXPECT_EQ(times(file(joined)), times(file(whole)));
    auto properties = probe(file(joined)), expected = probe(file(whole));
    for (const char* differs : {"filename", "size", "bit_rate"}) {
      properties.remove(differs);
      expected.remove(differs);
    }
    EXPECT_EQ(properties, expected);
  }
}

TEST_F(JoinTest, NamesTheHoleAndLeavesTheTarget) {
  constexpr char CutOff[] = "its last frame is cut off";
  for (const auto& row : {std::pair("mp4", CutOff), {"mkv", ""}, {"y4m", CutOff}}) {
    const char* const suffix = row.first;
    SCOPED_TRACE(suffix);
    const auto named = [suffix](const char* name) { return QStringLiteral("%1.%2").arg(name, suffix); };
    ASSERT_NO_FATAL_FAILURE(record(named("a"), 0, 8));
    ASSERT_NO_FATAL_FAILURE(record(named("b"), 8, 8));
    QFile(file(named("cut"))).remove();
    ASSERT_TRUE(QFile::copy(file(named("b")), file(named("cut"))));
    const qint64 size = QFileInfo(file(named("b"))).size();
    ASSERT_TRUE(QFile::resize(file(named("cut")), row.second == CutOff ? size - 1 : size / 2));
    QFile target(file(named("target")));
    ASSERT_TRUE(target.open(QIODevice::WriteOnly) && target.write("old") == 3);
    target.close();
    const auto listed = [&](const char* name, const char* frames) {
      return join({"--list", "-", named("target")},
                  "8\t" + named("a").toLatin1() + '\n' + frames + '\t' + named(name).toLatin1() + '\n');
    };
    EXPECT_THAT(listed("none", "8").toStdString(), testing::HasSubstr(named("none").toStdString() + ": No such file"));
    EXPECT_THAT(listed("b", "9").toStdString(), testing::HasSubstr("has 8 frames of 9"));
    EXPECT_THAT(listed("cut", "8").toStdString(), testing::HasSubstr("cut." + std::string(suffix) + ": " + row.second));
    EXPECT_THAT(listed("b", "many").toStdString(), testing::HasSubstr("-:2: a line is"));
    EXPECT_EQ(bytes(named("target")), "old");
  }
  ASSERT_NO_FATAL_FAILURE(record("slow.mkv", 8, 8, 15));
  for (const char* target : {"x.mkv", "x.gif"})
    EXPECT_EQ(join({target, "a.mkv", "slow.mkv"}).toStdString(),
              "nubo-join: slow.mkv: is encoded otherwise than a.mkv");
  EXPECT_THAT(join({"x.mp4", "a.mp4", "a.mkv"}).toStdString(), testing::HasSubstr("a.mkv"));
  EXPECT_THAT(join({"a.mp4", "a.mp4", "b.mp4"}).toStdString(), testing::HasSubstr("a.mp4: is a piece itself"));
  EXPECT_THAT(join({"x.xyz", "a.mp4"}).toStdString(), testing::HasSubstr("no video or poster"));
}

}  // namespace
}  // namespace nubo::test
