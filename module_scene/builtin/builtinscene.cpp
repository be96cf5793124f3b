#include "module_scene/builtin/builtinscene.h"

#include <QColor>
#include <cmath>

#include "module_scene/builtin/testchart.h"
#include "module_scene/mesh/meshbuilder.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::scene {

namespace {

using math::rotation;
using math::translation;

constexpr double Turn = 2 * 3.14159265358979323846;
constexpr int ChartSize = 2048;

util::YPointer<Material> makeMaterial(const QColor& color, float gloss = 0.0f, float shininess = 0.0f) {
  util::YPointer<Material> material(new Material);
  material->diffuse = {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
  material->specular = {gloss, gloss, gloss, 1.0f};
  material->shininess = shininess;
  return material;
}

// In fixed-function light metal is as dark as it looks on the whole; in a studio it mirrors.
util::YPointer<Material> makeMetal(const QColor& color, float shininess, const QColor& mirrored, float roughness) {
  constexpr float Gloss = 0.8f;
  const util::YPointer<Material> metal = makeMaterial(color, Gloss, shininess);
  PhysicalMaterial& physical = metal->physical.emplace();
  physical.baseColor = {float(mirrored.redF()), float(mirrored.greenF()), float(mirrored.blueF()), 1};
  physical.metallic = 1;
  physical.roughness = roughness;
  return metal;
}

// The materials that parts share.
struct Paints {
  util::YPointer<Material> light = makeMaterial(QColor(0xe6, 0xe3, 0xdc), 0.15f, 20);
  util::YPointer<Material> dark = makeMaterial(QColor(0x17, 0x1a, 0x20), 0.35f, 30);
  util::YPointer<Material> steel = makeMetal(QColor(0x8b, 0x93, 0x9e), 60, QColor(0xc4, 0xc8, 0xcc), 0.32f);
  util::YPointer<Material> brass = makeMetal(QColor(0xb5, 0x8a, 0x3c), 50, QColor(0xe6, 0xbc, 0x6a), 0.28f);
  util::YPointer<Material> orange = makeMaterial(QColor(0xe8, 0x6a, 0x17), 0.5f, 45);
  util::YPointer<Material> red = makeMaterial(QColor(0xc4, 0x2b, 0x2b), 0.9f, 90);
  util::YPointer<Material> rubber = makeMaterial(QColor(0x24, 0x26, 0x2a), 0.1f, 8);
  util::YPointer<Material> glass = makeMaterial(QColor(0x8f, 0xd0, 0xe8, 84), 1.0f, 110);
  util::YPointer<Material> amber = makeMaterial(QColor(0xf2, 0xa9, 0x2c, 110), 0.7f, 80);
};

util::YPointer<SceneElement> makeElement(const char* name, std::initializer_list<util::YPointer<Geometry>> geometries,
                                         const math::Matrix4& transform = math::Matrix4()) {
  util::YPointer<SceneElement> element(new SceneElement(QString::fromLatin1(name)));
  for (const auto& geometry : geometries) element->addGeometry(geometry);
  element->setTransform(transform);
  return element;
}

// Thin lines on the bench, from one x to another.
util::YPointer<Geometry> makeGrid(double from, double to, const QColor& color) {
  constexpr double Step = 0.25, Side = 2.0;
  const float height = 0.003f;
  util::YPointer<Geometry> grid(new Geometry);
  grid->kind = KindLines;
  grid->material = makeMaterial(color);
  const auto line = [&](double x0, double y0, double x1, double y1) {
    grid->positions.insert(grid->positions.end(), {float(x0), float(y0), height, float(x1), float(y1), height});
    for (int i = 0; i < 2; ++i) grid->indices.push_back(std::uint32_t(grid->indices.size()));
  };
  for (double x = from; x <= to; x += Step) line(x, -Side, x, Side);
  for (double y = -Side; y <= Side; y += Step) line(from, y, to, y);
  prepare(*grid);
  return grid;
}

util::YPointer<SceneElement> makeBench(const Paints& paints) {
  MeshBuilder light(paints.light), dark(paints.dark), feet(paints.rubber);
  light.box({-2.95, -2.05, -0.18}, {0, 2.05, 0});
  dark.box({0, -2.05, -0.18}, {2.95, 2.05, 0});
  for (const double x : {-2.6, 2.6})
    for (const double y : {-1.7, 1.7})
      feet.at(translation(x, y, -0.3)).turned({{0, 0}, {0.16, 0}, {0.2, 0.03}, {0.2, 0.12}, {0, 0.12}});
  return makeElement("bench",
                     {light.finish(), dark.finish(), feet.finish(), makeGrid(-2.75, -0.25, QColor(0xb9, 0xb5, 0xab)),
                      makeGrid(0.25, 2.75, QColor(0x3c, 0x44, 0x50))});
}

util::YPointer<SceneElement> makeChart(const Paints& paints) {
  const util::YPointer<Material> printed = makeMaterial(Qt::white);
  printed->texture = new Texture(createTestChart(ChartSize), false);
  MeshBuilder board(paints.dark), picture(printed);
  board.box({-1.06, 0.02, 0.0}, {1.06, 0.1, 2.2}).box({-0.9, -0.25, 0.0}, {0.9, 0.3, 0.06});
  picture.picture({-1.0, 0.018, 0.12}, {2.0, 0, 0}, {0, 0, 2.0});
  return makeElement("chart", {board.finish(), picture.finish()},
                     translation(-1.75, 1.55, 0) * rotation(0.18, {0, 0, 1}));
}

std::vector<MeshBuilder::Point2> gearOutline(int teeth, double pitch, double depth) {
  // Per tooth: half angles at foot, flank and tip, as shares of a tooth.
  constexpr double Shares[] = {-0.27, -0.17, -0.11, 0.11, 0.17, 0.27};
  const double radii[] = {pitch - depth, pitch, pitch + depth, pitch + depth, pitch, pitch - depth};
  std::vector<MeshBuilder::Point2> outline;
  for (int tooth = 0; tooth < teeth; ++tooth)
    for (int i = 0; i < 6; ++i) {
      const double angle = Turn * (tooth + Shares[i]) / teeth;
      outline.push_back({radii[i] * std::cos(angle), radii[i] * std::sin(angle)});
    }
  return outline;
}

util::YPointer<SceneElement> makeGear(const char* name, int teeth, const util::YPointer<Material>& material,
                                      const util::YPointer<Material>& hub, const math::Matrix4& transform) {
  const double pitch = teeth * 0.021;
  MeshBuilder gear(material), shaft(hub);
  gear.extruded(gearOutline(teeth, pitch, 0.022), 0.12);
  shaft.at(translation(0, 0, -0.28)).turned({{0, 0}, {0.05, 0}, {0.05, 0.46}, {0.035, 0.48}, {0, 0.48}});
  shaft.at(translation(0, 0, 0.1)).turned({{0, 0}, {pitch * 0.35, 0}, {pitch * 0.35, 0.05}, {0, 0.05}});
  for (int i = 0; i < 6; ++i) {
    const double angle = Turn * i / 6, at = pitch * 0.65;
    shaft.at(translation(at * std::cos(angle), at * std::sin(angle), 0.11)).sphere({0, 0, 0}, pitch * 0.1, 64, 32);
  }
  return makeElement(name, {gear.finish(), shaft.finish()}, transform);
}

// Two gears that mesh: 32 teeth drive 16.
util::YPointer<SceneElement> makeGears(const Paints& paints) {
  const auto gears = makeElement("gears", {}, translation(0.1, -1.2, 0.3));
  gears->addChild(makeGear("gear.large", 32, paints.brass, paints.steel, math::Matrix4()));
  gears->addChild(makeGear("gear.small", 16, paints.steel, paints.brass,
                           translation(48 * 0.021, 0, 0) * rotation(Turn / 32, {0, 0, 1})));
  return gears;
}

// Joints turn about their own x axes ("arm.base" about z) with the limb standing along z.
util::YPointer<SceneElement> makeArm(const Paints& paints) {
  const auto joint = [&](MeshBuilder& builder, double radius, double width) {
    builder.at(translation(-width / 2, 0, 0) * rotation(Turn / 4, {0, 1, 0}))
        .turned({{0, 0}, {radius * 0.9, 0}, {radius, 0.02}, {radius, width - 0.02}, {radius * 0.9, width}, {0, width}});
  };
  const auto limb = [&](const char* name, double length, double radius, double angle, double offset) {
    MeshBuilder shell(paints.orange), bearing(paints.dark);
    shell.at(math::Matrix4())
        .turned({{0, 0},
                 {radius, 0},
                 {radius * 1.05, 0.08},
                 {radius * 0.7, length - 0.06},
                 {radius * 0.6, length},
                 {0, length}});
    joint(bearing, radius * 1.3, radius * 2.6);
    return makeElement(name, {shell.finish(), bearing.finish()},
                       translation(0, 0, offset) * rotation(angle, {1, 0, 0}));
  };
  MeshBuilder foot(paints.dark), tower(paints.orange);
  foot.turned({{0, 0}, {0.55, 0}, {0.55, 0.08}, {0.42, 0.16}, {0.42, 0.2}, {0, 0.2}});
  tower.turned({{0, 0.2}, {0.36, 0.2}, {0.36, 0.3}, {0.24, 0.55}, {0.24, 0.62}, {0, 0.62}});
  const auto base =
      makeElement("arm.base", {foot.finish(), tower.finish()}, translation(1.65, 0.95, 0) * rotation(0.9, {0, 0, 1}));
  const auto shoulder = limb("arm.shoulder", 1.15, 0.19, -0.35, 0.68);
  const auto elbow = limb("arm.elbow", 0.95, 0.15, 1.75, 1.2);
  const auto wrist = limb("arm.wrist", 0.3, 0.1, 0.75, 1.0);
  MeshBuilder fingers(paints.steel);
  fingers.box({-0.16, -0.05, 0.3}, {0.16, 0.05, 0.35});
  fingers.box({-0.16, -0.035, 0.35}, {-0.12, 0.035, 0.62}).box({0.12, -0.035, 0.35}, {0.16, 0.035, 0.62});
  MeshBuilder load(paints.red);
  load.sphere({0, 0, 0.55}, 0.12);
  wrist->addChild(makeElement("arm.gripper", {fingers.finish(), load.finish()}));
  elbow->addChild(wrist);
  shoulder->addChild(elbow);
  base->addChild(shoulder);
  return base;
}

// Turns about its own z axis.
util::YPointer<SceneElement> makeWheel(const Paints& paints) {
  const auto ring = [](double radius, double thickness) {
    std::vector<MeshBuilder::Point2> profile(48);
    for (int i = 0; i < 48; ++i)
      profile[i] = {radius + thickness * std::cos(Turn * i / 48), thickness * std::sin(Turn * i / 48)};
    return profile;
  };
  MeshBuilder tyre(paints.rubber), rim(paints.steel), spokes(paints.light), hub(paints.brass);
  tyre.turned(ring(0.8, 0.05), true, 256);
  rim.turned(ring(0.745, 0.018), true, 256);
  constexpr int Spokes = 36;
  for (int i = 0; i < Spokes; ++i) {
    const double outer = Turn * i / Spokes, inner = outer + (i % 4 < 2 ? 1.1 : -1.1), side = i % 2 ? 0.07 : -0.07;
    spokes.rod({0.06 * std::cos(inner), 0.06 * std::sin(inner), side},
               {0.74 * std::cos(outer), 0.74 * std::sin(outer), 0}, 0.0035, 10);
  }
  hub.turned({{0, -0.12},
              {0.03, -0.12},
              {0.03, -0.09},
              {0.075, -0.08},
              {0.075, -0.06},
              {0.035, -0.05},
              {0.035, 0.05},
              {0.075, 0.06},
              {0.075, 0.08},
              {0.03, 0.09},
              {0.03, 0.12},
              {0, 0.12}});
  return makeElement("wheel", {tyre.finish(), rim.finish(), spokes.finish(), hub.finish()},
                     translation(0.35, 1.5, 0.85) * rotation(0.25, {0, 0, 1}) * rotation(Turn / 4, {1, 0, 0}));
}

// A crystal: lines of a fixed width in pixels with points where they meet.
util::YPointer<SceneElement> makeLattice() {
  constexpr int Cells = 5;
  util::YPointer<Geometry> lines(new Geometry), points(new Geometry);
  lines->kind = KindLines;
  lines->width = 1.5f;
  lines->material = makeMaterial(QColor(0x7f, 0xd1, 0xc0));
  points->kind = KindPoints;
  points->width = 5;
  points->material = makeMaterial(QColor(0xff, 0xd1, 0x4a));
  const auto index = [](int x, int y, int z) { return std::uint32_t((z * (Cells + 1) + y) * (Cells + 1) + x); };
  for (int z = 0; z <= Cells; ++z)
    for (int y = 0; y <= Cells; ++y)
      for (int x = 0; x <= Cells; ++x) {
        for (const int i : {x, y, z}) points->positions.push_back(0.2f * float(i));
        points->indices.push_back(index(x, y, z));
        if (x < Cells) lines->indices.insert(lines->indices.end(), {index(x, y, z), index(x + 1, y, z)});
        if (y < Cells) lines->indices.insert(lines->indices.end(), {index(x, y, z), index(x, y + 1, z)});
        if (z < Cells) lines->indices.insert(lines->indices.end(), {index(x, y, z), index(x, y, z + 1)});
      }
  lines->positions = points->positions;
  prepare(*lines);
  prepare(*points);
  return makeElement("lattice", {lines, points}, translation(1.6, -1.8, 0.06) * rotation(0.2, {0, 0, 1}));
}

// From dark violet over green to yellow.
std::array<std::uint8_t, 4> fieldColor(double value) {
  constexpr double Stops[][3] = {{68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}};
  const double place = std::min(std::max(value, 0.0), 0.9999) * 4;
  const int i = int(place);
  std::array<std::uint8_t, 4> color{0, 0, 0, 255};
  for (int c = 0; c < 3; ++c)
    color[c] = std::uint8_t(std::lround(Stops[i][c] + (place - i) * (Stops[i + 1][c] - Stops[i][c])));
  return color;
}

double fieldHeight(double u, double v) {
  const double r = 22 * std::hypot(u - 0.5, v - 0.5);
  return r < 1e-9 ? 1.0 : std::sin(r) / r;
}

// A simulated field: colours at the vertices, and above it the points where it was measured.
util::YPointer<SceneElement> makeField() {
  constexpr double Width = 1.5, Height = 0.5, Ground = 0.2;
  const auto point = [](double u, double v) {
    return math::Vector3{Width * (u - 0.5), Width * (v - 0.5), Ground + Height * fieldHeight(u, v)};
  };
  const auto color = [](double u, double v) { return fieldColor((fieldHeight(u, v) + 0.22) / 0.9); };
  MeshBuilder sheet(makeMaterial(Qt::white, 0.3f, 30));
  sheet.sheet(256, point, color);
  util::YPointer<Geometry> samples(new Geometry);
  samples->kind = KindPoints;
  samples->width = 3;
  constexpr int Samples = 40;
  for (int j = 0; j < Samples; ++j)
    for (int i = 0; i < Samples; ++i) {
      const double u = (i + 0.5) / Samples, v = (j + 0.5) / Samples;
      const math::Vector3 p = point(u, v);
      const auto rgba = color(u, v);
      samples->positions.insert(samples->positions.end(), {float(p[0]), float(p[1]), float(p[2] + 0.12)});
      samples->colors.insert(samples->colors.end(), rgba.begin(), rgba.end());
      samples->indices.push_back(std::uint32_t(samples->indices.size()));
    }
  prepare(*samples);
  return makeElement("field", {sheet.finish(), samples}, translation(-1.9, -1.0, 0));
}

util::YPointer<SceneElement> makeGlass(const Paints& paints) {
  MeshBuilder ball(paints.glass), core(paints.red), stand(paints.steel), plates(paints.amber);
  ball.sphere({0, 0, 0.5}, 0.38);
  core.sphere({0, 0, 0.5}, 0.13);
  stand.turned({{0, 0}, {0.24, 0}, {0.24, 0.04}, {0.1, 0.12}, {0.14, 0.15}, {0, 0.15}});
  plates.box({-0.62, -0.55, 0.0}, {-0.6, 0.35, 0.75}).box({-0.78, -0.65, 0.0}, {-0.76, 0.25, 0.6});
  return makeElement("glass", {stand.finish(), core.finish(), plates.finish(), ball.finish()},
                     translation(-0.15, 0.2, 0));
}

util::YPointer<SceneElement> makeBalls(const Paints& paints) {
  MeshBuilder steel(paints.steel), brass(paints.brass), light(paints.light);
  steel.sphere({2.5, 0.35, 0.26}, 0.26);
  brass.sphere({2.62, -0.22, 0.18}, 0.18);
  light.sphere({2.25, -0.02, 0.12}, 0.12);
  return makeElement("balls", {steel.finish(), brass.finish(), light.finish()});
}

}  // namespace

util::YPointer<SceneElement> createBuiltinScene() {
  const Paints paints;
  const auto root = makeElement("scene", {});
  for (const auto& part : {makeBench(paints), makeChart(paints), makeGears(paints), makeArm(paints), makeWheel(paints),
                           makeLattice(), makeField(), makeGlass(paints), makeBalls(paints)})
    root->addChild(part);
  return root;
}

}  // namespace nubo::scene
