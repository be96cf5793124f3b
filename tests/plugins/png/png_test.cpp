// The PNG writer beside Qt's own: what is read back must be the same, whoever wrote it.
#include <gmock/gmock.h>

#include <QBuffer>
#include <QColorSpace>
#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QImageIOHandler>
#include <QImageIOPlugin>
#include <QImageWriter>
#include <QPluginLoader>
#include <atomic>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>

namespace {

// A device with room for so many bytes, as a disk has.
class SmallDevice : public QIODevice {
 public:
  explicit SmallDevice(qint64 room) : m_room(room) { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

 protected:
  qint64 readData(char*, qint64) override { return -1; }
  qint64 writeData(const char*, qint64 size) override {
    if (size > m_room) {
      setErrorString(QStringLiteral("full"));
      return -1;
    }
    m_room -= size;
    return size;
  }

 private:
  qint64 m_room;
};

// Coloured shapes on an empty ground with some noise, made in the widest format.
QImage picture(int width, int height, QImage::Format format = QImage::Format_ARGB32) {
  QImage image(width, height, QImage::Format_RGBA64);
  std::minstd_rand random(7);
  for (int y = 0; y < height; ++y) {
    auto* line = reinterpret_cast<QRgba64*>(image.scanLine(y));
    for (int x = 0; x < width; ++x) {
      const bool isGround = (x / 50 + y / 30) % 3 == 0;
      const auto noise = quint16(y % 7 == 0 ? random() % 4096 : 0);
      line[x] = isGround ? qRgba64(0, 0, 0, 0)
                         : qRgba64(quint16(x * 211 + noise), quint16(y * 307), quint16((x ^ y) * 97 + noise),
                                   quint16(x % 11 == 0 ? x * 523 : 65535));
    }
  }
  return image.convertToFormat(format);
}

QString pluginFolder() { return QStringLiteral(NUBO_TEST_BIN_DIR "/plugins"); }

// Hides the plug-in from Qt before Qt looks for any, so that Qt's own writer can be had beside it.
class WithoutPlugins : public ::testing::Environment {
 public:
  void SetUp() override { QCoreApplication::removeLibraryPath(pluginFolder()); }
};
const auto* const withoutPlugins = ::testing::AddGlobalTestEnvironment(new WithoutPlugins);

std::unique_ptr<QImageIOHandler> makeHandler(QIODevice* device) {
  static QPluginLoader loader(pluginFolder() + QStringLiteral("/imageformats/libpng_writer"));
  auto* plugin = qobject_cast<QImageIOPlugin*>(loader.instance());
  if (!plugin) throw std::runtime_error(loader.errorString().toStdString());
  return std::unique_ptr<QImageIOHandler>(plugin->create(device, "png"));
}

QByteArray written(const QImage& image, int quality = -1) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  const auto handler = makeHandler(&buffer);
  handler->setOption(QImageIOHandler::Quality, quality);
  EXPECT_TRUE(handler->write(image));
  return buffer.data();
}

QByteArray writtenByQt(const QImage& image) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  EXPECT_TRUE(QImageWriter(&buffer, "png").write(image));
  return buffer.data();
}

QImage readBack(const QByteArray& bytes) { return QImage::fromData(bytes, "png"); }

void expectSameAsQt(const QImage& image) {
  const QByteArray bytes = written(image), qtBytes = writtenByQt(image);
  EXPECT_NE(bytes, qtBytes) << "both are from the same writer";
  const QImage ours = readBack(bytes), qts = readBack(qtBytes);
  ASSERT_FALSE(qts.isNull());
  EXPECT_EQ(ours.format(), qts.format());
  EXPECT_EQ(ours, qts);
  EXPECT_EQ(ours.colorTable(), qts.colorTable());
}

TEST(PngWriter, EveryFormatReadsBackAsFromQtsWriter) {
  for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format) {
    SCOPED_TRACE(format);
    expectSameAsQt(picture(333, 97, QImage::Format(format)));
  }
  QImage palette = picture(100, 100).convertToFormat(QImage::Format_Indexed8);
  palette.setColorTable({qRgb(1, 2, 3), qRgba(4, 5, 6, 7), qRgb(255, 0, 0)});
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 100; ++x) palette.setPixel(x, y, uint(x + y) % 3);
  expectSameAsQt(palette);
  QVector<QRgb> grays;
  for (int i = 0; i < 256; ++i) grays.append(qRgb(i, i, i));
  palette.setColorTable(grays);
  expectSameAsQt(palette);
  QImage mono = picture(77, 33, QImage::Format_MonoLSB);
  mono.setColorTable({qRgb(200, 100, 0), qRgba(0, 0, 0, 0)});
  expectSameAsQt(mono);
}

TEST(PngWriter, AnyShapeReadsBack) {
  const QSize sizes[] = {{1, 1}, {1, 5000}, {3, 5000}, {5000, 1}, {2, 2}, {1500, 1100}, {300001, 5}};
  for (const QSize& size : sizes)
    for (const auto format :
         {QImage::Format_ARGB32, QImage::Format_RGB888, QImage::Format_RGBA64, QImage::Format_Mono}) {
      SCOPED_TRACE(::testing::Message() << size.width() << "x" << size.height() << " format " << format);
      expectSameAsQt(picture(size.width(), size.height(), format));
    }
}

// Flat, random and mixed data make all kinds of deflate blocks, and ends at every bit of a byte.
TEST(PngWriter, SegmentsJoinAtEveryCompression) {
  QImage flat(1000, 1500, QImage::Format_RGB32), random = flat.copy();
  flat.fill(Qt::blue);
  std::minstd_rand generator(3);
  std::generate_n(random.bits(), random.sizeInBytes(), [&] { return uchar(generator() >> 8); });
  const QImage opaque = random.convertToFormat(QImage::Format_RGB888);
  for (const int quality : {-1, 0, 20, 40, 60, 80, 90, 100}) {
    SCOPED_TRACE(quality);
    for (const QImage& image : {flat, opaque, picture(999, 1701)}) {
      const QImage back = readBack(written(image, quality));
      EXPECT_EQ(back, image.convertToFormat(back.format()));
    }
  }
  EXPECT_LT(written(picture(999, 1701), 0).size(), written(picture(999, 1701), 90).size());
}

TEST(PngWriter, KeepsWhatStandsBesideThePixels) {
  QImage image = picture(40, 30);
  image.setDotsPerMeterX(11811);
  image.setDotsPerMeterY(5906);
  image.setOffset({-7, 12});
  image.setColorSpace(QColorSpace::AdobeRgb);
  const QString longText = QStringLiteral("grown of many words ").repeated(20).trimmed();
  image.setText(QStringLiteral("Title"), QStringLiteral("line\nand another"));
  image.setText(QStringLiteral("Unicode"), QString::fromUtf8("Zo\u00eb \u2192 \u03c0"));
  image.setText(QStringLiteral("Long"), longText);
  image.setText(QStringLiteral("LongUnicode"), longText + QChar(0x3c0));
  image.setText(QStringLiteral("Latin"), QString::fromUtf8("caf\u00e9"));
  image.setText(QStringLiteral("two  words "), QStringLiteral("x"));

  QBuffer ourBuffer, qtBuffer;
  ourBuffer.open(QIODevice::WriteOnly);
  qtBuffer.open(QIODevice::WriteOnly);
  const auto handler = makeHandler(&ourBuffer);
  handler->setOption(QImageIOHandler::Description, QStringLiteral("Author: nobody\n\nwhat it shows"));
  ASSERT_TRUE(handler->write(image));
  QImageWriter qtWriter(&qtBuffer, "png");
  qtWriter.setText(QStringLiteral("Author"), QStringLiteral("nobody"));
  qtWriter.setText(QStringLiteral("Description"), QStringLiteral("what it shows"));
  ASSERT_TRUE(qtWriter.write(image));
  const QImage ours = readBack(ourBuffer.data()), qts = readBack(qtBuffer.data());

  EXPECT_EQ(ours.dotsPerMeterX(), 11811);
  EXPECT_EQ(ours.dotsPerMeterY(), 5906);
  EXPECT_EQ(ours.offset(), QPoint(-7, 12));
  EXPECT_EQ(ours.colorSpace(), qts.colorSpace());
  EXPECT_TRUE(ours.colorSpace().isValid());
  EXPECT_EQ(ours.text(QStringLiteral("LongUnicode")), longText + QChar(0x3c0));
  EXPECT_EQ(ours.text(QStringLiteral("Author")), QStringLiteral("nobody"));
  EXPECT_EQ(ours.textKeys(), qts.textKeys());
  for (const QString& key : qts.textKeys()) EXPECT_EQ(ours.text(key), qts.text(key)) << key.toStdString();
}

TEST(PngWriter, WritesTheGammaThatIsAskedFor) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  const auto handler = makeHandler(&buffer);
  handler->setOption(QImageIOHandler::Gamma, 2.2f);
  ASSERT_TRUE(handler->write(picture(20, 20)));
  EXPECT_TRUE(buffer.data().contains(QByteArray::fromHex("00000004") + "gAMA" + QByteArray::fromHex("0000b18f")));
}

TEST(PngWriter, ReportsWhatCouldNotBeWritten) {
  const QImage image = picture(1500, 1500);
  const qint64 size = written(image).size();
  for (const qint64 room : {qint64(0), qint64(20), qint64(100), size / 2, size - 1, size}) {
    SCOPED_TRACE(room);
    SmallDevice device(room);
    EXPECT_EQ(makeHandler(&device)->write(image), room >= size);
    EXPECT_EQ(device.errorString() == QStringLiteral("full"), room < size);
  }
  QBuffer buffer;
  EXPECT_FALSE(makeHandler(&buffer)->write(image)) << "to a closed device";
  EXPECT_FALSE(makeHandler(nullptr)->write(image));
  buffer.open(QIODevice::WriteOnly);
  EXPECT_FALSE(makeHandler(&buffer)->write(QImage()));
  QImage colorless(8, 8, QImage::Format_Mono);
  colorless.setColorCount(0);
  EXPECT_FALSE(makeHandler(&buffer)->write(colorless));

  QFile full(QStringLiteral("/dev/full"));
  if (!full.open(QIODevice::WriteOnly)) return;
  for (const QImage& any : {picture(10, 10), image}) EXPECT_FALSE(makeHandler(&full)->write(any));
  EXPECT_NE(full.error(), QFileDevice::NoError);
}

TEST(PngWriter, SeveralMayWriteAtOnce) {
  const QImage image = picture(1200, 900);
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  for (int i = 0; i < 6; ++i)
    threads.emplace_back([&] {
      if (readBack(written(image)) == image) ++good;
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, 6);
}

}  // namespace
