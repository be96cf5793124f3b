#include "module_scene/draw/painter.h"

#include <algorithm>
#include <utility>

#include "module_scene/draw/drawingstate.h"

namespace nubo::scene {

namespace {

math::Matrix4 matrixOf(const TextureUse& use) {
  math::Matrix4 result;
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < 2; ++column) result(row, column) = use.transform[3 * row + column];
    result(row, 3) = use.transform[3 * row + 2];
  }
  return result;
}

void setUpTexture(const Geometry& geometry, const Material& material) {
  if (!material.texture || geometry.texCoords.empty()) {
    glDisable(GL_TEXTURE_2D);
    return;
  }
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, BufferCache::buffer(*material.texture)->name());
  // Of an opaque material's texture only the colour counts.
  load(GL_TEXTURE, material.physical ? matrixOf(material.physical->baseColorTexture) : math::Matrix4());
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, material.alphaMode == AlphaMode::Opaque ? GL_COMBINE : GL_MODULATE);
}

bool isLit(const Geometry& geometry) { return materialOf(geometry).lit && !geometry.normals.empty(); }

GLenum modeOf(Kind kind) { return kind == KindFaces ? GL_TRIANGLES : kind == KindLines ? GL_LINES : GL_POINTS; }

void setUpMaterial(const Geometry& geometry) {
  const Material& material = materialOf(geometry);
  setUpTexture(geometry, material);
  const bool lit = isLit(geometry);
  if (lit) {
    glEnable(GL_LIGHTING);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    glEnable(GL_COLOR_MATERIAL);
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, material.specular.data());
    glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, material.emissive.data());
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, material.shininess);
  } else {
    glDisable(GL_LIGHTING);
    glDisable(GL_COLOR_MATERIAL);
  }
  // Highlights lie on top of a texture.
  const bool highlights = lit && glIsEnabled(GL_TEXTURE_2D) && material.shininess > 0;
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, highlights ? GL_SEPARATE_SPECULAR_COLOR : GL_SINGLE_COLOR);
  const bool isOpaque = material.alphaMode == AlphaMode::Opaque;
  glColor4f(material.diffuse[0], material.diffuse[1], material.diffuse[2], isOpaque ? 1.0f : material.diffuse[3]);
}

// Whether what is set up for one geometry is what another needs: OpenGL computes its light anew for each material that
// it is told, though it be the same. Colours of vertices leave none behind that is known.
bool looksAlike(const Geometry& a, const Geometry& b) {
  return a.material == b.material && a.normals.empty() == b.normals.empty() &&
         a.texCoords.empty() == b.texCoords.empty() && a.colors.empty() && b.colors.empty();
}

bool isMask(const Geometry& geometry) { return materialOf(geometry).alphaMode == AlphaMode::Mask; }

// What is there only in parts leaves out the others.
void setUpBare(const Geometry& geometry) {
  const Material& material = materialOf(geometry);
  glDisable(GL_LIGHTING);
  glDisable(GL_COLOR_MATERIAL);
  glDisableClientState(GL_COLOR_ARRAY);
  const bool isInParts = isMask(geometry);
  isInParts ? setUpTexture(geometry, material) : glDisable(GL_TEXTURE_2D);
  isInParts ? glEnable(GL_ALPHA_TEST) : glDisable(GL_ALPHA_TEST);
  glAlphaFunc(GL_GEQUAL, material.alphaCutoff);
  glColor4f(1, 1, 1, isInParts ? material.diffuse[3] : 1);
}

// A coarse version's indices, and those of vertices that were chosen, lie in no buffer.
bool mayBeJoined(const Batch& batch, const std::vector<Range>& ranges) {
  const Range* const first = ranges.data() + batch.firstRange;
  return batch.geometry->kind != KindPoints && !batch.chosen &&
         std::all_of(first, first + batch.rangeCount, [](const Range& range) { return range.vertexCount > 0; });
}

// Colours are premultiplied where they are kept, so that alpha is the share that is covered.
void blend() {
  glEnable(GL_BLEND);
  functions()->glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  functions()->glBlendEquation(GL_FUNC_ADD);
  glDepthMask(GL_FALSE);
}

}  // namespace

Painter::Painter(const DrawList& list, SurfaceShader* shader, bool bare, const StillParts* still, Share share)
    : m_List(list), mp_Shader(shader), m_Bare(bare), mp_Still(still) {
  for (const Batch& batch : list.opaque()) {
    const bool isStill = share != Share::All && still->isStill(batch.part);
    if (share == Share::All) m_Steps.push_back({&batch, false, GL_NONE});
    if (share == Share::Still && isStill) m_Steps.push_back({&batch, false, GL_NONE, Order::Marked});
    if (share == Share::Moving && !isStill)
      for (const Order order : {Order::Before, Order::BeforeOrLater})
        m_Steps.push_back({&batch, false, GL_NONE, order});
  }
  if (share == Share::Still) return;
  // With a shader, what is there only in parts is opaque where it is.
  const auto isOpaque = [shader, bare](const Batch& batch) { return (shader || bare) && isMask(*batch.geometry); };
  for (const Batch& batch : list.transparent())
    if (isOpaque(batch)) m_Steps.push_back({&batch, false, GL_NONE});
  if (bare) return;
  copyTextures();
  for (const Batch& batch : list.transparent()) {
    if (isOpaque(batch)) continue;
    // The far side of a body is drawn before its near side.
    if (batch.geometry->kind != KindFaces || (shader && batch.isOneSided())) {
      m_Steps.push_back({&batch, true, GL_NONE});
      continue;
    }
    for (const GLenum hidden : {GL_FRONT, GL_BACK}) m_Steps.push_back({&batch, true, hidden});
  }
}

/// Before anything is drawn, since OpenGL would have to draw it to the end for each copy.
void Painter::copyTextures() const {
  const Material* last = nullptr;
  for (const auto* batches : {&m_List.opaque(), &m_List.transparent()})
    for (const Batch& batch : *batches) {
      const Material& material = materialOf(*batch.geometry);
      if (&material == std::exchange(last, &material)) continue;
      if (mp_Shader)
        BufferCache::fill(material);
      else if (material.texture && !batch.geometry->texCoords.empty())
        BufferCache::buffer(*material.texture);
    }
}

/// Makes one step of those that one call can draw, in their order: where the shader takes places from commands.
void Painter::join() {
  if (std::exchange(m_IsJoined, true) || !mp_Shader || !mp_Shader->isPlaced()) return;
  std::vector<Step> joined;
  for (Step& step : m_Steps) {
    const Batch& batch = *step.batch;
    if (!mayBeJoined(batch, m_List.ranges())) {
      joined.push_back(step);
      continue;
    }
    if (joined.empty() || joined.back().commandCount == 0 || !lookAlike(joined.back(), step)) {
      step.firstCommand = m_Commands.count();
      joined.push_back(step);
    }
    Step& last = joined.back();
    m_Commands.addPlace(batch.modelView);
    for (std::size_t i = 0; i < batch.rangeCount; ++i) {
      const DrawCommand command = batch.buffer->command(m_List.ranges()[batch.firstRange + i]);
      const bool isInstance = m_Commands.count() > last.firstCommand && m_Commands.repeats(command);
      isInstance ? m_Commands.repeat() : m_Commands.add(command);
    }
    last.commandCount = m_Commands.count() - last.firstCommand;
  }
  for (const Step& step : joined)
    if (!mp_Shader->canPlace(*step.batch->geometry, shadingOf(step), step.batch->clipped)) return;
  // What a table has one line for is drawn as fast without.
  for (Step& step : joined)
    if (step.commandCount == 1 && m_Commands.isSingle(step.firstCommand)) step.commandCount = 0;
  m_Steps = std::move(joined);
}

/// Whether the same must be set up for both.
bool Painter::lookAlike(const Step& a, const Step& b) const {
  const Batch &one = *a.batch, &other = *b.batch;
  const auto setting = [this](const Step& step) {
    const Batch& batch = *step.batch;
    return std::tuple(step.transparent, step.order, hiddenBy(step), mp_Still ? mp_Still->runOf(batch) : 0,
                      batch.geometry->kind, batch.geometry->transparent, batch.mirrored, batch.clipped,
                      batch.fine && !m_Bare, batch.width);
  };
  return setting(a) == setting(b) && one.buffer->sharesWith(*other.buffer) &&
         mp_Shader->lookAlike(materialOf(*one.geometry), materialOf(*other.geometry));
}

/// In ranges or commands.
std::size_t Painter::lengthOf(const Step& step) const {
  return step.commandCount > 0 ? step.commandCount : step.batch->rangeCount;
}

/// Clipping is left as it is where nothing is cut: it is off where drawing begins.
void Painter::setUpCut() {
  if (!m_List.cut()) return;
  const auto& [normal, distance] = *m_List.cut();
  const GLdouble kept[]{-normal[0], -normal[1], -normal[2], distance};
  load(GL_MODELVIEW, math::Matrix4());
  glClipPlane(GL_CLIP_PLANE0, kept);
}

void Painter::start() {
  mp_Current = nullptr;
  mp_Bound = nullptr;
  if (m_Bare && mp_Shader) (void)mp_Shader->beginDepths();
  if (m_Bare) glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
  join();
  setUpCut();
}

void Painter::draw(std::size_t indices) {
  start();
  std::size_t drawn = 0;
  while (!isDone() && drawn < indices) {
    const Step& step = m_Steps[m_Step];
    setUp(step);
    drawn += step.commandCount > 0 ? drawCommands(step, indices - drawn) : drawRanges(*step.batch, indices - drawn);
    if (m_Range < lengthOf(step)) continue;
    ++m_Step;
    m_Range = 0;
  }
  glDisable(GL_CLIP_PLANE0);
  if (!mp_Still) return;
  glDisable(GL_STENCIL_TEST);
  glDepthFunc(GL_LEQUAL);
}

void Painter::drawSamples(Kinds* known) {
  start();
  for (const Step& step : m_Steps) {
    const Geometry& geometry = *step.batch->geometry;
    const GLenum hidden = hiddenBy(step);
    if (!known->insert({geometry.kind, variantFor(step), hidden, step.order}).second) continue;
    setUp(step);
    if (step.commandCount > 0)
      m_Commands.draw(modeOf(geometry.kind), step.batch->buffer->indexType(), step.firstCommand, 1);
    else
      drawRange(*step.batch, m_List.ranges()[step.batch->firstRange]);
  }
  glDisable(GL_CLIP_PLANE0);
}

GLenum Painter::hiddenBy(const Step& step) const {
  if (step.hidden != GL_NONE) return step.hidden;
  return step.batch->cullBack || ((mp_Shader || m_Bare) && step.batch->isOneSided()) ? GL_BACK : GL_NONE;
}

SurfaceShader::Shading Painter::shadingOf(const Step& step) const {
  using Shading = SurfaceShader::Shading;
  if (!step.batch->fine) return Shading::PerPixel;
  return hiddenBy(step) == GL_BACK ? Shading::PerVertex : Shading::PerVertexOnBothSides;
}

unsigned Painter::variantFor(const Step& step) const {
  const Geometry& geometry = *step.batch->geometry;
  if (mp_Shader) return mp_Shader->variantFor(geometry, shadingOf(step), step.batch->clipped);
  const bool textured = materialOf(geometry).texture && !geometry.texCoords.empty();
  return unsigned(isLit(geometry)) | unsigned(textured) << 1 | unsigned(geometry.colors.empty()) << 2;
}

/// Of what moves all that lies before the rest is drawn, which is then its own, and again what lies as far away as
/// that, if it is later in the order.
void Painter::setUpOrder(const Step& step) const {
  if (!mp_Still) return;
  glDepthFunc(step.order == Order::Before ? GL_LESS : GL_LEQUAL);
  if (step.order == Order::Drawn) return glDisable(GL_STENCIL_TEST);
  glEnable(GL_STENCIL_TEST);
  glStencilFunc(step.order == Order::BeforeOrLater ? GL_GEQUAL : GL_ALWAYS, mp_Still->runOf(*step.batch), ~0u);
  glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
}

bool Painter::isSetUpFor(const Geometry& geometry) const {
  if (!mp_Current || mp_Shader) return false;
  return m_Bare ? !isMask(*mp_Current) && !isMask(geometry) : looksAlike(*mp_Current, geometry);
}

void Painter::setUpPlace(const Step& step) const {
  if (!mp_Shader || !mp_Shader->isPlaced())
    load(GL_MODELVIEW, step.batch->modelView);
  else if (step.commandCount == 0)
    DrawCommands::setPlace(step.batch->modelView);
}

void Painter::setUp(const Step& step) {
  const Batch& batch = *step.batch;
  setUpOrder(step);
  setUpPlace(step);
  glFrontFace(batch.mirrored ? GL_CW : GL_CCW);
  if (step.transparent) blend();
  const GLenum hidden = hiddenBy(step);
  if (hidden != GL_NONE) {
    glEnable(GL_CULL_FACE);
    glCullFace(hidden);
  } else {
    glDisable(GL_CULL_FACE);
  }
  batch.clipped ? glEnable(GL_CLIP_PLANE0) : glDisable(GL_CLIP_PLANE0);
  glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, batch.cullBack ? GL_FALSE : GL_TRUE);
  const SurfaceShader::Shading shading = shadingOf(step);
  if (batch.geometry == mp_Current && shading == m_CurrentShading && batch.clipped == m_CurrentClipped) return;
  const bool isSetUp = isSetUpFor(*batch.geometry);
  mp_Current = batch.geometry;
  m_CurrentShading = shading;
  m_CurrentClipped = batch.clipped;
  batch.buffer->bind(*batch.geometry, mp_Bound);
  if (mp_Shader)
    mp_Shader->use(*batch.geometry, shading, batch.clipped);
  else if (!isSetUp)
    m_Bare ? setUpBare(*batch.geometry) : setUpMaterial(*batch.geometry);
  glPointSize(batch.width);
  glLineWidth(batch.width);
}

void Painter::drawRange(const Batch& batch, const Range& range) const {
  const GLenum mode = modeOf(batch.geometry->kind);
  if (batch.geometry->kind == KindPoints) glPointSize(range.width > 0 ? range.width : batch.width);
  if (batch.chosen)
    batch.buffer->draw(mode, &m_List.chosen()[range.first], range.count);
  else if (range.vertexCount == 0)
    batch.buffer->draw(mode, &batch.coarse->indices[range.first], range.count);
  else
    batch.buffer->draw(mode, range);
}

std::size_t Painter::drawRanges(const Batch& batch, std::size_t indices) {
  std::size_t drawn = 0;
  for (; m_Range < batch.rangeCount && drawn < indices; ++m_Range) {
    const Range& range = m_List.ranges()[batch.firstRange + m_Range];
    drawRange(batch, range);
    drawn += range.count;
  }
  return drawn;
}

std::size_t Painter::drawCommands(const Step& step, std::size_t indices) {
  const std::size_t begin = m_Range;
  std::size_t drawn = 0;
  for (; m_Range < step.commandCount && drawn < indices; ++m_Range)
    drawn += m_Commands.indicesOf(step.firstCommand + m_Range);
  const Batch& batch = *step.batch;
  m_Commands.draw(modeOf(batch.geometry->kind), batch.buffer->indexType(), step.firstCommand + begin, m_Range - begin);
  return drawn;
}

}  // namespace nubo::scene
