// Where a drawer draws what must be finished before its caller may have it.
#pragma once

#include <QColor>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "module_scene/draw/framebuffer.h"
#include "module_scene/draw/sharedname.h"

namespace nubo::scene {

/// An off-screen buffer with premultiplied colours, cleared to nothing, that is larger than the area to
/// be drawn by a margin on each side and may hold several samples per pixel. Its pixels may be finer than the caller's,
/// which have the means of them: so edges are smoother than OpenGL's samples make them. finish() brings its inner part
/// into the caller's framebuffer. Keeps its memory, which fits all areas up to the largest so far.
///
/// Used with one context at a time, between begin() and finish() with the same; may be destroyed without
/// one.
class SmoothBuffer {
 public:
  /// How finish() treats pixels that are not fully covered.
  enum class Edges {
    KeepColor,  ///< the object's own colour; untouched where there is nothing
    Blend,      ///< over the background colour
    BlendOver   ///< over what is drawn there
  };

  /// How many of its pixels on each axis one of an area of that size must have, for so many samples in it; as far as
  /// OpenGL can hold them.
  static int fineness(int width, int height, int samples);
  /// Binds a cleared buffer, with a stencil, and sets the viewport to `width` x `height` pixels, each of fineness x
  /// fineness of its own, with `margin` more of these on each side. `samples`, of the caller's pixels, are bounded by
  /// what OpenGL can do. False if OpenGL cannot: the framebuffer that was bound must then be bound anew.
  [[nodiscard]] bool begin(int width, int height, int fineness, int margin, int samples);
  /// Begins with what was drawn without OpenGL: `pixels` of the area and its margin, of premultiplied colours, from the
  /// lower left one on. False as above.
  [[nodiscard]] bool begin(int width, int height, int fineness, int margin, const std::uint32_t* pixels);
  /// Whether OpenGL can do what it takes, as far as that does not depend on sizes.
  [[nodiscard]] bool isAvailable(int fineness) { return createProgram(fineness); }
  /// Where the samples of the buffer's pixels are, between its lower left corner and (1, 1), if it has several.
  std::vector<std::array<float, 2>> samplePlaces() const;
  /// To be called before another context may become current, or none, between begin() and finish().
  void suspend();
  /// Binds the buffer again, as begin() and the drawing since then left it.
  void resume();
  /// Keeps what is drawn so far, beside the buffer, which stays bound.
  void keep();
  void dropKept();
  /// Whether what is kept has the size and the samples of the buffer that was begun.
  bool hasKept() const;
  /// Has the buffer, which is bound, be again as it was when keep() was called.
  void bringBack();
  /// Writes `rows` rows of colours with straight alpha into `framebuffer`, which is bound afterwards, from the row
  /// `first` on, counted from below; those beyond the area are left out. Changes attributes, matrices and the program.
  /// For more rows resume() comes first.
  void finish(GLuint framebuffer, const QColor& background, Edges edges, int first, int rows);

 private:
  [[nodiscard]] bool set(int width, int height, int fineness, int margin, int samples);
  void reserve(int width, int height, int samples, bool mayBeRead);
  [[nodiscard]] bool createProgram(int fineness);
  bool attach();
  void copy(bool toKept);
  GLuint drawn() const { return (m_Samples ? m_SamplewiseFramebuffer : m_ResolvedFramebuffer)->name(); }
  std::array<int, 3> extent() const {
    return {m_Fineness * m_Width + 2 * m_Margin, m_Fineness * m_Height + 2 * m_Margin, m_Samples};
  }

  std::array<int, 2> m_Capacity{0, 0};
  int m_Samples = 0;
  int m_SamplesRead = 0;                // of a pixel, by the program itself; 0: OpenGL takes means of them before
  SharedName m_Resolved;                // texture: one colour per pixel
  SharedName m_Samplewise;              // renderbuffer or texture: all samples' colours, if there are several
  SharedName m_Depth;                   // renderbuffer
  SharedName m_KeptColor, m_KeptDepth;  // renderbuffers of what is kept
  std::array<int, 3> m_KeptExtent{};
  SharedName m_Program;
  std::array<int, 2> m_ProgramFor{};  // m_Fineness and m_SamplesRead
  GLint m_OffsetLocation = 0, m_ScaleLocation = 0, m_BackgroundLocation = 0;

  int m_Width = 0, m_Height = 0, m_Fineness = 0, m_Margin = 0;
  std::optional<Framebuffer> m_ResolvedFramebuffer, m_SamplewiseFramebuffer;
};

}  // namespace nubo::scene
