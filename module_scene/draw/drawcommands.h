// Has OpenGL draw many parts by one call.
#pragma once

#include <QOpenGLFunctions>
#include <array>
#include <cstddef>
#include <vector>

#include "module_scene/draw/shaderprogram.h"
#include "module_scene/draw/sharedname.h"
#include "module_scene/math/matrix.h"

namespace nubo::scene {

/// A range of a buffer's indices, and the places of what it draws, as OpenGL reads it.
struct DrawCommand {
  GLuint count, instances, firstIndex;
  GLint firstVertex;
  GLuint firstInstance;
};

/// A table of commands and one of the places where they draw, for programs whose vertex shaders take the place from
/// attributes() and not from OpenGL's matrix: what is drawn alone and what is drawn together is then rounded alike.
/// Used with one context at a time; may be destroyed without one.
class DrawCommands {
 public:
  /// Whether the current context can. Software need not: it draws as fast by calls, and reads vertices where the
  /// geometries have them.
  static bool areAvailable();
  /// `toEye`, three columns that are the upper rows of the matrix, and `normalToEye`, which turns normals.
  static std::vector<Attribute> attributes() { return {{ToEye, "toEye"}, {NormalToEye, "normalToEye"}}; }
  /// Has what is drawn by other calls be drawn at a place.
  static void setPlace(const math::Matrix4& modelView);

  std::size_t count() const { return m_Commands.size(); }
  /// Of the indices that a command draws, all its places together.
  std::size_t indicesOf(std::size_t command) const;
  bool isSingle(std::size_t command) const { return m_Commands[command].instances == 1; }
  /// Makes a place, at which what is added next is drawn.
  void addPlace(const math::Matrix4& modelView) { m_Places.push_back(placeOf(modelView)); }
  /// A range, of which count, firstIndex and firstVertex are read.
  void add(const DrawCommand& range);
  /// Whether the last command draws this range, and in so few places that another may be added.
  bool repeats(const DrawCommand& range) const;
  /// Has the last command draw at the new place, too.
  void repeat() { ++m_Commands.back().instances; }
  /// Draws some of them by one call, with the buffer that is bound for indices.
  void draw(GLenum mode, GLenum indexType, std::size_t first, std::size_t count);

 private:
  // Some drivers have these stand for texture coordinates that are not in use here.
  static constexpr GLuint ToEye = 10, NormalToEye = 13, Rows = 3;
  struct Place {
    std::array<std::array<GLfloat, 4>, Rows> toEye;
    std::array<std::array<GLfloat, 3>, Rows> normalToEye;
  };
  static Place placeOf(const math::Matrix4& modelView);
  void copy();

  std::vector<DrawCommand> m_Commands;
  std::vector<Place> m_Places;
  SharedName m_Buffer;  // of the places, and the commands behind them
};

}  // namespace nubo::scene
