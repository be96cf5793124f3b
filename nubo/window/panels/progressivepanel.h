// A scene panel that answers at once, however large the model.
#pragma once

#include <QOpenGLFramebufferObject>
#include <QTimer>
#include <memory>
#include <optional>

#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/scenepanel.h"

namespace nubo::window {

/// While the view moves, models too big to be drawn at once are thinned; at rest all is drawn, in parts between which
/// the window answers. Application thread.
class ProgressivePanel : public gui::ScenePanel {
  Q_OBJECT
 public:
  explicit ProgressivePanel(QWidget* parent = nullptr);
  ~ProgressivePanel() override;

  /// All that the panel shows of the scene, and nothing that is painted over it, with its background.
  QImage picture();

 protected:
  void initializeGL() override;
  void paintGL() override;

 private:
  /// All that a picture of the scene depends on.
  struct View {
    math::Matrix4 transform;
    double widening;
    QSize pixels;
    int samples;
    scene::Look look;
    bool edges, contact, ground;
    util::YPointer<scene::Section> section;
    util::YPointer<util::YObject> environment;
    std::uint64_t changes;  ///< of the scene
    bool operator==(const View& other) const {
      return transform == other.transform && widening == other.widening && pixels == other.pixels &&
             samples == other.samples && look == other.look && edges == other.edges && contact == other.contact &&
             ground == other.ground && section == other.section && environment == other.environment &&
             changes == other.changes;
    }
  };
  View currentView() const;
  void makeReady();
  scene::SceneDrawer& wholeDrawer();
  void bindWhole(const View& view);
  bool isNewAndLarge();
  void paintThinned();
  void drawOn();
  bool drawPart(const View& view);

  std::unique_ptr<scene::SceneDrawer> m_WholeDrawer;
  std::unique_ptr<QOpenGLFramebufferObject> m_Whole;
  util::YPointer<scene::SceneElement> m_Root;  ///< that was painted last
  std::optional<View> m_Begun;                 ///< what m_Whole shows, or will when it is complete
  std::optional<View> m_Thinned;               ///< that was painted last
  bool m_PreparesThinned = false;
  bool m_Complete = false;
  qint64 m_WholeTime = 0;        ///< milliseconds that it has taken
  bool m_Slow = false;           ///< the last whole drawing took too long for a moving view
  bool m_IsJoinedFirst = false;  ///< what is new has its small parts joined before it is drawn
  double m_MovingDetail = 4;     ///< by how much a moving view may be wrong, in pixels
  QTimer m_Rest;                 ///< runs while the view moves
  QTimer m_Ready;                ///< runs until the driver has made what most drawings need
  QTimer m_Parts;                ///< runs while the whole is drawn
};

}  // namespace nubo::window
