// Records one scene panel into one video file.
#pragma once

#include <QMutex>
#include <QObject>
#include <QSize>
#include <QString>
#include <QThread>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "module_grab/frameflow.h"
#include "module_grab/video/encoder.h"
#include "module_grab/visibility.h"
#include "module_scene/math/matrix.h"

QT_BEGIN_NAMESPACE
class QIODevice;
class QOffscreenSurface;
class QOpenGLContext;
class QOpenGLFramebufferObject;
QT_END_NAMESPACE

namespace nubo::gui {
class ScenePanel;
}
namespace nubo::scene {
class SceneDrawer;
}

namespace nubo::grab {

class OutputClaim;

/// Serves one recording: start it, wait for grabbingFinished() (or a reason of one's own to end it), then
/// finish() or cancel() it and delete the handler. All of that on one thread, usually a command thread; while
/// that is not the application thread, the application thread must be serving its delegates.
///
/// OpenGL objects are made and released on the application thread. In between they belong to the grabbing
/// thread, where the context is current only within a frame. The panel is only touched on the application
/// thread, which hands its transform over whenever it changes, so that a frame never waits for that thread and
/// the panel can be destroyed at any time.
class NUBO_MODULE_GRAB_EXPORT VideoHandler : public QObject, private FrameFlow {
  Q_OBJECT
 public:
  VideoHandler();
  /// Ends a recording that is still going on as cancel() does.
  ~VideoHandler() override;

  /// Starts to record at a fixed pace. Sizes are in pixels; if one of them is 0, both are the panel's; odd ones
  /// grow by one. False, with the reason in the log, if it cannot start, also because another recording, of this
  /// program or another, is writing the file.
  bool start(const QString& fileName, int width, int height, gui::ScenePanel* panel);
  /// As start(), one frame for each step of the selected trajectory from the current one on.
  bool startSynced(const QString& fileName, int width, int height, gui::ScenePanel* panel);
  /// Calls `observer` with the numbers of frames grabbed and encoded so far, on the grabbing thread and on the
  /// encoder's, where it may take its time: no lock is held. Before the start.
  void observeFrames(std::function<void(int grabbed, int encoded)> observer) { m_FrameObserver = std::move(observer); }
  /// Calls `observer` with the first frame, on the grabbing thread. Before the start.
  void observeFirstFrame(std::function<void(const QImage&)> observer) { m_FirstObserver = std::move(observer); }
  /// Calls `observer` where nothing will be recorded, but grabbingFinished() does not follow either, on the grabbing
  /// thread. Before the start.
  void observeStandstill(std::function<void()> observer) { m_StuckObserver = std::move(observer); }
  /// The frames' size in pixels for a panel of that size.
  static QSize frameSize(int width, int height, QSize panel);
  /// The same, of the recording that was started.
  QSize frameSize() const { return {m_Width, m_Height}; }
  int framesPerSecond() const { return m_Fps; }
  /// How many frames there are so far. Any thread.
  int framesGrabbed() const { return m_FramesGrabbed; }
  /// How many of them the encoder has taken in without a failure. Any thread.
  int framesEncoded() const { return m_FramesEncoded; }
  /// How many there will be if nobody ends the recording: those of a recording in step, else 0. Any thread.
  int framesPlanned() const { return m_FramesPlanned; }
  /// Ends the recording and returns when everything grabbed is encoded.
  void finish();
  /// Ends the recording and removes the file.
  void cancel();

  /// Draws the scene as the panel shows it and appends it to the device as one raw frame: rows from the top,
  /// pixels of the bytes blue, green, red, alpha. After a failure (logged) the frame or its rest is missing.
  /// Grabbing thread.
  void grabPicture(QIODevice* device) override;
  /// Releases the OpenGL objects, if there still are any: on the application thread at once, on the grabbing
  /// thread by posting the release.
  void cleanUpGL() override;

 signals:
  /// A percentage, or -1 while it is not known; on the grabbing thread or the encoder's.
  void progressChanged(int percent);
  /// The grabbing thread has ended its work; emitted on that thread.
  void grabbingFinished();

 private slots:
  void panelDestroyed(QObject* obj);

 private:
  class Grabber;
  class SyncedGrabber;

  ChunkRules chunkRules() const override;
  bool encodeVideoChunk(QIODevice* chunk, bool last) override;
  void lookFrom(const std::optional<gui::Camera>& camera) override;
  void tellPlan(int frames) override;
  void tellProgress(int percent) override;
  void tellStuck() override;
  void tellFinished() override;

  bool launch(QThread::Priority priority, const QString& fileName, int width, int height, gui::ScenePanel* panel);
  bool initStart(const QString& fileName, int width, int height, gui::ScenePanel* panel);
  /// Takes everything that is needed of the panel in one visit to the application thread.
  void attachPanel(gui::ScenePanel* panel, int width, int height);
  void takeTransform();
  void readSettings();
  bool initGL();
  /// Empty, or why there is no context to draw in.
  QString makeContext();
  void openOutput();
  bool giveGLToGrabber();
  /// Returns when the OpenGL objects are released and the panel is let go.
  void releaseGL();
  void stopGrabber();
  void reset();
  bool drawFrame(QIODevice* device);
  std::int64_t frameBytes() const { return std::int64_t(m_Width) * m_Height * 4; }
  void countFrames(int grabbed, int encoded);

  QString m_FileName;
  gui::ScenePanel* mp_Panel = nullptr;  ///< changed on the application thread; null once it is gone
  std::unique_ptr<Grabber> mp_Grabber;
  std::unique_ptr<QOpenGLFramebufferObject> mp_Fbo;
  std::unique_ptr<QOpenGLContext> mp_Context;
  std::unique_ptr<QOffscreenSurface> mp_Surface;
  std::unique_ptr<scene::SceneDrawer> mp_SceneDrawer;
  int m_Width = 0;
  int m_Height = 0;
  int m_MaxTextureSize = 0;
  std::unique_ptr<video::Encoder> mp_Encoder;
  std::uint32_t m_MaxChunkSize = 100 * (1u << 20);  ///< bytes
  int m_Fps = 25;
  int m_Bitrate = 0;  ///< bits per second
  bool m_IsBitrateChosen = true;
  bool m_UseMemoryAsBuffer = true;
  /// Guards what a frame takes of the panel: mp_Panel and m_Transform. Nothing is waited for while it is held, so that
  /// a closing panel waits for no frame, nor for what a frame waits for.
  QMutex m_Mutex;
  math::Matrix4 m_Transform;
  std::optional<math::Matrix4> m_StepTransform;  ///< that the trajectory has; the grabbing thread's alone
  std::unique_ptr<OutputClaim> mp_Claim;

  std::function<void(int, int)> m_FrameObserver;
  std::function<void(const QImage&)> m_FirstObserver;
  std::function<void()> m_StuckObserver;
  std::atomic<int> m_FramesGrabbed{0};
  std::atomic<int> m_FramesEncoded{0};
  std::atomic<int> m_FramesPlanned{0};
};

}  // namespace nubo::grab
