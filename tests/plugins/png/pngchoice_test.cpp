// Which PNG writer Qt takes when the plug-in lies among the application's.
#include <gmock/gmock.h>

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryDir>

namespace {

TEST(PngChoice, IsThePluginForWritingAndQtForReading) {
  QImage image(300, 200, QImage::Format_RGB32);
  image.fill(Qt::darkCyan);
  QTemporaryDir folder;
  QFile file(folder.filePath(QStringLiteral("a.png")));
  ASSERT_TRUE(image.save(file.fileName(), nullptr, 100));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QByteArray bytes = file.readAll();
  // Qt's own writer cuts its data into pieces of 8 KiB, the plug-in into pieces of 1 MiB.
  EXPECT_GT(bytes.size(), 100000);
  EXPECT_EQ(bytes.count("IDAT"), 1);
  EXPECT_EQ(QImageReader(file.fileName()).read(), image);

  const QList<QByteArray> formats = QImageWriter::supportedImageFormats();
  EXPECT_EQ(formats.count("png"), 1);
  EXPECT_TRUE(std::is_sorted(formats.begin(), formats.end()));
}

}  // namespace
