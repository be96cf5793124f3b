#include "module_scene/draw/drawcommands.h"

#include <QOpenGLFunctions_4_3_Compatibility>
#include <algorithm>
#include <cmath>

#include "module_scene/draw/drawingstate.h"

namespace nubo::scene {

namespace {

/// Null where OpenGL is older.
QOpenGLFunctions_4_3_Compatibility* laterFunctions() {
  return QOpenGLContext::currentContext()->versionFunctions<QOpenGLFunctions_4_3_Compatibility>();
}

const void* at(std::size_t bytes) { return reinterpret_cast<const void*>(bytes); }

/// By the inverse, transposed, but for its size, which light does not depend on. What is flat has a normal, too.
math::Matrix4 normalMatrix(const math::Matrix4& modelView) {
  math::Matrix4 result = math::cofactors(modelView);
  double largest = 0;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) largest = std::max(largest, std::abs(result(i, j)));
  if (largest == 0) return math::Matrix4();
  const double factor = (math::determinant(modelView) < 0 ? -1 : 1) / largest;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) result(i, j) *= factor;
  return result;
}

}  // namespace

bool DrawCommands::areAvailable() { return !isSoftware() && laterFunctions(); }

DrawCommands::Place DrawCommands::placeOf(const math::Matrix4& modelView) {
  Place place{};
  const math::Matrix4 normals = normalMatrix(modelView);
  for (int row = 0; row < int(Rows); ++row) {
    for (int column = 0; column < 4; ++column) place.toEye[row][column] = GLfloat(modelView(row, column));
    for (int column = 0; column < 3; ++column) place.normalToEye[column][row] = GLfloat(normals(row, column));
  }
  return place;
}

void DrawCommands::setPlace(const math::Matrix4& modelView) {
  const Place place = placeOf(modelView);
  for (GLuint i = 0; i < Rows; ++i) {
    functions()->glVertexAttrib4fv(ToEye + i, place.toEye[i].data());
    functions()->glVertexAttrib3fv(NormalToEye + i, place.normalToEye[i].data());
  }
}

std::size_t DrawCommands::indicesOf(std::size_t command) const {
  return std::size_t(m_Commands[command].count) * m_Commands[command].instances;
}

void DrawCommands::add(const DrawCommand& range) {
  m_Commands.push_back({range.count, 1, range.firstIndex, range.firstVertex, GLuint(m_Places.size() - 1)});
}

bool DrawCommands::repeats(const DrawCommand& range) const {
  const DrawCommand& last = m_Commands.back();
  // One command is drawn in one go, however long that takes.
  constexpr std::size_t MostIndices = 1 << 18;
  if (indicesOf(m_Commands.size() - 1) >= MostIndices) return false;
  return last.count == range.count && last.firstIndex == range.firstIndex && last.firstVertex == range.firstVertex;
}

/// Once, before the first of them is drawn.
void DrawCommands::copy() {
  if (m_Buffer.isUsable()) return;
  m_Buffer = SharedName::buffer();
  const std::size_t places = m_Places.size() * sizeof(Place), commands = m_Commands.size() * sizeof(DrawCommand);
  QOpenGLFunctions_2_0* gl = functions();
  gl->glBindBuffer(GL_ARRAY_BUFFER, m_Buffer.name());
  gl->glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(places + commands), nullptr, GL_STREAM_DRAW);
  gl->glBufferSubData(GL_ARRAY_BUFFER, 0, GLsizeiptr(places), m_Places.data());
  gl->glBufferSubData(GL_ARRAY_BUFFER, GLintptr(places), GLsizeiptr(commands), m_Commands.data());
}

void DrawCommands::draw(GLenum mode, GLenum indexType, std::size_t first, std::size_t count) {
  copy();
  QOpenGLFunctions_4_3_Compatibility* gl = laterFunctions();
  gl->glBindBuffer(GL_ARRAY_BUFFER, m_Buffer.name());
  gl->glBindBuffer(GL_DRAW_INDIRECT_BUFFER, m_Buffer.name());
  const auto point = [gl](GLuint location, GLint values, std::size_t offset) {
    gl->glEnableVertexAttribArray(location);
    gl->glVertexAttribDivisor(location, 1);
    gl->glVertexAttribPointer(location, values, GL_FLOAT, GL_FALSE, sizeof(Place), at(offset));
  };
  for (GLuint i = 0; i < Rows; ++i) {
    point(ToEye + i, 4, offsetof(Place, toEye) + i * sizeof(Place::toEye[0]));
    point(NormalToEye + i, 3, offsetof(Place, normalToEye) + i * sizeof(Place::normalToEye[0]));
  }
  gl->glMultiDrawElementsIndirect(mode, indexType, at(m_Places.size() * sizeof(Place) + first * sizeof(DrawCommand)),
                                  GLsizei(count), 0);
  for (GLuint i = 0; i < 2 * Rows; ++i) {
    gl->glVertexAttribDivisor(ToEye + i, 0);
    gl->glDisableVertexAttribArray(ToEye + i);
  }
  gl->glBindBuffer(GL_DRAW_INDIRECT_BUFFER, 0);
}

}  // namespace nubo::scene
