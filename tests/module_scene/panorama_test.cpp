#include "module_scene/io/panorama.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QImage>
#include <QTemporaryDir>

namespace nubo::io {
namespace {

using scene::Light;

Panorama read(const QByteArray& bytes, QString& error) {
  const QTemporaryDir directory;
  QFile file(directory.filePath("panorama"));
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) ADD_FAILURE();
  file.close();
  return readPanorama(file.fileName(), error);
}

/// A row of 8 pixels: red and the exponent as runs of one value, green counted up, blue none.
const QByteArray Encoded = QByteArray("\2\2\0\10", 4) + QByteArray("\x88\x80", 2) +
                           QByteArray("\10\0\20\40\60\100\120\140\160", 9) + QByteArray("\x88\0", 2) +
                           QByteArray("\x84\x81\x84\x80", 4);

TEST(Panorama, ReadsLightInEncodedAndPlainRows) {
  QString error;
  const Panorama encoded = read("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 8\n" + Encoded, error);
  ASSERT_EQ(encoded.light.size(), 8u) << error.toStdString();
  EXPECT_EQ(encoded.light[1], (Light{1.0f, 0.125f, 0.0f}));
  EXPECT_EQ(encoded.light[7], (Light{0.5f, 0.4375f, 0.0f}));
  const Panorama plain = read("#?RADIANCE\n\n-Y 2 +X 1\n" + QByteArray("\x80\x40\0\x82\0\0\0\0", 8), error);
  EXPECT_THAT(plain.light, ::testing::ElementsAre(Light{2, 1, 0}, Light{0, 0, 0}));
}

TEST(Panorama, TellsWhatIsWrong) {
  QString error;
  for (const QByteArray& bytes :
       {QByteArray("#?RADIANCE\n\n-Y 1 +X 8\n") + Encoded.left(20), QByteArray("#?RADIANCE\n\n-Y 1 +X 99999999\n"),
        QByteArray("#?RADIANCE\n\n"), QByteArray("no picture"), QByteArray()}) {
    error.clear();
    EXPECT_TRUE(read(bytes, error).light.empty()) << bytes.constData();
    EXPECT_FALSE(error.isEmpty()) << bytes.constData();
  }
}

TEST(Panorama, ItsMiddleLiesAwayFromTheEyeAndItsTopUp) {
  struct Row {
    const char* name;
    int x, y;
    scene::Direction towards;
  };
  for (const Row& row : {Row{"away", 32, 16, {0, 1, 0}},
                         {"right", 48, 16, {1, 0, 0}},
                         {"left", 16, 16, {-1, 0, 0}},
                         {"up", 32, 0, {0, 0, 1}},
                         {"down", 32, 31, {0, 0, -1}}}) {
    Panorama panorama{64, 32, std::vector<Light>(2048, Light{0, 0, 0})};
    for (int y = std::max(0, row.y - 4); y < std::min(32, row.y + 4); ++y)
      std::fill_n(panorama.light.begin() + 64 * y + row.x - 4, 8, Light{9, 9, 9});
    const auto q = toEnvironment(panorama)->irradiance();
    const auto falling = [&q](const scene::Direction& n) {
      return q[0][0] + n[0] * q[1][0] + n[1] * q[2][0] + n[2] * q[3][0] + n[0] * n[0] * q[4][0] +
             n[1] * n[1] * q[5][0] + n[2] * n[2] * q[6][0] + n[0] * n[1] * q[7][0] + n[1] * n[2] * q[8][0] +
             n[2] * n[0] * q[9][0];
    };
    for (const scene::Direction& other :
         {scene::Direction{0, 1, 0}, {1, 0, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}})
      if (other != row.towards) {
        EXPECT_GT(falling(row.towards), falling(other)) << row.name;
      }
  }
}

TEST(Panorama, OrdinaryPicturesAreOfShownColours) {
  const QTemporaryDir directory;
  QImage image(4, 2, QImage::Format_RGB32);
  image.fill(QColor(255, 188, 0));
  ASSERT_TRUE(image.save(directory.filePath("panorama.png")));
  QString error;
  const Panorama panorama = readPanorama(directory.filePath("panorama.png"), error);
  ASSERT_EQ(panorama.light.size(), 8u) << error.toStdString();
  EXPECT_FLOAT_EQ(panorama.light[3][0], 1);
  EXPECT_NEAR(panorama.light[3][1], 0.5f, 0.005f) << "188 of 255 is half the light";
}

}  // namespace
}  // namespace nubo::io
