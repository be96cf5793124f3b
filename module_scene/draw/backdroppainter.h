// Backgrounds that are more than a colour, behind what is drawn.
#pragma once

#include <optional>

#include "module_scene/graph/background.h"

namespace nubo::scene {

/// Keeps the pixels of the last view, since most are of the same size.
class BackdropPainter {
 public:
  /// Fills the colours of the bound framebuffer's lower left part; alpha and depths stay. Changes OpenGL's state.
  /// False: the background is but a colour, and nothing was drawn.
  bool draw(const Background& background, const QSize& size);

 private:
  /// What the pixels depend on.
  struct Key {
    QRgb color, top;
    qint64 image;
    QSize size;
    bool operator==(const Key& o) const {
      return color == o.color && top == o.top && image == o.image && size == o.size;
    }
  };
  std::optional<Key> m_Key;
  QImage m_Pixels;  ///< from below upwards
};

}  // namespace nubo::scene
