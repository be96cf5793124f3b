// Draws what a list holds.
#pragma once

#include <QOpenGLFunctions>
#include <cstddef>
#include <set>
#include <tuple>
#include <vector>

#include "module_scene/draw/drawcommands.h"
#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/stillparts.h"
#include "module_scene/draw/surfaceshader.h"

namespace nubo::scene {

/// Draws batches one after the other, changing only the state that differs. On the thread of the current context; the
/// list stays as it is meanwhile.
class Painter {
 public:
  enum Purpose { ForDepth };

  enum class Share { All, Still, Moving };

  /// Without a shader, which may be null, light and materials are fixed-function. It lives as long as the painter.
  Painter(const DrawList& list, SurfaceShader* shader) : Painter(list, shader, false, nullptr, Share::All) {}
  /// Draws the share of them, into a buffer with a stencil that has been cleared: first what stands still, then, over
  /// it, what moves and all that is transparent. Together they give what All gives.
  Painter(const DrawList& list, SurfaceShader* shader, const StillParts& still, Share share)
      : Painter(list, shader, false, &still, share) {}
  /// Draws the depths of what is opaque and no colours, with the shader only where that draws many parts at once.
  Painter(const DrawList& list, Purpose, SurfaceShader& shader)
      : Painter(list, shader.beginDepths() ? &shader : nullptr, true, nullptr, Share::All) {}

  /// What shows where depths are equal: what is drawn later, or what is later by the marks that are left in the
  /// stencil.
  enum class Order { Drawn, Marked, Before, BeforeOrLater };
  /// Kinds of drawing for which a driver must make itself ready: what is drawn, with what, what is left out of it, and
  /// how it is ordered.
  using Kinds = std::set<std::tuple<Kind, unsigned, GLenum, Order>>;

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
    Order order = Order::Drawn;
    std::size_t firstCommand = 0, commandCount = 0;  ///< of what is drawn together; else there are none
  };

  Painter(const DrawList& list, SurfaceShader* shader, bool bare, const StillParts* still, Share share);
  void start();
  void join();
  bool lookAlike(const Step& a, const Step& b) const;
  std::size_t lengthOf(const Step& step) const;
  void setUpOrder(const Step& step) const;
  GLenum hiddenBy(const Step& step) const;
  SurfaceShader::Shading shadingOf(const Step& step) const;
  unsigned variantFor(const Step& step) const;
  void copyTextures() const;
  void setUpCut();
  bool isSetUpFor(const Geometry& geometry) const;
  void setUp(const Step& step);
  void setUpPlace(const Step& step) const;
  void drawRange(const Batch& batch, const Range& range) const;
  std::size_t drawRanges(const Batch& batch, std::size_t indices);
  std::size_t drawCommands(const Step& step, std::size_t indices);

  const DrawList& m_List;
  SurfaceShader* const mp_Shader;
  const bool m_Bare;  // without light and colours
  const StillParts* const mp_Still;
  std::vector<Step> m_Steps;
  bool m_IsJoined = false;
  DrawCommands m_Commands;
  std::size_t m_Step = 0, m_Range = 0;  // the next, of ranges or commands
  const Geometry* mp_Current = nullptr;
  const VertexStore* mp_Bound = nullptr;
  SurfaceShader::Shading m_CurrentShading{};
  bool m_CurrentClipped = false;
};

}  // namespace nubo::scene
