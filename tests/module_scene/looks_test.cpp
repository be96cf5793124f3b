#include <QOpenGLFunctions>
#include <random>

#include "looksfixture.h"
#include "module_scene/mesh/preparation.h"
#include "support/quad.h"

namespace nubo::scene {
namespace {
TEST_F(LooksTest, FacesOfABoxDifferWhereverOneLooksFrom) {
  std::vector<gui::Camera> cameras;
  for (const QString& name : gui::Camera::viewNames()) {
    cameras.emplace_back();
    ASSERT_TRUE(cameras.back().setView(name));
  }
  std::mt19937 random(7);
  for (int i = 0; i < 100; ++i) {
    cameras.emplace_back();
    cameras.back().azimuth = random() % 36000 / 100.0;
    cameras.back().elevation = random() % 18000 / 100.0 - 90;
  }
  for (const Look look : {Look::Studio, Look::Clay})
    for (const gui::Camera& camera : cameras) {
      Shot shot;
      shot.root = element({MeshBuilder(nullptr).box({-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5}).finish()});
      shot.transform = camera.transform();
      shot.look = look;
      const QImage image = draw(shot);
      const math::Vector3 eye = math::transformPoint(math::affineInverse(shot.transform), {0, 0, 0});
      std::vector<int> levels;
      for (int face = 0; face < 6; ++face) {
        constexpr double Outside = 0.52;  // a face that is seen from closer to its plane is a line of few pixels
        const double side = face % 2 ? 1 : -1;
        if (side * eye[std::size_t(face / 2)] < Outside) continue;
        math::Vector3 middle{};
        middle[std::size_t(face / 2)] = side / 2;
        levels.push_back(qRed(image.pixel(pixelOf(shot, middle))));
      }
      SCOPED_TRACE(::testing::Message() << nameOf(look).toStdString() << " from " << camera.azimuth << ", "
                                        << camera.elevation << ": " << ::testing::PrintToString(levels));
      EXPECT_THAT(levels, ::testing::Each(::testing::AllOf(::testing::Ge(40), ::testing::Le(245))));
      std::sort(levels.begin(), levels.end());
      for (std::size_t i = 1; i < levels.size(); ++i) EXPECT_GE(levels[i] - levels[i - 1], 25);
    }
}

TEST_F(LooksTest, AWhiteSphereDisappearsInAWhiteEnvironment) {
  const util::YPointer<Environment> white(new Environment([](const Direction&) { return Light{1, 1, 1}; }));
  for (const float metallic : {0.0f, 1.0f})
    for (const float roughness : {0.0f, 0.2f, 0.5f, 0.8f, 1.0f}) {
      Shot shot = shotFromFront(element({MeshBuilder(physical([&](PhysicalMaterial& m) {
                                           m.metallic = metallic;
                                           m.roughness = roughness;
                                         }))
                                             .sphere({0, 0, 0}, 1)
                                             .finish()}));
      shot.environment = white;
      const QImage image = draw(shot);
      float least = 1;
      for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
          if (qAlpha(image.pixel(x, y)) > 0) least = std::min(least, bytesToLight(image.pixel(x, y))[1]);
      EXPECT_GE(least, metallic > 0 ? 0.97f : 0.98f) << "metallic " << metallic << ", roughness " << roughness;
    }
}

// Whatever the eye's azimuth: the environment turns with it.
TEST_F(LooksTest, SurfacesMirrorAndGatherTheLightWhereItComesFrom) {
  const util::YPointer<Environment> lights(new Environment([](const Direction& d) {
    return Light{0.5f + 0.4f * d[0], 0.5f + 0.4f * d[1], 0.5f + 0.4f * d[2]};
  }));
  struct Row {
    const char* name;
    double elevation;
    math::Vector3 normal;  // as the environment has it: right, away, up
  };
  const double half = std::sqrt(0.5);
  const Row rows[] = {
      {"middle", 0, {0, -1, 0}},
      {"right", 0, {half, -half, 0}},
      {"left", 0, {-half, -half, 0}},
      {"up", 0, {0, -half, half}},
      {"down", 0, {0, -half, -half}},
      {"up, from above", 45, {0, 0, 1}},
      {"middle, from straight above", 90, {0, 0, 1}},
      {"away, from straight above", 90, {0, half, half}},
      {"away, from straight below", -90, {0, half, -half}},
  };
  const auto ball = [](float metallic, float roughness) {
    return MeshBuilder(physical([&](PhysicalMaterial& m) {
             m.metallic = metallic;
             m.roughness = roughness;
           }))
        .sphere({0, 0, 0}, 1)
        .finish();
  };
  const Element mirror = element({ball(1, 0)}), matte = element({ball(0, 1)});
  for (const Row& row : rows)
    for (const double azimuth : {0.0, 130.0}) {
      gui::Camera camera;
      camera.azimuth = azimuth;
      camera.elevation = row.elevation;
      Shot shot;
      shot.transform = camera.transform();
      shot.look = Look::Studio;
      shot.environment = lights;
      const math::Matrix4 turn = math::rotation(azimuth * M_PI / 180, {0, 0, 1});
      const math::Vector3 point = math::transformPoint(turn, row.normal);
      const math::Vector3 eye = math::transformPoint(math::affineInverse(shot.transform * turn), {0, 0, 0});
      math::Vector3 reflected{};
      double along = 0, length = 0;
      for (std::size_t i = 0; i < 3; ++i) along += (eye[i] - row.normal[i]) * row.normal[i];
      for (std::size_t i = 0; i < 3; ++i) reflected[i] = 2 * along * row.normal[i] - (eye[i] - row.normal[i]);
      for (const double value : reflected) length = std::hypot(length, value);
      for (const bool isMirror : {true, false}) {
        shot.root = isMirror ? mirror : matte;
        const Light seen = bytesToLight(draw(shot).pixel(pixelOf(shot, point)));
        // Of light that changes so slowly a matte surface gathers two thirds of the change.
        for (std::size_t c = 0; c < 3; ++c)
          EXPECT_NEAR(seen[c], 0.5 + (isMirror ? 0.4 * reflected[c] / length : 0.4 * 2 / 3 * row.normal[c]), 0.03)
              << row.name << (isMirror ? ", mirror" : ", matte") << ", colour " << c << ", azimuth " << azimuth;
      }
    }
}

TEST_F(LooksTest, EachPartHasItsOwnMaterial) {
  const auto ball = [](double x, float metallic, float roughness, float emissive) {
    return MeshBuilder(physical([&](PhysicalMaterial& m) {
             m.metallic = metallic;
             m.roughness = roughness;
             m.emissive = {emissive, 0, 0};
           }))
        .sphere({x, 0, 0.35}, 0.3, 24, 12)
        .finish();
  };
  const auto painted = [](float x, const QColor& color) {
    const GeometryPointer quad =
        test::quad({x, 0, -0.7f, x + 0.4f, 0, -0.7f, x + 0.4f, 0, -0.1f, x, 0, -0.1f}, {1, 1, 1, 1});
    quad->texCoords.assign(8, 0.5f);
    quad->material = physical([&](PhysicalMaterial& m) { m.baseColorTexture.texture = filled(color); });
    return quad;
  };
  const auto parts = {ball(-0.7, 1, 0.2f, 0), ball(0, 0, 0.9f, 0), ball(0.7, 0, 0.9f, 0.5f), painted(-0.6f, Qt::red),
                      painted(0.2f, Qt::green)};
  Shot shot = shotFromFront(element(parts));
  shot.look = Look::Studio;
  shot.samples = 0;
  const QImage all = draw(shot);
  for (const GeometryPointer& one : parts) {
    shot.root = element({one});
    const QImage alone = draw(shot);
    for (int y = 0; y < all.height(); ++y)
      for (int x = 0; x < all.width(); ++x)
        ASSERT_TRUE(qAlpha(alone.pixel(x, y)) == 0 || alone.pixel(x, y) == all.pixel(x, y)) << x << ' ' << y;
  }
}

TEST_F(LooksTest, StretchedShapesAreLitAsIfTheyWereMadeSo) {
  const GeometryPointer ball = MeshBuilder(nullptr).sphere({0, 0, 0}, 1).finish();
  for (const double side : {1.0, -1.0}) {
    const GeometryPointer made(new Geometry(*ball));
    const std::array<double, 3> factors{0.3 * side, 0.7, 0.9};
    for (std::size_t i = 0; i < made->positions.size(); ++i) {
      made->positions[i] *= float(factors[i % 3]);
      made->normals[i] /= float(factors[i % 3]);
    }
    for (std::size_t i = 0; side < 0 && i < made->indices.size(); i += 3)
      std::swap(made->indices[i], made->indices[i + 1]);
    made->clusters.clear();
    prepare(*made);
    const Element stretched = element({ball});
    stretched->setTransform(math::scaling(factors[0], factors[1], factors[2]));
    Shot shot = shotFromFront(stretched);
    const QImage drawn = draw(shot);
    shot.root = element({made});
    EXPECT_LT(meanDistance(drawn, draw(shot)), 1) << side;
  }
}

TEST_F(LooksTest, ADrawerLightsEachViewAnew) {
  Shot shot = shotFromFront(element({MeshBuilder(nullptr).sphere({0, 0, 0}, 1).finish()}));
  SceneDrawer drawer(viewer.getGlobalScene());
  for (const double elevation : {0.0, 70.0}) {
    gui::Camera camera;
    camera.elevation = elevation;
    shot.transform = camera.transform();
    EXPECT_EQ(drawPart(drawer, shot, 0, 0, shot.width, shot.height), draw(shot));
  }
}

// Of small faces light is computed at the corners, on both sides of those that are open.
TEST_F(LooksTest, ShapesOfManySmallFacesAreLitAsThoseOfLargeOnes) {
  const MaterialPointer metal = physical([](PhysicalMaterial& m) {
    m.metallic = 0.6f;
    m.roughness = 0.35f;
  });
  std::vector<MeshBuilder::Point2> profile;
  for (int i = 0; i <= 40; ++i) profile.push_back({0.8 * std::sin(0.04 * i), -0.8 * std::cos(0.04 * i)});
  for (const bool open : {false, true}) {
    Shot shot = shotFromFront(element({MeshBuilder(metal).sphere({0, 0, 0}, 0.8, 160, 80).finish()}));
    if (open) shot.root = element({MeshBuilder(metal).turned(profile, false, 160).finish()});
    gui::Camera camera;
    camera.elevation = 35;
    shot.transform = camera.transform();
    Shot large = shot;
    large.width = large.height = 4 * shot.width;
    const QImage small = draw(shot), reduced = test::quarter(draw(large));
    EXPECT_LT(meanDistance(small, reduced), 1.5) << open;
  }
}

TEST_F(LooksTest, UnlitColoursStayAsTheyAre) {
  QImage colors(64, 64, QImage::Format_RGB32);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) colors.setPixel(x, y, qRgb(x * 4, y * 4, 255 - x * 2 - y * 2));
  const MaterialPointer printed(new Material);
  printed->lit = false;
  printed->diffuse = {1, 1, 1, 1};
  printed->texture = new Texture(colors, Sampling{Wrap::Clamp, Wrap::Clamp, false});
  const MaterialPointer bare(new Material);
  bare->lit = false;
  const GeometryPointer shades =
      MeshBuilder(bare)
          .sheet(
              8,
              [](double u, double v) {
                return math::Vector3{2 * u - 1, 0, 2 * v - 1};
              },
              [](double u, double v) {
                return std::array<std::uint8_t, 4>{std::uint8_t(255 * u), std::uint8_t(255 * v), 77, 255};
              })
          .finish();
  for (const GeometryPointer& geometry :
       {MeshBuilder(printed).picture({-1, 0, -1}, {2, 0, 0}, {0, 0, 2}).finish(), shades}) {
    Shot shot = shotFromFront(element({geometry}));
    const QImage studio = draw(shot);
    shot.look = Look::Plain;
    const QImage plain = draw(shot);
    EXPECT_GT(compare(plain, studio).covered, 1000);
    EXPECT_EQ(compare(plain, studio).greatest, 0) << compare(plain, studio);
  }
}

TEST_F(LooksTest, MapsFactorsAndModesCount) {
  struct Row {
    const char* name;
    std::function<void(Material&)> change;
    std::function<bool(QColor with, QColor without)> holds;
  };
  const auto brighter = [](QColor with, QColor without) { return with.red() > without.red() + 20; };
  const auto darker = [](QColor with, QColor without) { return with.red() < without.red() - 20; };
  const Row rows[] = {
      {"emission",
       [](Material& m) {
         m.physical->emissive = {0.5f, 0, 0};
       },
       brighter},
      {"emissive texture",
       [](Material& m) {
         m.physical->emissive = {1, 1, 1};
         m.physical->emissiveTexture.texture = filled(QColor(150, 0, 0));
       },
       brighter},
      {"occlusion", [](Material& m) { m.physical->occlusionTexture.texture = filled(QColor(60, 255, 255)); }, darker},
      {"base colour's texture",
       [](Material& m) { m.physical->baseColorTexture.texture = filled(QColor(99, 255, 255)); },
       [](QColor with, QColor without) { return with.red() < without.red() - 20 && with.green() == without.green(); }},
      {"metal by its texture",
       [](Material& m) {
         m.physical->metallic = 1;
         m.physical->metallicRoughnessTexture.texture = filled(QColor(0, 255, 0));
       },
       [](QColor with, QColor without) { return with == without; }},
      {"below the cutoff",
       [](Material& m) {
         m.alphaMode = AlphaMode::Mask;
         m.physical->baseColorTexture.texture = m.texture = filled(QColor(255, 255, 255, 100));
       },
       [](QColor with, QColor) { return with.alpha() == 0; }},
      {"above the cutoff",
       [](Material& m) {
         m.alphaMode = AlphaMode::Mask;
         m.alphaCutoff = 0.3f;
         m.physical->baseColorTexture.texture = m.texture = filled(QColor(255, 255, 255, 100));
       },
       [](QColor with, QColor without) { return with == without; }},
      {"blended",
       [](Material& m) { m.physical->baseColorTexture.texture = m.texture = filled(QColor(255, 255, 255, 100)); },
       [](QColor with, QColor) { return with.alpha() == 100; }},
      {"opaque",
       [](Material& m) {
         m.alphaMode = AlphaMode::Opaque;
         m.physical->baseColorTexture.texture = m.texture = filled(QColor(255, 255, 255, 100));
       },
       [](QColor with, QColor without) { return with == without; }},
  };
  const auto middle = [&](const std::function<void(Material&)>& change, double turn, Look look = Look::Studio) {
    const MaterialPointer material = physical([](PhysicalMaterial& m) { m.baseColor = {0.6f, 0.6f, 0.6f, 1}; });
    if (change) change(*material);
    const Element root = element({picture(material)});
    root->setTransform(math::rotation(M_PI / 2 + turn, {1, 0, 0}));
    Shot shot = shotFromFront(root);
    shot.look = look;
    return draw(shot).pixelColor(128, 128);
  };
  const QColor without = middle({}, 0);
  for (const Row& row : rows)
    EXPECT_TRUE(row.holds(middle(row.change, 0), without))
        << row.name << ": " << middle(row.change, 0).name().toStdString() << " beside " << without.name().toStdString();
  const auto oneSided = [](Material& m) { m.doubleSided = false; };
  EXPECT_EQ(middle(oneSided, 0), without);
  EXPECT_EQ(middle(oneSided, M_PI).alpha(), 0);
  EXPECT_EQ(middle({}, M_PI), without) << "a back face is lit from its own side";
  const auto glowing = [](Material& m) { m.physical->emissive = {1, 1, 1}; };
  const auto polished = [](Material& m) { m.physical->roughness = 0.1f; };
  for (const Look look : {Look::Clay, Look::Technical})
    for (const std::function<void(Material&)>& change : {std::function<void(Material&)>(glowing), {polished}})
      EXPECT_EQ(middle(change, 0, look), middle({}, 0, look)) << nameOf(look).toStdString();
}

TEST_F(LooksTest, SecondCoordinatesAndTransformsPlaceATexture) {
  QImage halves(2, 2, QImage::Format_RGB32);
  halves.fill(Qt::red);
  for (int y = 0; y < 2; ++y) halves.setPixelColor(1, y, Qt::blue);
  const auto center = [&](int set, const std::array<float, 6>& transform) {
    const MaterialPointer material = physical([&](PhysicalMaterial& m) {
      m.baseColorTexture = {new Texture(halves, Sampling{Wrap::Clamp, Wrap::Clamp, false}), set, transform};
    });
    material->lit = false;
    const GeometryPointer geometry = picture(material);
    for (std::size_t i = 0; i < geometry->vertexCount(); ++i) {
      geometry->texCoords[2 * i] = 0.25f;
      geometry->secondTexCoords.insert(geometry->secondTexCoords.end(), {0.75f, 0});
    }
    const Element root = element({geometry});
    root->setTransform(math::rotation(M_PI / 2, {1, 0, 0}));
    return draw(shotFromFront(root)).pixelColor(128, 128);
  };
  EXPECT_EQ(center(0, {1, 0, 0, 0, 1, 0}), QColor(Qt::red));
  EXPECT_EQ(center(1, {1, 0, 0, 0, 1, 0}), QColor(Qt::blue));
  EXPECT_EQ(center(0, {1, 0, 0.5f, 0, 1, 0}), QColor(Qt::blue));
  EXPECT_EQ(center(1, {-1, 0, 1, 0, 1, 0}), QColor(Qt::red));
}

}  // namespace
}  // namespace nubo::scene
