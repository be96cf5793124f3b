// Which PNG writer Qt takes when the plug-in lies among the application's.
#include <gmock/gmock.h>

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryDir>

namespace {

// Qt's own writer cuts its data into pieces of 8 KiB, the plug-in into pieces of 1 MiB.
void expectFromPlugin(const QByteArray& bytes) {
  EXPECT_GT(bytes.size(), 100000);
  EXPECT_EQ(bytes.count("IDAT"), 1);
}

TEST(PngChoice, IsThePluginForWritingAndQtForReading) {
  QImage image(300, 200, QImage::Format_RGB32);
  image.fill(Qt::darkCyan);
  QTemporaryDir folder;
  const QString path = folder.filePath(QStringLiteral("a.png"));
  ASSERT_TRUE(image.save(path, nullptr, 100));
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  expectFromPlugin(file.readAll());

  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  ASSERT_TRUE(image.save(&buffer, "PNG", 100));
  expectFromPlugin(buffer.data());

  EXPECT_EQ(QImageReader(path).read(), image);
}

TEST(PngChoice, LeavesTheListsOfFormatsAsTheyWere) {
  const QList<QByteArray> formats = QImageWriter::supportedImageFormats();
  EXPECT_EQ(formats.count("png"), 1);
  EXPECT_TRUE(std::is_sorted(formats.begin(), formats.end()));
  EXPECT_EQ(QImageReader::supportedImageFormats().count("png"), 1);
}

TEST(PngChoice, SavingToAFullDiskFails) {
  if (!QFile::exists(QStringLiteral("/dev/full"))) GTEST_SKIP();
  QTemporaryDir folder;
  const QString path = folder.filePath(QStringLiteral("a.png"));
  ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), path));
  EXPECT_FALSE(QImage(10, 10, QImage::Format_RGB32).save(path));
}

}  // namespace
