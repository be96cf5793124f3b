#define NUBO_LOG_SOURCE "module_grab/videohandler"

#include "module_grab/videoframe.h"

#include <GL/glu.h>

#include <QIODevice>
#include <QImage>
#include <new>

#include "kernel/log/logger.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"
#include "picture/cleardrawing.h"

namespace nubo::grab {

namespace {

/// -1 also where a chunk in memory finds no more of it.
qint64 write(QIODevice& device, const char* data, qint64 size) {
  try {
    return device.write(data, size);
  } catch (const std::bad_alloc&) {
    return -1;
  }
}

}  // namespace

VideoFrame::VideoFrame(scene::SceneDrawer& drawer, int width, int height, const math::Matrix4& transform) {
  const util::YPointer<scene::SceneElement> root = gui::Viewer::getInstance()->getGlobalScene()->getRootNode();
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  glGetDoublev(GL_PROJECTION_MATRIX, m_Projection);
  glGetDoublev(GL_MODELVIEW_MATRIX, m_ModelView);

  picture::clearForDrawing(drawer, width, height);
  gluPerspective(FrameOpening, double(width) / height, scene::SceneDrawer::ZNEAR, scene::SceneDrawer::ZFAR);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glEnable(GL_LIGHT0);
  drawer.glDraw(root, nullptr, transform, 0.0, 65535, 7);
  glFlush();
}

VideoFrame::~VideoFrame() {
  glMatrixMode(GL_PROJECTION);
  glLoadMatrixd(m_Projection);
  glMatrixMode(GL_MODELVIEW);
  glLoadMatrixd(m_ModelView);
  glPopAttrib();
}

QString whyTooLarge(QSize frame, int largestTexture) {
  if (frame.width() <= largestTexture && frame.height() <= largestTexture) return QString();
  return QObject::tr("You can not grab videos with size %1 x %2 because your max. texture size is %3")
      .arg(frame.width())
      .arg(frame.height())
      .arg(largestTexture);
}

bool appendFrame(const QImage& picture, QIODevice& device) {
  if (picture.isNull()) {
    NUBO_LOG(log::Failure, "nubo::grab::VideoHandler::grabPicture", QObject::tr("Picture couldn't be grabbed by FBO"));
    return false;
  }
  const char* data = reinterpret_cast<const char*>(picture.constBits());
  qint64 left = picture.sizeInBytes();
  while (left > 0) {
    const qint64 written = write(device, data, left);
    if (written == -1) {
      NUBO_LOG(log::Failure, "nubo::grab::VideoHandler::grabPicture",
               QObject::tr("Couldn't write %1 bytes to temporary file").arg(left));
      return false;
    }
    data += written;
    left -= written;
  }
  return true;
}

}  // namespace nubo::grab
