// Draws one frame of a video and writes it raw.
#pragma once

#include <QSize>
#include <QString>

#include "module_grab/visibility.h"
#include "module_scene/math/matrix.h"

QT_BEGIN_NAMESPACE
class QImage;
class QIODevice;
QT_END_NAMESPACE

namespace nubo::scene {
class SceneDrawer;
}

namespace nubo::grab {

/// The vertical angle in degrees that a frame shows.
constexpr double FrameOpening = 45.0;

/// Draws the global scene, as a panel with this view transform shows it, into the bound framebuffer of this size in
/// pixels. The current context's fixed-function state and matrices are as they were once this is destroyed. The caller
/// holds the scene's lock.
class VideoFrame {
 public:
  VideoFrame(scene::SceneDrawer& drawer, int width, int height, const math::Matrix4& transform);
  ~VideoFrame();
  VideoFrame(const VideoFrame&) = delete;
  VideoFrame& operator=(const VideoFrame&) = delete;

 private:
  double m_Projection[16];
  double m_ModelView[16];
};

/// Empty, or why frames of this size in pixels cannot be drawn where OpenGL's textures have at most so many a side.
QString whyTooLarge(QSize frame, int largestTexture);

/// Appends the picture to the device as a raw frame. False, with the reason in the log, if the frame or its rest is
/// missing.
[[nodiscard]] NUBO_MODULE_GRAB_EXPORT bool appendFrame(const QImage& picture, QIODevice& device);

}  // namespace nubo::grab
