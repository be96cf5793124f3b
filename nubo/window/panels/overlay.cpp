#include "nubo/window/panels/overlay.h"

#include <QCoreApplication>
#include <QKeySequence>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "module_scene/draw/viewpoint.h"
#include "module_scene/graph/scene.h"

namespace nubo::window {

std::optional<QPointF> project(const math::Vector3& point, const gui::Camera& camera, const QSize& size,
                               double widening) {
  const math::Vector3 eye = math::transformPoint(camera.transform(), point);
  const double depth = camera.orthographic ? camera.distance : -eye[2];
  if (depth < 0.01) return std::nullopt;
  const double unit = 0.5 * size.height() / (std::tan(scene::HalfOpening) * widening * depth);
  return QPointF(0.5 * size.width() + eye[0] * unit, 0.5 * size.height() - eye[1] * unit);
}

void paintAxes(QPainter& painter, const gui::Camera& camera, const QSize& size) {
  constexpr double Length = 26, Margin = 46;
  struct Axis {
    const char* name;
    QColor color;
    int index;
  };
  std::array<Axis, 3> axes{
      {{"x", QColor(0xe0, 0x50, 0x48), 0}, {"y", QColor(0x5c, 0xb8, 0x50), 1}, {"z", QColor(0x58, 0x90, 0xf0), 2}}};
  gui::Camera usual = camera;
  usual.lens = 1;
  const math::Matrix4 view = usual.transform();
  const double scale = camera.scale;
  std::sort(axes.begin(), axes.end(),
            [&](const Axis& a, const Axis& b) { return view(2, a.index) < view(2, b.index); });
  const QPointF origin(Margin, size.height() - Margin);
  for (const Axis& axis : axes) {
    const QPointF direction(view(0, axis.index) / scale, -view(1, axis.index) / scale);
    painter.setPen(QPen(axis.color, 2));
    painter.drawLine(origin, origin + direction * Length);
    painter.drawText(QRectF(origin + direction * (Length + 9) - QPointF(8, 8), QSizeF(16, 16)), Qt::AlignCenter,
                     QString::fromLatin1(axis.name));
  }
}

void paintInvitation(QPainter& painter, const QColor& background, const QSize& size) {
  const QString keys = QKeySequence(QKeySequence::Open).toString(QKeySequence::NativeText);
  painter.setPen(background.lightness() < 128 ? QColor(0xc8, 0xcc, 0xd4) : QColor(0x40, 0x44, 0x4c));
  painter.drawText(QRect(QPoint(), size), Qt::AlignCenter,
                   QCoreApplication::translate("ViewPanel", "Drop model files here, or open them with %1").arg(keys));
}

void paintBox(QPainter& painter, const scene::SceneElement& element, const gui::Camera& camera, const QSize& size,
              double widening) {
  const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
  const scene::SceneElement* parent = element.getParent();
  const math::Matrix4 placed = parent ? parent->getGlobalTransform() : math::Matrix4();
  const scene::BoundingBox box = element.getBoundingBox();
  if (box.isEmpty()) return;
  std::array<std::optional<QPointF>, 8> corners;
  for (int i = 0; i < 8; ++i) {
    const math::Vector3 corner{i & 1 ? box.max[0] : box.min[0], i & 2 ? box.max[1] : box.min[1],
                               i & 4 ? box.max[2] : box.min[2]};
    corners[i] = project(math::transformPoint(placed, corner), camera, size, widening);
  }
  for (int i = 0; i < 8; ++i)
    for (const int bit : {1, 2, 4})
      if (!(i & bit) && corners[i] && corners[i | bit]) painter.drawLine(*corners[i], *corners[i | bit]);
}

void paintMark(QPainter& painter, const QPointF& place) {
  const QPen pen = painter.pen();
  for (const QPen& each : {QPen(Qt::black, 5), QPen(Qt::white, 3), QPen(pen.color(), 1.5)}) {
    painter.setPen(each);
    painter.drawEllipse(place, 5, 5);
  }
  painter.setPen(pen);
}

void paintFrame(QPainter& painter, const QRectF& frame, const QSize& size) {
  QPainterPath outside;
  outside.addRect(QRectF(QPointF(), size));
  outside.addRect(frame);  // which the rule of odd and even leaves out
  painter.fillPath(outside, QColor(0, 0, 0, 130));
  painter.setPen(QPen(QColor(255, 255, 255, 200), 1));
  painter.drawRect(frame.adjusted(-0.5, -0.5, 0.5, 0.5));
}

}  // namespace nubo::window
