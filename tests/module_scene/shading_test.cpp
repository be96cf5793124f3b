#include "looksfixture.h"

namespace nubo::scene {
namespace {

// A wavy sheet, and a flat one with a texture of the waves' normals.
TEST_F(LooksTest, ReliefLooksLikeTheShapeThatItStandsFor) {
  constexpr int Size = 256;
  constexpr double Height = 0.03, Waves = 4 * M_PI;
  const auto slopes = [&](double u, double v) {
    return std::array<double, 2>{Height * Waves / 2 * std::cos(Waves * u), Height * Waves * std::cos(2 * Waves * v)};
  };
  const auto normalAt = [&](double u, double v) {
    const auto [x, y] = slopes(u, v);
    const double length = std::sqrt(x * x + y * y + 1);
    return math::Vector3{-x / length, -y / length, 1 / length};
  };
  QImage normals(Size, Size, QImage::Format_RGB32);
  for (int row = 0; row < Size; ++row)
    for (int column = 0; column < Size; ++column) {
      const math::Vector3 n = normalAt((column + 0.5) / Size, 1 - (row + 0.5) / Size);
      const auto byte = [](double value) { return int(std::lround(128 + 127 * value)); };
      normals.setPixel(column, row, qRgb(byte(n[0]), byte(n[1]), byte(n[2])));
    }
  struct Row {
    const char* name;
    std::array<float, 6> transform;
    double turn;
  };
  const Row rows[] = {{"as it is", {1, 0, 0, 0, 1, 0}, 0}, {"seen from behind", {1, 0, 0, 0, 1, 0}, M_PI}};
  for (const Row& row : rows) {
    const auto material = [&](bool relief) {
      return physical([&](PhysicalMaterial& m) {
        m.baseColor = {0.7f, 0.7f, 0.7f, 1};
        m.roughness = 0.6f;
        if (relief) m.normalTexture = {new Texture(normals), 0, row.transform};
      });
    };
    const GeometryPointer flat = MeshBuilder(material(true)).picture({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}).finish();
    const GeometryPointer wavy =
        MeshBuilder(material(false))
            .sheet(
                256,
                [&](double u, double v) {
                  return math::Vector3{2 * u - 1, 2 * v - 1, Height * (std::sin(Waves * u) + std::sin(2 * Waves * v))};
                })
            .finish();
    std::array<QImage, 3> images;
    const GeometryPointer bare = MeshBuilder(material(false)).picture({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}).finish();
    for (std::size_t i = 0; i < 3; ++i) {
      const Element root = element({i == 0 ? wavy : i == 1 ? flat : bare});
      root->setTransform(math::rotation(M_PI / 2, {1, 0, 0}) * math::rotation(row.turn, {0, 1, 0}));
      images[i] = draw(shotFromFront(root));
    }
    const auto meanDifference = [&](const QImage& a, const QImage& b) {
      double sum = 0;
      int count = 0;
      for (int y = 64; y < 192; ++y)
        for (int x = 64; x < 192; ++x, ++count) sum += std::abs(qRed(a.pixel(x, y)) - qRed(b.pixel(x, y)));
      return sum / count / 255;
    };
    EXPECT_LT(meanDifference(images[0], images[1]), 0.03) << row.name;
    EXPECT_GT(meanDifference(images[0], images[2]), 0.06) << row.name << ": without relief all would be the same";
  }
}

// Small faces are lit at their corners, large ones in each pixel.
TEST_F(LooksTest, APlaneIsLitTheSameHoweverSmallItsFacesAre) {
  const MaterialPointer metal = physical([](PhysicalMaterial& m) {
    m.metallic = 1;
    m.roughness = 0.4f;
  });
  const auto plane = [&](int steps) {
    return draw(shotFromFront(element({MeshBuilder(metal)
                                           .sheet(steps,
                                                  [](double u, double v) {
                                                    return math::Vector3{2 * u - 1, 0, 2 * v - 1};
                                                  })
                                           .finish()})));
  };
  const test::Difference difference = compare(plane(1), plane(200));
  EXPECT_GT(difference.covered, 10000);
  EXPECT_LE(difference.greatest, 3) << difference;
}

TEST_F(LooksTest, PartsOfAFewPixelsAreNoDarkerAtTheirEdges) {
  MeshBuilder parts(nullptr);
  for (int i = 0; i < 400; ++i) {
    const int column = i % 20, row = i / 20;
    parts.sphere({0.1 * column - 0.95, 0.03 * std::sin(i), 0.1 * row - 0.95}, 0.035 + 1e-4 * (i % 7), 24, 12);
  }
  Shot shot = shotFromFront(element({parts.finish()}));
  shot.samples = 4;
  const QImage picture = draw(shot);
  int darkest = 255;
  for (int y = 0; y < shot.height; ++y)
    for (int x = 0; x < shot.width; ++x)
      if (const QRgb pixel = picture.pixel(x, y); qAlpha(pixel) > 0) darkest = std::min(darkest, qRed(pixel));
  EXPECT_GE(darkest, 40) << "as it is anywhere on the default material";
}

}  // namespace
}  // namespace nubo::scene
