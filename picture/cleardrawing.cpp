#include "picture/cleardrawing.h"

#include <QOpenGLFunctions>

#include "module_scene/draw/scenedrawer.h"

namespace nubo::picture {

void clearForDrawing(scene::SceneDrawer& drawer, int width, int height) {
  const QColor background = drawer.getBackgroundColor();
  glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0.0f);
  glShadeModel(GL_SMOOTH);
  glEnable(GL_DEPTH_TEST);
  glEnable(GL_LIGHTING);
  glEnable(GL_COLOR_MATERIAL);
  drawer.resize(width, height);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
}

}  // namespace nubo::picture
