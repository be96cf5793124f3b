// Whether builds with ThreadSanitizer take Qt's locks for what they are, and still see what no lock guards.
#include <gtest/gtest.h>

#include <QProcess>

TEST(ThreadSanitizer, KnowsTheOrderThatQtGivesAndCatchesAPlantedRace) {
  constexpr int RaceFound = 66;  // the sanitizer's exit status
  for (const char* guard : {"mutex", "semaphore", "join", "nothing"}) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(NUBO_TSAN_RACE), {QString::fromLatin1(guard)});
    EXPECT_TRUE(process.waitForFinished(-1));
    const QByteArray output = process.readAll();
    const bool isRace = guard == std::string("nothing");
    EXPECT_EQ(process.exitCode(), isRace ? RaceFound : 0) << guard << '\n' << output.toStdString();
    EXPECT_EQ(output.contains("data race"), isRace) << guard;
  }
}
