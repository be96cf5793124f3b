// Draws what a list holds.
#pragma once

#include <QOpenGLFunctions>
#include <cstddef>
#include <set>
#include <tuple>
#include <vector>

#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/surfaceshader.h"

namespace nubo::scene {

/// Draws batches one after the other, changing only the state that differs. On the thread of the current context; the
/// list stays as it is meanwhile.
class Painter {
 public:
  enum Purpose { ForDepth };

  /// Without a shader, which may be null, light and materials are fixed-function. It lives as long as the painter.
  Painter(const DrawList& list, SurfaceShader* shader) : Painter(list, shader, false) {}
  /// Draws the depths of what is opaque, without a program and no colours.
  Painter(const DrawList& list, Purpose) : Painter(list, nullptr, true) {}

  /// Kinds of drawing for which a driver must make itself ready: what is drawn, with what, and what is left out of it.
  using Kinds = std::set<std::tuple<Kind, unsigned, GLenum>>;

  bool isDone() const { return m_Step == m_Steps.size(); }
  /// Draws on, from the state that all drawing starts from, until about so many indices are drawn.
  void draw(std::size_t indices);
  /// Draws a little of each kind that is not in `known`, and adds it there.
  void drawSamples(Kinds* known);

 private:
  struct Step {
    const Batch* batch;
    bool transparent;
    GLenum hidden;
  };

  Painter(const DrawList& list, SurfaceShader* shader, bool bare);
  GLenum hiddenBy(const Step& step) const;
  SurfaceShader::Shading shadingOf(const Step& step) const;
  unsigned variantFor(const Step& step) const;
  void copyTextures() const;
  void setUpCut();
  void setUp(const Step& step);
  void drawRange(const Batch& batch, const Range& range) const;
  std::size_t drawRanges(const Batch& batch, std::size_t indices);

  const DrawList& m_List;
  SurfaceShader* const mp_Shader;
  const bool m_Bare;  // without light and colours
  std::vector<Step> m_Steps;
  std::size_t m_Step = 0, m_Range = 0;  // the next
  const Geometry* mp_Current = nullptr;
  SurfaceShader::Shading m_CurrentShading{};
  bool m_CurrentClipped = false;
};

}  // namespace nubo::scene
