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
#include <QTemporaryFile>
#include <QtEndian>
#include <array>
#include <atomic>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>

#include "support/limit.h"

namespace {

// Coloured shapes with some noise between two edges of ground, made in the widest format.
QImage picture(int width, int height, QImage::Format format = QImage::Format_ARGB32) {
  QImage image(width, height, QImage::Format_RGBA64);
  std::minstd_rand random(7);
  for (int y = 0; y < height; ++y) {
    auto* line = reinterpret_cast<QRgba64*>(image.scanLine(y));
    for (int x = 0; x < width; ++x) {
      const bool isGround = x < 150 || (x >= width - 140 && y % 40 != 7) || (x / 50 + y / 30) % 3 == 0;
      const bool isStriped = x >= width - 140 && x < width - 70;
      const auto noise = quint16(y % 7 == 0 ? random() % 4096 : 0);
      line[x] = isGround ? qRgba64(quint16(isStriped ? x * 211 : 0), quint16(y / 30 % 2 * 9000), 0, 0)
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

using Options = std::map<QImageIOHandler::ImageOption, QVariant>;

QByteArray written(const QImage& image, const Options& options = {}) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  const auto handler = makeHandler(&buffer);
  for (const auto& [option, value] : options) handler->setOption(option, value);
  EXPECT_TRUE(handler->write(image));
  return buffer.data();
}

QImage readBack(const QByteArray& bytes) { return QImage::fromData(bytes, "png"); }

void expectSameAsQt(const QImage& image) {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  ASSERT_TRUE(QImageWriter(&buffer, "png").write(image));
  const QByteArray bytes = written(image);
  EXPECT_NE(bytes, buffer.data()) << "both are from the same writer";
  const QImage ours = readBack(bytes), qts = readBack(buffer.data());
  ASSERT_FALSE(qts.isNull());
  EXPECT_EQ(ours.format(), qts.format());
  EXPECT_EQ(ours, qts);
  EXPECT_EQ(ours.colorTable(), qts.colorTable());
  EXPECT_EQ(ours.offset(), qts.offset());
  EXPECT_EQ(ours.colorSpace(), qts.colorSpace());
  EXPECT_EQ(ours.dotsPerMeterX(), qts.dotsPerMeterX());
  EXPECT_EQ(ours.dotsPerMeterY(), qts.dotsPerMeterY());
  EXPECT_EQ(ours.textKeys(), qts.textKeys());
  for (const QString& key : qts.textKeys()) EXPECT_EQ(ours.text(key), qts.text(key)) << key.toStdString();
}

TEST(PngWriter, EveryFormatAndShapeReadsBackAsFromQtsWriter) {
  for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format) {
    SCOPED_TRACE(format);
    expectSameAsQt(picture(333, 97, QImage::Format(format)));
  }
  for (const QSize size : {QSize(1, 1), {1, 5000}, {3, 5000}, {5000, 1}, {2, 2}, {1500, 1100}, {300001, 5}})
    for (const auto format : {QImage::Format_ARGB32, QImage::Format_RGBA64, QImage::Format_Mono}) {
      SCOPED_TRACE(::testing::Message() << size.width() << "x" << size.height() << " format " << format);
      expectSameAsQt(picture(size.width(), size.height(), format));
    }
  QVector<QRgb> grays;
  for (int i = 0; i < 256; ++i) grays.append(qRgb(i, i, i));
  QImage palette = picture(100, 100).convertToFormat(QImage::Format_Indexed8);
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 100; ++x) palette.setPixel(x, y, uint(x + y) % 3);
  for (const QVector<QRgb>& colours : {QVector<QRgb>{qRgb(1, 2, 3), qRgba(4, 5, 6, 7), qRgb(255, 0, 0)}, grays}) {
    palette.setColorTable(colours);
    expectSameAsQt(palette);
  }
  QImage mono = picture(77, 33, QImage::Format_MonoLSB);
  mono.setColorTable({qRgb(200, 100, 0), qRgba(0, 0, 0, 0)});
  expectSameAsQt(mono);
}

// Flat, random and mixed data make all kinds of deflate blocks, and ends at every bit of a byte.
TEST(PngWriter, SegmentsJoinAtEveryCompression) {
  QImage flat(1000, 1500, QImage::Format_RGB32), random = flat.copy();
  flat.fill(Qt::blue);
  std::minstd_rand generator(3);
  std::generate_n(random.bits(), random.sizeInBytes(), [&] { return uchar(generator() >> 8); });
  std::vector<int> sizes;
  for (const QImage& image : {flat, random.convertToFormat(QImage::Format_RGB888), picture(999, 1701)}) {
    sizes.clear();
    for (const int quality : {100, 90, 80, 60, 40, 20, 0, -1}) {
      SCOPED_TRACE(quality);
      const QByteArray bytes = written(image, {{QImageIOHandler::Quality, quality}});
      const QImage back = readBack(bytes);
      EXPECT_EQ(back, image.convertToFormat(back.format()));
      sizes.push_back(bytes.size());
    }
  }
  EXPECT_LT(sizes[6], sizes[1]) << "quality 0 is small, 90 is fast";
}

TEST(PngWriter, KeepsWhatStandsBesideThePixels) {
  QImage image = picture(40, 30);
  image.setDotsPerMeterX(11811);
  image.setDotsPerMeterY(5906);
  image.setOffset({-7, 12});
  image.setColorSpace(QColorSpace::AdobeRgb);
  const QString longText = QStringLiteral("grown of many words ").repeated(20).trimmed();
  for (const auto& [key, text] : std::map<QString, QString>{{"Title", "line\nand another"},
                                                            {"Unicode", QString::fromUtf8("Zo\u00eb \u2192 \u03c0")},
                                                            {"Long", longText},
                                                            {"LongUnicode", longText + QChar(0x3c0)},
                                                            {"Latin", QString::fromUtf8("caf\u00e9")},
                                                            {"two  words ", "x"}})
    image.setText(key, text);
  expectSameAsQt(image);

  const QByteArray bytes = written(image, {{QImageIOHandler::Description, "Author: nobody\n\nwhat it shows"}});
  EXPECT_EQ(readBack(bytes).text("Author"), "nobody");
  EXPECT_EQ(readBack(bytes).text("Description"), "what it shows");
  EXPECT_TRUE(written(picture(20, 20), {{QImageIOHandler::Gamma, 2.2f}})
                  .contains(QByteArray::fromHex("00000004") + "gAMA" + QByteArray::fromHex("0000b18f")));
}

TEST(PngWriter, ReportsWhatCouldNotBeWritten) {
  const QImage image = picture(1500, 1500);
  const qint64 size = written(image).size();
  for (const qint64 room : {qint64(0), qint64(100), size / 2, size - 1, size}) {
    SCOPED_TRACE(room);
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    const nubo::test::Limit limit(RLIMIT_FSIZE, rlim_t(room));
    EXPECT_EQ(makeHandler(&file)->write(image), room >= size);
  }
  QBuffer buffer;
  EXPECT_FALSE(makeHandler(&buffer)->write(image)) << "to a closed device";
  EXPECT_FALSE(makeHandler(nullptr)->write(image));
  buffer.open(QIODevice::WriteOnly);
  EXPECT_FALSE(makeHandler(&buffer)->write(QImage()));
  QImage colorless(8, 8, QImage::Format_Mono);
  colorless.setColorCount(0);
  EXPECT_FALSE(makeHandler(&buffer)->write(colorless));
}

std::vector<QByteArray> pixelChunks(const QByteArray& file) {
  std::vector<QByteArray> chunks;
  for (int at = 8, size = 0; at < file.size(); at += 12 + size) {
    size = int(qFromBigEndian<quint32>(file.constData() + at));
    if (file.mid(at + 4, 4) == "IDAT") chunks.push_back(file.mid(at + 8, size));
  }
  return chunks;
}

TEST(PngWriter, WhatBecomesOfRowsDependsOnNothingButThem) {
  // Of two kinds of rows, so that all segments but the first and the last are the same. Below a smooth row, filtered in
  // a way of its own, a row of noise takes any filter: what a thread did before would decide.
  QImage image(1200, 6000, QImage::Format_ARGB32);
  std::minstd_rand generator(5);
  std::vector<QRgb> noise(1200), smooth;
  std::generate(noise.begin(), noise.end(), [&] { return QRgb(generator() << 1); });
  for (QRgb x = 0; x < 1200; ++x) smooth.push_back(0x01010101 * (x & 0x7f));
  for (int y = 0; y < image.height(); ++y)
    std::memcpy(image.scanLine(y), (y % 2 ? smooth : noise).data(), noise.size() * sizeof(QRgb));
  const QByteArray first = written(image);
  const auto chunks = pixelChunks(first);
  ASSERT_GT(chunks.size(), 20u);
  for (std::size_t i = 2; i + 1 < chunks.size(); ++i) EXPECT_TRUE(chunks[i] == chunks[1]) << i;

  std::array<std::thread, 6> threads;
  std::atomic<int> same{0};
  for (std::thread& thread : threads) thread = std::thread([&] { same += written(image) == first; });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(same, 6);
}

}  // namespace
