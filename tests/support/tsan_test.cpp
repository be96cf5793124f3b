// Whether builds with ThreadSanitizer take Qt's locks for what they are, and still see what no lock guards.
#include <gtest/gtest.h>

#include <QProcess>

namespace {

constexpr int RaceFound = 66;  // the sanitizer's exit status

int run(const char* guard, QByteArray* output) {
  QProcess process;
  process.setProcessChannelMode(QProcess::MergedChannels);
  process.start(QStringLiteral(NUBO_TSAN_RACE), {QString::fromLatin1(guard)});
  EXPECT_TRUE(process.waitForFinished(-1));
  *output = process.readAll();
  return process.exitCode();
}

TEST(ThreadSanitizer, KnowsTheOrderThatQtGives) {
  for (const char* guard : {"mutex", "semaphore", "join"}) {
    QByteArray output;
    EXPECT_EQ(run(guard, &output), 0) << guard << output.toStdString();
  }
}

TEST(ThreadSanitizer, CatchesAPlantedRace) {
  QByteArray output;
  EXPECT_EQ(run("nothing", &output), RaceFound);
  EXPECT_TRUE(output.contains("data race")) << output.toStdString();
}

}  // namespace
