#include "module_scene/draw/backdroppainter.h"

#include "module_scene/draw/drawingstate.h"

namespace nubo::scene {

bool BackdropPainter::draw(const Background& background, const QSize& size) {
  if (background.isPlain()) return false;
  const Key key{background.color.rgb(), background.top.rgb(), background.image.cacheKey(), size};
  if (!(m_Key == key)) {
    m_Pixels = Backdrop(background, size).part(QRect(QPoint(), size)).mirrored();
    m_Key = key;
  }
  setUpState();
  for (const GLenum mode : {GL_PROJECTION, GL_MODELVIEW}) load(mode, math::Matrix4());
  for (const GLenum test : {GL_DEPTH_TEST, GL_LIGHTING, GL_BLEND, GL_TEXTURE_2D, GL_SCISSOR_TEST}) glDisable(test);
  glViewport(0, 0, size.width(), size.height());
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);
  glDepthMask(GL_FALSE);
  glRasterPos2f(-1, -1);
  glDrawPixels(size.width(), size.height(), GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, m_Pixels.constBits());
  return true;
}

}  // namespace nubo::scene
