// Readers that misbehave, and what is known of readers before they are loaded.
#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstring>
#include <thread>

#include "module_scene/io/importer.h"
#include "module_scene/io/readertable.h"
#include "support/logcollector.h"

namespace nubo::io {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

void write(const QString& name, const QByteArray& content) {
  QFile file(name);
  EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

/// Makes the hostile reader one of the user's.
class Reading : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    static const QTemporaryDir home;
    const QString folder = home.filePath("nubo/plugins/readers");
    ASSERT_TRUE(QDir().mkpath(folder));
    QByteArray suffixes;
    for (const char* misdeed :
         {"writes",      "overwrites", "removes", "connects", "runs",    "forks",    "rings",      "kills",   "peeks",
          "hides",       "allocates",  "shares",  "sleeps",   "turns",   "crashes",  "leaves",     "throws",  "lies",
          "keeps still", "talks",      "index",   "corners",  "normals", "material", "mesh",       "parent",  "enum",
          "private",     "picture",    "track",   "warns",    "bones",   "weights",  "influences", "skin",    "bone",
          "shape",       "behaves",    "bends",   "dawdles",  "brings",  "stored",   "twice",      "endless", "narrow"})
      suffixes += QByteArray(suffixes.isEmpty() ? "" : ", ") + '"' + misdeed + '"';
    write(folder + "/hostile.json", "{\"library\": \"" NUBO_HOSTILE_READER "\", \"formats\": [{\"suffixes\": [" +
                                        suffixes + "], \"begins\": [{\"text\": \"HOSTILE\"}]}]}");
    QStandardPaths::setTestModeEnabled(false);  // whose folders are the same for all tests
    qputenv("XDG_DATA_HOME", home.path().toLocal8Bit());
  }

  QString file(const QString& suffix) {
    const QString name = m_Folder.filePath("model." + suffix);
    write(name, "anything");
    return name;
  }

  const QTemporaryDir m_Folder;
};

TEST_F(Reading, NoReaderTakesTheProgramDownOrReachesBeyondIt) {
  struct Row {
    const char* format;
    const char* cause;
  };
  for (const Row& row : std::initializer_list<Row> {
         {"writes", "it was stopped"}, {"overwrites", "it was stopped"}, {"removes", "it was stopped"},
             {"connects", "it was stopped"}, {"runs", "it was stopped"}, {"forks", "it was stopped"},
             {"rings", "it was stopped"}, {"kills", "it was stopped"}, {"peeks", "it was stopped"},
             {"hides", "it was stopped"},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // whose memory has no limit
             {"allocates", "it takes more memory than there is"},
#endif
             {"shares", "it takes more memory than there is"},
             {"sleeps", "its reader 'hostile' got no further for 1 s"},
             {"turns", "its reader 'hostile' got no further for 1 s"},
             {"warns", "its reader 'hostile' got no further for 1 s"},
             {"crashes", "its reader 'hostile' ended unexpectedly"},
             {"leaves", "its reader 'hostile' ended unexpectedly"}, {"throws", "'it' is no file"},
             {"keeps still", "its reader 'hostile' does not say why"}, {"lies", "makes no sense"},
             {"talks", "makes no sense"}, {"index", "makes no sense"}, {"corners", "makes no sense"},
             {"normals", "makes no sense"}, {"material", "makes no sense"}, {"mesh", "makes no sense"},
             {"parent", "makes no sense"}, {"enum", "makes no sense"}, {"bones", "makes no sense"},
             {"weights", "makes no sense"}, {"influences", "makes no sense"}, {"skin", "makes no sense"},
             {"bone", "makes no sense"}, {"shape", "makes no sense"}, {"stored", "cut short"},
             {"twice", "makes no sense"}, {"narrow", "makes no sense"}, {"endless", "makes no sense"},
             {"private", "memory of its own"}, {"picture", "makes no sense"}, {
           "track", "makes no sense"
         }
       }) {
    SCOPED_TRACE(row.format);
    ImportControl control;
    if (std::strstr(row.cause, "for 1 s")) control.patience = std::chrono::seconds(1);
    const QString name = file(row.format);
    const QString error = importFile(name, control).error;
    EXPECT_TRUE(error.startsWith(QStringLiteral("cannot read '%1': ").arg(name))) << error.toStdString();
    EXPECT_TRUE(error.contains(row.cause)) << error.toStdString();
    EXPECT_TRUE(QFile::exists(name));
  }
  for (const char* format : {"behaves", "bends", "dawdles", "brings"}) EXPECT_EQ(importFile(file(format)).error, "");
}

TEST_F(Reading, TellsTheWritersOfReadersWhatMakesNoSense) {
  struct Row {
    const char *format, *what;
  };
  for (const Row& row : {Row{"index", "indices of a mesh name vertices that are not there"},
                         {"normals", "a mesh has an array that is longer or shorter than its vertices need"},
                         {"material", "an index names a mesh, material or the like that is not there"},
                         {"parent", "a parent stands behind its child"},
                         {"weights", "a mesh has other numbers of bones or weights than its vertices need"}}) {
    const test::LogCollector log;
    EXPECT_NE(importFile(file(row.format)).error, "");
    EXPECT_THAT(log.texts(log::Note), Contains(HasSubstr("reader 'hostile': " + std::string(row.what))));
  }
}

TEST_F(Reading, TakesTimeForWhatThereIsToReadOnly) {
  struct Row {
    const char* format;
    qint64 size;
    const char* cause;
  };
  constexpr qint64 Much = 400 << 20;
  for (const Row& row : {Row{"dawdles", 1, "its reader 'hostile' was not done after 1 s"}, Row{"dawdles", Much, ""},
                         Row{"brings", 1, ""}}) {
    SCOPED_TRACE(row.format);
    ImportControl control;
    control.patience = std::chrono::seconds(1);
    const QString name = file(row.format);
    ASSERT_TRUE(QFile::resize(name, row.size));
    const ImportResult result = importFile(name, control);
    EXPECT_TRUE(result.error.contains(row.cause)) << result.error.toStdString();
    EXPECT_EQ(result.error.isEmpty(), !*row.cause);
  }
}

TEST_F(Reading, EndsWhenItIsCancelled) {
  ImportControl control;
  std::thread other([&control] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    control.cancelled = true;
  });
  EXPECT_TRUE(importFile(file("sleeps"), control).error.contains("cancelled"));
  other.join();
}

TEST_F(Reading, EndsInTheProgramWhenItIsCancelled) {
  for (const char* name : {"square.ply", "binary.STL"}) {
    SCOPED_TRACE(name);
    const QString file = QStringLiteral(NUBO_TEST_DATA "/models/") + QString::fromLatin1(name);
    ImportControl control;
    EXPECT_EQ(importFile(file, control).error, QString());
    EXPECT_GE(control.percent, 0);
    control.cancelled = true;
    EXPECT_TRUE(importFile(file, control).error.contains("cancelled"));
  }
}

TEST_F(Reading, ContentCountsMoreThanAName) {
  struct Row {
    const char *suffix, *content, *reader, *format;
  };
  for (const Row& row : std::initializer_list<Row>{{"leaves", "anything", "hostile", "leaves"},
                                                   {"obj", "HOSTILE", "hostile", "writes"},
                                                   {"leaves", "HOSTILE", "hostile", "leaves"},
                                                   {"leaves", "<?xml?>\n<COLLADA>", "assimp", "dae"},
                                                   {"obj", "1234\x01\x02\x03\x04LWO2", "assimp", "lwo"},
                                                   {"unheardof", "anything", "", ""}}) {
    SCOPED_TRACE(row.content);
    const ReaderChoice choice = chooseReader(readerTable(), row.suffix, row.content);
    EXPECT_EQ(choice.reader ? choice.reader->name : QString(), row.reader);
    EXPECT_EQ(choice.format, row.format);
  }
}

TEST_F(Reading, DescriptionsThatMakeNoSenseAreLeftOut) {
  write(m_Folder.filePath("text.json"), "no JSON");
  write(m_Folder.filePath("lost.json"), R"({"library": "lost.so", "formats": [{"suffixes": ["a"]}]})");
  write(m_Folder.filePath("bare.json"), R"({"library": "bare.json", "formats": [{"suffixes": []}]})");
  write(m_Folder.filePath("good.json"), R"({"library": "good.json", "formats": [{"suffixes": ["A"]}]})");
  const test::LogCollector log;
  const std::vector<ReaderEntry> readers = readReaderTable({m_Folder.path()});
  ASSERT_EQ(readers.size(), 1u);
  EXPECT_EQ(readers[0].formats[0].suffixes, QStringList("a"));
  const auto left = [this](const char* name, const char* why) {
    const QString begin = QStringLiteral("%1 describes no reader that is there: ").arg(m_Folder.filePath(name));
    return AllOf(StartsWith(begin.toStdString()), HasSubstr(why));
  };
  EXPECT_THAT(log.texts(log::Failure),
              ElementsAre(left("bare.json", "none of its \"formats\" has \"suffixes\""),
                          left("lost.json", "/lost.so', its \"library\""), left("text.json", " at byte ")));
}

}  // namespace
}  // namespace nubo::io
