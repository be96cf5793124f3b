#include "module_scene/draw/surfaceshader.h"

#include <QOpenGLExtraFunctions>
#include <algorithm>
#include <atomic>
#include <cmath>

#include "kernel/log/logger.h"
#include "module_scene/draw/drawcommands.h"
#include "module_scene/draw/shaderprogram.h"
#include "module_scene/draw/surfacesource.h"

namespace nubo::scene {

namespace {

// What makes the difference between the programs.
enum Variant : unsigned {
  BaseMap = 1,
  RoughnessMap = 2,
  NormalMap = 4,
  OcclusionMap = 8,
  EmissiveMap = 16,
  Lit = 32,
  Mask = 64,
  Opaque = 128,
  OfClay = 256,
  OfDrawing = 512,
  Contact = 1024,
  EyeDome = 2048,
  PerVertex = 4096,
  TwoSided = 8192,
  Clipped = 16384,
  Placed = 32768
};

constexpr const char* Defines[] = {
    "BASE_MAP", "ROUGHNESS_MAP", "NORMAL_MAP", "OCCLUSION_MAP", "EMISSIVE_MAP", "LIT",       "MASK",    "OPAQUE",
    "OF_CLAY",  "OF_DRAWING",    "CONTACT",    "EYE_DOME",      "PER_VERTEX",   "TWO_SIDED", "CLIPPED", "PLACED"};

// Texture units, the first five also bits of the variant.
constexpr const char* Samplers[] = {"baseMap",     "roughnessMap", "normalMap", "occlusionMap",
                                    "emissiveMap", "reflections",  "contactMap"};
constexpr unsigned AllMaps = BaseMap | RoughnessMap | NormalMap | OcclusionMap | EmissiveMap;
constexpr int MapCount = 5, ReflectionUnit = 5, ContactUnit = 6, UnitCount = 7;

enum Uniform : std::size_t {
  AlphaCutoff,
  Places,
  Offsets,
  SurfaceKind,
  Emission,
  Relief,
  Occlusion,
  Eye,
  Irradiance,
  Brightest,
  Texels,
  ToEnvironment,
  KeyDirection,
  KeyLight,
  ContactPlace,
  ContactTexels,
  ContactTolerance,
  ContactAround
};

constexpr const char* Uniforms[] = {"alphaCutoff",   "places",           "offsets",      "surface",    "emission",
                                    "relief",        "occlusion",        "eye",          "irradiance", "brightest",
                                    "texels",        "toEnvironment",    "keyDirection", "keyLight",   "contactPlace",
                                    "contactTexels", "contactTolerance", "contactAround"};

std::array<const TextureUse*, MapCount> mapsOf(const PhysicalMaterial& material) {
  return {&material.baseColorTexture, &material.metallicRoughnessTexture, &material.normalTexture,
          &material.occlusionTexture, &material.emissiveTexture};
}

float linear(float shown) { return shown <= 0.04045f ? shown / 12.92f : std::pow((shown + 0.055f) / 1.055f, 2.4f); }

QOpenGLExtraFunctions* extraFunctions() { return QOpenGLContext::currentContext()->extraFunctions(); }

}  // namespace

const char* SurfaceShader::whatIsMissing() {
  const QOpenGLContext* context = QOpenGLContext::currentContext();
  if (context->format().version() < qMakePair(2, 1)) return "OpenGL 2.1";
  for (const GLenum type : {GL_VERTEX_SHADER, GL_FRAGMENT_SHADER}) {
    const GLuint shader = context->functions()->glCreateShader(type);
    if (!shader) return "shaders";
    context->functions()->glDeleteShader(shader);
  }
  GLint units = 0, size = 0;
  glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &units);
  glGetIntegerv(GL_MAX_3D_TEXTURE_SIZE, &size);
  if (units < UnitCount) return "enough texture units";
  return size < Environment::Size ? "large enough textures" : nullptr;
}

/// How all programs of a drawing know where a part is.
unsigned SurfaceShader::placing() const { return m_CanPlace && DrawCommands::areAvailable() ? unsigned(Placed) : 0u; }

bool SurfaceShader::canPlace(const Geometry& geometry, Shading shading, bool clipped) {
  program(variantFor(geometry, shading, clipped));
  return m_CanPlace;
}

bool SurfaceShader::isAvailable() {
  const unsigned usual = Lit | Opaque | placing();
  const auto made = m_Programs.find(usual);
  const bool isMade = made != m_Programs.end() && made->second.name.isUsable();
  // Every tile asks, and where there is a program nothing can be missing.
  if (m_Failed || (!isMade && whatIsMissing())) return false;
  return program(usual).name.name() || program(Lit | Opaque).name.name();
}

bool SurfaceShader::makeNext() {
  if (m_Failed || whatIsMissing()) return false;
  const unsigned usual = Lit | Opaque | placing();
  const unsigned depths = placing() ? placing() : usual;
  for (const unsigned variant : {usual, usual | Contact, usual | PerVertex, usual | PerVertex | Contact, depths}) {
    const auto present = m_Programs.find(variant);
    if (present != m_Programs.end() && present->second.name.isUsable()) continue;
    program(variant);
    return !m_Failed;
  }
  return false;
}

void SurfaceShader::begin(const Viewpoint& viewpoint, Look look, const util::YPointer<Environment>& environment) {
  m_ToEnvironment = environmentFrame(viewpoint.view);
  m_Parallel = viewpoint.parallel;
  m_Look = look;
  m_Environment = environment;
  m_Placing = placing();
  m_OnlyDepths = false;
  m_Surfaces.clear();
  ++m_Drawing;
  GLint vertexUnits = 0;
  glGetIntegerv(GL_MAX_VERTEX_TEXTURE_IMAGE_UNITS, &vertexUnits);
  m_HasVertexTextures = vertexUnits > 0;
  QOpenGLExtraFunctions* gl = extraFunctions();
  gl->glActiveTexture(GL_TEXTURE0 + ReflectionUnit);
  gl->glBindTexture(GL_TEXTURE_3D, BufferCache::buffer(environment ? *environment : studio())->name());
  gl->glActiveTexture(GL_TEXTURE0);
  m_Contact.reset();
}

bool SurfaceShader::beginDepths() {
  m_Placing = placing();
  m_OnlyDepths = true;
  m_Surfaces.clear();
  m_Contact.reset();
  return m_Placing && !m_Failed && program(m_Placing).name.name();
}

void SurfaceShader::setContact(GLuint map, const ContactLookup& lookup) {
  m_Contact = lookup;
  QOpenGLExtraFunctions* gl = extraFunctions();
  gl->glActiveTexture(GL_TEXTURE0 + ContactUnit);
  gl->glBindTexture(GL_TEXTURE_2D, map);
  gl->glActiveTexture(GL_TEXTURE0);
}

unsigned SurfaceShader::contactFor(const Geometry& geometry, unsigned variant) const {
  if (!m_Contact || (geometry.transparent && !(variant & Mask))) return 0;
  if (geometry.kind == KindPoints) return EyeDome;
  return variant & Lit ? unsigned(Contact) : 0u;
}

unsigned SurfaceShader::variantFor(const Geometry& geometry, Shading shading, bool clipped) {
  return surfaceVariantFor(geometry, shading) | (clipped ? unsigned(Clipped) : 0u) | m_Placing;
}

bool SurfaceShader::lookAlike(const Material& a, const Material& b) {
  if (&a == &b) return true;
  if (m_OnlyDepths) return a.alphaMode != AlphaMode::Mask && b.alphaMode != AlphaMode::Mask;
  const Surface &one = surfaceOf(a), &other = surfaceOf(b);
  const auto isPlain = [](const PhysicalMaterial& material) {
    const auto maps = mapsOf(material);
    return std::none_of(maps.begin(), maps.end(), [](const TextureUse* map) { return bool(map->texture); });
  };
  return a.lit == b.lit && a.alphaMode == b.alphaMode && one.values == other.values &&
         one.physical.baseColor == other.physical.baseColor && isPlain(one.physical) && isPlain(other.physical);
}

const SurfaceShader::Surface& SurfaceShader::surfaceOf(const Material& material) {
  const auto known = m_Surfaces.find(&material);
  if (known != m_Surfaces.end()) return known->second;
  Surface surface{material.toPhysical(), {}};
  const PhysicalMaterial& physical = surface.physical;
  surface.values = {material.alphaCutoff,
                    physical.metallic,
                    physical.roughness,
                    linear(physical.emissive[0]) * physical.emissiveStrength,
                    linear(physical.emissive[1]) * physical.emissiveStrength,
                    linear(physical.emissive[2]) * physical.emissiveStrength,
                    physical.normalScale,
                    physical.occlusionStrength};
  return m_Surfaces.emplace(&material, std::move(surface)).first->second;
}

unsigned SurfaceShader::surfaceVariantFor(const Geometry& geometry, Shading shading) {
  const Material& material = materialOf(geometry);
  const PhysicalMaterial& physical = surfaceOf(material).physical;
  unsigned result = material.lit && !geometry.normals.empty() ? unsigned(Lit) : 0u;
  const auto maps = mapsOf(physical);
  for (int map = 0; map < MapCount; ++map) {
    const auto& coordinates = maps[map]->coordinates == 0 ? geometry.texCoords : geometry.secondTexCoords;
    if (maps[map]->texture && !coordinates.empty()) result |= 1u << map;
  }
  if (material.alphaMode == AlphaMode::Mask) result |= Mask;
  if (m_OnlyDepths) return result & Mask ? result & (Mask | BaseMap) : 0;
  if (!geometry.transparent && !(result & Mask)) result |= Opaque;
  result |= contactFor(geometry, result);
  const bool isDrawing = m_Look == Look::Technical;
  if (!(result & Lit)) {
    // What is printed on a face stays; points and lines are ink.
    const bool isInk = isDrawing && geometry.kind != KindFaces;
    return (result & (BaseMap | Mask | Opaque | EyeDome)) | (isInk ? OfDrawing : 0u);
  }
  if (m_Look != Look::Studio)
    result = (result & (BaseMap | Lit | Mask | Opaque | Contact | EyeDome)) | OfClay | (isDrawing ? OfDrawing : 0u);
  if (shading == Shading::PerPixel || (result & AllMaps) || !m_HasVertexTextures) return result;
  return result | PerVertex | (shading == Shading::PerVertexOnBothSides ? TwoSided : 0u);
}

void SurfaceShader::use(const Geometry& geometry, Shading shading, bool clipped) {
  const unsigned variant = variantFor(geometry, shading, clipped);
  Program& current = program(variant);
  QOpenGLExtraFunctions* gl = extraFunctions();
  gl->glUseProgram(current.name.name());
  if (m_Failed) return;  // the next drawing does without
  if (std::exchange(current.drawing, m_Drawing) != m_Drawing) {
    if (variant & Lit) setLight(current);
    if (m_Contact) setLookup(current);
  }

  const auto& [physical, values] = surfaceOf(materialOf(geometry));
  glColor4fv(physical.baseColor.data());
  if (current.values != values) setValues(current, values);
  if (variant & AllMaps) setTextures(current, physical, variant);
}

/// Drivers take longer to be told what they know than to be asked for a small part.
void SurfaceShader::setValues(Program& program, const Values& values) {
  program.values = values;
  QOpenGLExtraFunctions* gl = extraFunctions();
  const auto& at = program.locations;
  const auto& [cutoff, metallic, roughness, red, green, blue, relief, occlusion] = values;
  gl->glUniform1f(at[AlphaCutoff], cutoff);
  gl->glUniform2f(at[SurfaceKind], metallic, roughness);
  gl->glUniform3f(at[Emission], red, green, blue);
  gl->glUniform1f(at[Relief], relief);
  gl->glUniform1f(at[Occlusion], occlusion);
}

void SurfaceShader::setTextures(const Program& program, const PhysicalMaterial& material, unsigned variant) {
  QOpenGLExtraFunctions* gl = extraFunctions();
  std::array<GLfloat, std::size_t(MapCount) * 8> places{};
  std::array<GLfloat, std::size_t(MapCount) * 2> offsets{};
  const auto maps = mapsOf(material);
  for (int map = 0; map < MapCount; ++map) {
    if (!(variant & (1u << map))) continue;
    gl->glActiveTexture(GL_TEXTURE0 + map);
    gl->glBindTexture(GL_TEXTURE_2D, BufferCache::buffer(*maps[map]->texture)->name());
    const auto& transform = maps[map]->transform;
    for (std::size_t row = 0; row < 2; ++row) {
      const std::size_t place = std::size_t(8 * map + 2 * maps[map]->coordinates) + 4 * row;
      std::copy_n(&transform[3 * row], 2, &places[place]);
      offsets[std::size_t(2 * map) + row] = transform[3 * row + 2];
    }
  }
  gl->glActiveTexture(GL_TEXTURE0);
  gl->glUniform4fv(program.locations[Places], 2 * MapCount, places.data());
  gl->glUniform2fv(program.locations[Offsets], MapCount, offsets.data());
}

SurfaceShader::Program& SurfaceShader::program(unsigned variant) {
  Program& result = m_Programs[variant];
  if (result.name.isUsable()) return result;
  QByteArray head("#version 120\n");
  for (std::size_t bit = 0; bit < std::size(Defines); ++bit)
    if (variant & (1u << bit)) head += QByteArray("#define ") + Defines[bit] + '\n';
  QByteArray messages;
  result = Program();
  result.name = linkProgram(head + SurfaceLightSource + SurfaceVertexShader,
                            head + SurfaceLightSource + SurfaceFragmentShader, &messages, DrawCommands::attributes());
  if (!result.name.name() && (variant & Placed)) {
    m_CanPlace = false;
    m_Placing = 0;
    return result;
  }
  if (!result.name.name()) {
    m_Failed = true;
    static std::atomic<bool> said{false};
    if (!said.exchange(true))
      NUBO_LOG(log::Failure, "nubo::scene::SurfaceShader::program",
               "This OpenGL cannot use a shader, scenes are drawn in the look \"plain\": %s", messages.constData());
    return result;
  }
  QOpenGLExtraFunctions* gl = extraFunctions();
  gl->glUseProgram(result.name.name());
  for (std::size_t i = 0; i < std::size(Uniforms); ++i)
    result.locations[i] = gl->glGetUniformLocation(result.name.name(), Uniforms[i]);
  for (int unit = 0; unit < UnitCount; ++unit)
    gl->glUniform1i(gl->glGetUniformLocation(result.name.name(), Samplers[unit]), unit);
  gl->glUseProgram(0);
  return result;
}

void SurfaceShader::setLookup(const Program& program) const {
  QOpenGLExtraFunctions* gl = extraFunctions();
  gl->glUniform4fv(program.locations[ContactPlace], 1, m_Contact->place.data());
  gl->glUniform3fv(program.locations[ContactTexels], 1, m_Contact->texels.data());
  gl->glUniform1f(program.locations[ContactTolerance], m_Contact->tolerance);
  gl->glUniform1i(program.locations[ContactAround], 16);
}

void SurfaceShader::setLight(const Program& program) const {
  QOpenGLExtraFunctions* gl = extraFunctions();
  const Environment& environment = m_Environment ? *m_Environment : studio();
  const auto& at = program.locations;
  const Environment::Quadric irradiance = turned(environment.irradiance(), m_ToEnvironment);
  std::array<GLfloat, 9> columns{};
  math::Vector3 key{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      columns[3 * j + i] = GLfloat(m_ToEnvironment(i, j));
      key[j] += m_ToEnvironment(i, j) * studioKey().direction[i];
    }
  gl->glUniform4f(at[Eye], 0, 0, m_Parallel ? 1 : 0, m_Parallel ? 0 : 1);
  gl->glUniform3fv(at[Irradiance], GLsizei(irradiance.size()), irradiance[0].data());
  gl->glUniform1f(at[Brightest], environment.brightest());
  constexpr float Between = 1 - 1.0f / Environment::Size, BetweenLevels = 1 - 1.0f / Environment::Levels;
  gl->glUniform2f(at[Texels], Between / 2, BetweenLevels);
  gl->glUniformMatrix3fv(at[ToEnvironment], 1, GL_FALSE, columns.data());
  gl->glUniform3f(at[KeyDirection], GLfloat(key[0]), GLfloat(key[1]), GLfloat(key[2]));
  constexpr Light Dark{};
  gl->glUniform3fv(at[KeyLight], 1, m_Environment ? Dark.data() : studioKey().light.data());
}

}  // namespace nubo::scene
