// Pictures to scale: so many metres of a scene on so many millimetres of paper.
#pragma once

#include <QSize>
#include <QString>
#include <optional>

#include "kernel/main/command.h"
#include "module_scene/gui/camera.h"
#include "nubo/cli/commandarguments.h"

namespace nubo::app {

/// A length on paper for one of a scene, both in the same unit, and what the scene counts in.
struct DrawingScale {
  double onPaper = 1, inScene = 1;
  double metresPerUnit = 1;
};

/// As written: 1:5, 2:1, or 1:5@mm for a scene in millimetres. Nothing if it is none.
std::optional<DrawingScale> drawingScale(const QString& text);
/// What drawingScale() expects.
extern const char* const DrawingScaleForms;

/// How high the view is, in the scene's units, of which the command makes a picture to that scale from a panel of that
/// size. Gives the picture a resolution on paper where the arguments name none. The command's values are bound, and
/// stay so. Nothing, with one line in `refusal`, for a command whose picture is none on paper. Application thread.
std::optional<double> viewHeightFor(const DrawingScale& scale, main::Command& command, Arguments& arguments,
                                    QSize panel, QString& refusal);
/// Has a camera in parallel projection, which shows all of the scene with that margin, show so much from bottom to top
/// around its middle. The empty text, or one line that tells that not all is in the view then.
QString showHeight(double height, double margin, gui::Camera& camera);

}  // namespace nubo::app
