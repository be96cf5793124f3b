// What a panel paints over the scene.
#pragma once

#include <QPainter>
#include <optional>

#include "module_scene/graph/sceneelement.h"
#include "module_scene/gui/camera.h"

namespace nubo::window {

/// Where a panel that shows so many times as much to all sides as usual has a point of the scene; nothing behind the
/// eye.
std::optional<QPointF> project(const math::Vector3& point, const gui::Camera& camera, const QSize& size,
                               double widening);
/// A small cross in the lower left corner that shows how the scene's axes lie.
void paintAxes(QPainter& painter, const gui::Camera& camera, const QSize& size);
/// What to do while there is no scene.
void paintInvitation(QPainter& painter, const QColor& background, const QSize& size);
/// The element's box as the camera of a panel sees it that shows so many times as much to all sides as usual. Takes a
/// lock of the scene.
void paintBox(QPainter& painter, const scene::SceneElement& element, const gui::Camera& camera, const QSize& size,
              double widening);
/// A ring around a point that can be told from whatever is below.
void paintMark(QPainter& painter, const QPointF& place);
/// Dims what lies outside of a frame.
void paintFrame(QPainter& painter, const QRectF& frame, const QSize& size);

}  // namespace nubo::window
