#include "module_scene/gui/scenepanel.h"

#include <GL/glu.h>

#include <QMouseEvent>
#include <QWheelEvent>
#include <cmath>

#include "module_scene/draw/environment.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/draw/viewpoint.h"
#include "module_scene/gui/viewer.h"

namespace nubo::gui {

namespace {

constexpr double DegreesPerRadian = 180 / 3.14159265358979323846;
constexpr double DegreesPerPixel = 0.4;
constexpr double LowestResolutionDetail =
    16;  // details of so many pixels are not missed at a quarter of the resolution

}  // namespace

ScenePanel::ScenePanel(QWidget* parent) : QOpenGLWidget(parent) {
  setMinimumSize(2, 2);
  setFocusPolicy(Qt::StrongFocus);
  if (Viewer* viewer = Viewer::getInstance()) viewer->addPanel(this);
}

ScenePanel::~ScenePanel() {
  emit destroyed(this);
  disconnect(this, &QObject::destroyed, nullptr, nullptr);  // once is enough
  if (Viewer* viewer = Viewer::getInstance()) viewer->removePanel(this);
  if (m_Drawer) {
    makeCurrent();
    m_Drawer.reset();
    m_Smaller.reset();
    doneCurrent();
  }
}

math::Matrix<double, 4, 4> ScenePanel::getScaledTransformMatrix() const { return m_Camera.viewTransform(); }

void ScenePanel::setCamera(const Camera& camera) {
  m_Camera = camera;
  update();
  emit cameraChanged();
}

void ScenePanel::setWidening(double factor) {
  m_Widening = factor;
  update();
}

std::shared_ptr<const Subject> ScenePanel::wholeScene() const {
  const auto scene = scene::_GlobalScene();
  const scene::SceneLocker locker(scene, scene::LockAll);
  const auto root = scene ? scene->getRootNode() : nullptr;
  return root ? std::make_shared<Subject>(m_Camera, *root, *scene) : nullptr;
}

void ScenePanel::fit() {
  if (const auto whole = wholeScene()) setCamera(whole->camera(size(), m_Margin));
}

void ScenePanel::initializeGL() {
  m_Drawer.reset();
  m_Smaller.reset();
}

void ScenePanel::paintGL() {
  if (!scene::_GlobalScene()) return;
  if (m_Detail >= 8)
    throughSmaller(m_Detail >= LowestResolutionDetail ? 4 : 2, [this](int times) { drawScene(0, times); });
  else  // what does without details does without smooth edges, too
    drawScene(m_Detail > 0 ? 0 : scene::_GlobalScene()->getSamples(), 1);
}

void ScenePanel::prepareThinned() {
  throughSmaller(4, [this](int times) {
    beginFrame(drawer(), 0, times);
    drawer().setContact(false);
    drawer().prepare(LowestResolutionDetail);
  });
}

QSize ScenePanel::pixels(int smaller) const {
  const QSize all = size() * devicePixelRatioF();
  return {(all.width() + smaller - 1) / smaller, (all.height() + smaller - 1) / smaller};
}

scene::SceneDrawer& ScenePanel::drawer() {
  if (!m_Drawer) m_Drawer = std::make_unique<scene::SceneDrawer>(scene::_GlobalScene());
  return *m_Drawer;
}

void ScenePanel::drawScene(int samples, int smaller) {
  const auto scene = scene::_GlobalScene();
  const scene::SceneLocker locker(scene, scene::LockAll);
  beginFrame(drawer(), samples, smaller);
  if (m_Detail > 0) drawer().setContact(false);  // it takes time, and is hardly missed in what moves
  drawer().glDraw(scene->getRootNode(), nullptr, getScaledTransformMatrix(), m_Detail, AllLayers, AllKinds);
  endFrame();
}

/// What `draw` draws with so many times fewer pixels is enlarged.
template <class Draw>
void ScenePanel::throughSmaller(int times, Draw draw) {
  if (!m_Smaller || m_Smaller->size() != pixels(times))
    m_Smaller =
        std::make_unique<QOpenGLFramebufferObject>(pixels(times), QOpenGLFramebufferObject::CombinedDepthStencil);
  m_Smaller->bind();
  draw(times);
  m_Smaller->release();
  const QRect all(QPoint(), pixels());
  QOpenGLFramebufferObject::blitFramebuffer(nullptr, all, m_Smaller.get(), QRect(QPoint(), m_Smaller->size()),
                                            GL_COLOR_BUFFER_BIT, GL_LINEAR);
}

void ScenePanel::beginFrame(scene::SceneDrawer& drawer, int samples, int smaller) const {
  drawer.setSamples(samples);
  drawer.setLook(scene::_GlobalScene()->getLook());
  drawer.setEdges(scene::_GlobalScene()->hasEdges());
  drawer.setContact(scene::_GlobalScene()->hasContact());
  drawer.setEnvironment(scene::environmentOf(*scene::_GlobalScene()));
  drawer.setGround(scene::_GlobalScene()->hasGround());
  drawer.setSection(scene::_GlobalScene()->getSection());
  drawer.setViewHeight(height());
  const QSize area = pixels(smaller);
  const QColor background = drawer.getBackgroundColor();
  drawer.resize(area.width(), area.height());
  glClearColor(GLfloat(background.redF()), GLfloat(background.greenF()), GLfloat(background.blueF()), 0.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  const double opening = 2 * std::atan(std::tan(scene::HalfOpening) * m_Widening) * DegreesPerRadian;
  gluPerspective(opening, double(pixels().width()) / pixels().height(), scene::SceneDrawer::ZNEAR,
                 scene::SceneDrawer::ZFAR);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
}

void ScenePanel::endFrame() {
  // The window is opaque where the drawer left coverage.
  glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_TRUE);
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

void ScenePanel::resizeEvent(QResizeEvent* event) {
  QOpenGLWidget::resizeEvent(event);
  if (Viewer* viewer = Viewer::getInstance()) viewer->panelResized(this);
}

void ScenePanel::mousePressEvent(QMouseEvent* event) {
  m_LastPosition = event->pos();
  if (Viewer* viewer = Viewer::getInstance()) viewer->setActivePanel(this);
}

void ScenePanel::mouseMoveEvent(QMouseEvent* event) {
  const QPoint moved = event->pos() - m_LastPosition;
  m_LastPosition = event->pos();
  Camera camera = m_Camera;
  const bool pans = event->buttons() & Qt::MiddleButton ||
                    (event->buttons() & Qt::LeftButton && event->modifiers() & Qt::ShiftModifier);
  if (pans)
    camera.pan(-m_Widening * moved.x() / height(), m_Widening * moved.y() / height());
  else if (event->buttons() & Qt::LeftButton)
    camera.orbit(-moved.x() * DegreesPerPixel, moved.y() * DegreesPerPixel);
  else if (event->buttons() & Qt::RightButton)
    camera.zoom(std::exp(-2.0 * moved.y() / height()));
  else
    return;
  setCamera(camera);
}

void ScenePanel::wheelEvent(QWheelEvent* event) {
  Camera camera = m_Camera;
  camera.zoom(std::exp(event->angleDelta().y() / 1200.0));
  setCamera(camera);
}

}  // namespace nubo::gui
