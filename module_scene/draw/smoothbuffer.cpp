#include "module_scene/draw/smoothbuffer.h"

#include <QOpenGLExtraFunctions>
#include <algorithm>

#include "module_scene/draw/drawingstate.h"
#include "module_scene/draw/shaderprogram.h"

namespace nubo::scene {

namespace {

const char* const VertexShader = R"(#version 120
void main() { gl_Position = gl_Vertex; }
)";

// Each fragment reads the pixels that lie under it, so nothing is interpolated. The background's alpha says
// whether edges blend into it. Means of samples are rounded as OpenGL rounds those that it takes itself.
const char* const FragmentShader = R"(
uniform vec2 offset;
uniform vec2 scale;
uniform vec4 background;
#if SAMPLES > 0
uniform sampler2DMS source;
vec4 pixelAt(vec2 place) {
  vec4 sum = vec4(0.0);
  for (int i = 0; i < SAMPLES; ++i) sum += texelFetch(source, ivec2(place), i);
  return roundEven(sum * (1.0 / float(SAMPLES)) * 255.0) * (1.0 / 255.0);
}
#else
uniform sampler2D source;
vec4 pixelAt(vec2 place) { return texture2D(source, (place + 0.5) * scale); }
#endif
void main() {
  vec2 first = floor(gl_FragCoord.xy) * float(FINENESS) + offset;
  vec4 pixel = vec4(0.0);
  for (int x = 0; x < FINENESS; ++x)
    for (int y = 0; y < FINENESS; ++y) pixel += pixelAt(first + vec2(x, y));
  pixel /= float(FINENESS * FINENESS);
  if (pixel.a == 0.0) discard;
  vec3 color = background.a > 0.0 ? pixel.rgb + (1.0 - pixel.a) * background.rgb : pixel.rgb / pixel.a;
  gl_FragColor = vec4(color, pixel.a);
}
)";

QByteArray fragmentShader(int fineness, int samples) {
  return QByteArray(samples ? "#version 130\n#extension GL_ARB_texture_multisample : require" : "#version 120") +
         "\n#define FINENESS " + QByteArray::number(fineness) + "\n#define SAMPLES " + QByteArray::number(samples) +
         FragmentShader;
}

QOpenGLExtraFunctions* extraFunctions() { return QOpenGLContext::currentContext()->extraFunctions(); }

int limitOf(GLenum name) {
  GLint limit = 0;
  glGetIntegerv(name, &limit);
  return limit;
}

int boundedSamples(int samples) { return std::clamp(samples, 0, limitOf(GL_MAX_SAMPLES)); }

SharedName makeRenderbuffer(int samples, GLenum format, int width, int height) {
  SharedName result = SharedName::renderbuffer();
  extraFunctions()->glBindRenderbuffer(GL_RENDERBUFFER, result.name());
  extraFunctions()->glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
  return result;
}

SharedName makeTexture(int width, int height) {
  SharedName result = SharedName::texture();
  extraFunctions()->glBindTexture(GL_TEXTURE_2D, result.name());
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  return result;
}

using MakeSamples = void (*)(GLenum, GLsizei, GLenum, GLsizei, GLsizei, GLboolean);

/// What makes textures of several samples where a program is to read these, and null where it is not. Software takes a
/// pixel's mean by a program, too, and each pass takes it as long as any other.
MakeSamples makerOfSamples() {
  QOpenGLContext* context = QOpenGLContext::currentContext();
  if (!isSoftware() || !context->hasExtension("GL_ARB_texture_multisample")) return nullptr;
  return reinterpret_cast<MakeSamples>(context->getProcAddress("glTexImage2DMultisample"));
}

SharedName makeSampleTexture(MakeSamples make, int samples, int width, int height) {
  SharedName result = SharedName::texture();
  extraFunctions()->glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, result.name());
  make(GL_TEXTURE_2D_MULTISAMPLE, samples, GL_RGBA8, width, height, GL_TRUE);
  return result;
}

}  // namespace

int SmoothBuffer::fineness(int width, int height, int samples) {
  constexpr int Finest = 4;
  constexpr int RoomForMargins = 1024;
  const int own = std::max(1, boundedSamples(samples));
  const int most = limitOf(GL_MAX_RENDERBUFFER_SIZE) - RoomForMargins;
  int result = 1;
  while (result < Finest && result * result * own < samples && (result + 1) * std::max(width, height) <= most) ++result;
  return result;
}

bool SmoothBuffer::begin(int width, int height, int fineness, int margin, int samples) {
  if (!set(width, height, fineness, margin, boundedSamples(samples))) return false;
  const int allWidth = fineness * width + 2 * margin, allHeight = fineness * height + 2 * margin;
  glViewport(0, 0, allWidth, allHeight);
  // Only the part in use is cleared.
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, 0, allWidth, allHeight);
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
  return true;
}

bool SmoothBuffer::begin(int width, int height, int fineness, int margin, const std::uint32_t* pixels) {
  if (!set(width, height, fineness, margin, 0)) return false;
  extraFunctions()->glBindTexture(GL_TEXTURE_2D, m_Resolved.name());
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, fineness * width + 2 * margin, fineness * height + 2 * margin, GL_RGBA,
                  GL_UNSIGNED_BYTE, pixels);
  return true;
}

bool SmoothBuffer::set(int width, int height, int fineness, int margin, int samples) {
  m_Width = width;
  m_Height = height;
  m_Margin = margin;
  // Of finer pixels means are taken once more, and a program that takes both at once rounds them otherwise.
  reserve(fineness * width + 2 * margin, fineness * height + 2 * margin, samples, fineness == 1);
  const bool isReady = createProgram(fineness) && attach();
  if (!isReady) suspend();
  return isReady;
}

void SmoothBuffer::suspend() {
  m_SamplewiseFramebuffer.reset();
  m_ResolvedFramebuffer.reset();
}

void SmoothBuffer::resume() {
  attach();
  glViewport(0, 0, m_Fineness * m_Width + 2 * m_Margin, m_Fineness * m_Height + 2 * m_Margin);
}

void SmoothBuffer::reserve(int width, int height, int samples, bool mayBeRead) {
  const MakeSamples make = samples && mayBeRead ? makerOfSamples() : nullptr;
  const bool usable = m_Resolved.isUsable() && m_Depth.isUsable() && samples == m_Samples && !make == !m_SamplesRead;
  if (usable && width <= m_Capacity[0] && height <= m_Capacity[1]) return;
  if (usable) {
    width = std::max(width, m_Capacity[0]);
    height = std::max(height, m_Capacity[1]);
  }
  GLint bound = 0;
  glGetIntegerv(GL_RENDERBUFFER_BINDING, &bound);
  m_Resolved = makeTexture(width, height);
  m_Samplewise = make      ? makeSampleTexture(make, samples, width, height)
                 : samples ? makeRenderbuffer(samples, GL_RGBA8, width, height)
                           : SharedName();
  m_SamplesRead = 0;
  // Which may be more than were asked for.
  if (make) glGetTexLevelParameteriv(GL_TEXTURE_2D_MULTISAMPLE, 0, GL_TEXTURE_SAMPLES, &m_SamplesRead);
  m_Depth = makeRenderbuffer(samples, GL_DEPTH24_STENCIL8, width, height);
  extraFunctions()->glBindRenderbuffer(GL_RENDERBUFFER, GLuint(bound));
  m_Capacity = {width, height};
  m_Samples = samples;
}

std::vector<std::array<float, 2>> SmoothBuffer::samplePlaces() const {
  GLint count = 0;
  glGetIntegerv(GL_SAMPLES, &count);
  std::vector<std::array<float, 2>> places{std::size_t(count)};
  for (GLuint i = 0; i < places.size(); ++i)
    extraFunctions()->glGetMultisamplefv(GL_SAMPLE_POSITION, i, places[i].data());
  return places;
}

bool SmoothBuffer::attach() {
  QOpenGLExtraFunctions* gl = extraFunctions();
  m_ResolvedFramebuffer.emplace();
  gl->glBindFramebuffer(GL_FRAMEBUFFER, m_ResolvedFramebuffer->name());
  gl->glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_Resolved.name(), 0);
  if (m_Samples) {
    m_SamplewiseFramebuffer.emplace();
    gl->glBindFramebuffer(GL_FRAMEBUFFER, m_SamplewiseFramebuffer->name());
    if (m_SamplesRead)
      gl->glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D_MULTISAMPLE, m_Samplewise.name(),
                                 0);
    else
      gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, m_Samplewise.name());
  }
  gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, m_Depth.name());
  return gl->glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

bool SmoothBuffer::createProgram(int fineness) {
  const std::array<int, 2> subject{fineness, m_SamplesRead};
  if (m_Program.isUsable() && m_ProgramFor == subject) return true;
  m_Fineness = fineness;
  m_ProgramFor = subject;
  m_Program = linkProgram(VertexShader, fragmentShader(fineness, m_SamplesRead));
  if (!m_Program.name()) return false;
  QOpenGLFunctions* gl = extraFunctions();
  m_OffsetLocation = gl->glGetUniformLocation(m_Program.name(), "offset");
  m_ScaleLocation = gl->glGetUniformLocation(m_Program.name(), "scale");
  m_BackgroundLocation = gl->glGetUniformLocation(m_Program.name(), "background");
  return true;
}

void SmoothBuffer::keep() {
  GLint bound = 0;
  glGetIntegerv(GL_RENDERBUFFER_BINDING, &bound);
  m_KeptExtent = extent();
  const auto [width, height, samples] = m_KeptExtent;
  m_KeptColor = makeRenderbuffer(samples, GL_RGBA8, width, height);
  m_KeptDepth = makeRenderbuffer(samples, GL_DEPTH24_STENCIL8, width, height);
  extraFunctions()->glBindRenderbuffer(GL_RENDERBUFFER, GLuint(bound));
  copy(true);
}

void SmoothBuffer::dropKept() {
  m_KeptColor.reset();
  m_KeptDepth.reset();
}

bool SmoothBuffer::hasKept() const {
  return m_KeptColor.isUsable() && m_KeptDepth.isUsable() && m_KeptExtent == extent();
}

void SmoothBuffer::bringBack() { copy(false); }

void SmoothBuffer::copy(bool toKept) {
  QOpenGLExtraFunctions* gl = extraFunctions();
  const Framebuffer kept;
  gl->glBindFramebuffer(GL_FRAMEBUFFER, kept.name());
  gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, m_KeptColor.name());
  gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, m_KeptDepth.name());
  gl->glBindFramebuffer(toKept ? GL_READ_FRAMEBUFFER : GL_DRAW_FRAMEBUFFER, drawn());
  const auto [width, height, samples] = m_KeptExtent;
  gl->glBlitFramebuffer(0, 0, width, height, 0, 0, width, height,
                        GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT, GL_NEAREST);
  gl->glBindFramebuffer(GL_FRAMEBUFFER, drawn());
}

void SmoothBuffer::finish(GLuint framebuffer, const QColor& background, Edges edges, int first, int rows) {
  QOpenGLExtraFunctions* gl = extraFunctions();
  const int end = std::min(first + rows, m_Height);
  if (m_Samples && !m_SamplesRead) {
    const int left = m_Margin, right = m_Margin + m_Fineness * m_Width;
    const int bottom = m_Margin + m_Fineness * first, top = m_Margin + m_Fineness * end;
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, m_SamplewiseFramebuffer->name());
    gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_ResolvedFramebuffer->name());
    gl->glBlitFramebuffer(left, bottom, right, top, left, bottom, right, top, GL_COLOR_BUFFER_BIT, GL_NEAREST);
  }
  gl->glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  suspend();

  glViewport(0, 0, m_Width, m_Height);
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, first, m_Width, end - first);
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_BLEND);
  if (edges == Edges::BlendOver) {
    glEnable(GL_BLEND);
    gl->glBlendEquation(GL_FUNC_ADD);
    gl->glBlendFuncSeparate(GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ZERO);
  }
  glDisable(GL_CULL_FACE);
  glDisable(GL_LIGHTING);
  gl->glActiveTexture(GL_TEXTURE0);
  gl->glBindTexture(m_SamplesRead ? GL_TEXTURE_2D_MULTISAMPLE : GL_TEXTURE_2D,
                    (m_SamplesRead ? m_Samplewise : m_Resolved).name());
  gl->glUseProgram(m_Program.name());
  gl->glUniform2f(m_OffsetLocation, GLfloat(m_Margin), GLfloat(m_Margin));
  gl->glUniform2f(m_ScaleLocation, 1.0f / GLfloat(m_Capacity[0]), 1.0f / GLfloat(m_Capacity[1]));
  // Colours are premultiplied, so that over what is drawn they are added as they are.
  const QColor under = edges == Edges::BlendOver ? QColor(Qt::black) : background;
  gl->glUniform4f(m_BackgroundLocation, GLfloat(under.redF()), GLfloat(under.greenF()), GLfloat(under.blueF()),
                  edges == Edges::KeepColor ? 0.0f : 1.0f);
  glRectf(-1, -1, 1, 1);
}

}  // namespace nubo::scene
