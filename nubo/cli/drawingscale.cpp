#include "nubo/cli/drawingscale.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>

#include "kernel/main/parameter.h"
#include "module_scene/draw/viewpoint.h"
#include "picture/panelview.h"

namespace nubo::app {

namespace {

constexpr double MetresPerInch = 0.0254;
/// Where the call names no resolution.
constexpr double UsualDotsPerInch = 300;

std::optional<double> metresPer(const QString& unit) {
  const std::pair<const char*, double> units[] = {
      {"", 1}, {"m", 1}, {"cm", 0.01}, {"mm", 0.001}, {"in", MetresPerInch}};
  for (const auto& [name, metres] : units)
    if (unit == QLatin1String(name)) return metres;
  return std::nullopt;
}

/// The width of a picture whose height follows from the panel's shape; null if there is none such.
main::AbstractParameter* pictureWidth(main::Command& command) {
  main::AbstractParameter* width = nullptr;
  for (main::AbstractParameter* parameter : command.getParameterSets().front().parameters()) {
    if (!parameter->countsPixels()) continue;
    if (width || optionName(parameter->getName()) != QLatin1String("width")) return nullptr;
    width = parameter;
  }
  return width;
}

}  // namespace

const char* const DrawingScaleForms =
    "PAPER:SCENE, such as 1:5 or 2:1, with @mm, @cm or @in behind it for a model that is not in metres";

std::optional<DrawingScale> drawingScale(const QString& text) {
  static const QRegularExpression form(QStringLiteral("\\A(\\d+(?:\\.\\d+)?):(\\d+(?:\\.\\d+)?)(?:@([a-z]+))?\\z"));
  const QRegularExpressionMatch match = form.match(text);
  const std::optional<double> metres = metresPer(match.captured(3));
  const DrawingScale scale{match.captured(1).toDouble(), match.captured(2).toDouble(), metres.value_or(0)};
  constexpr double Most = 1e9;
  const bool isUsable = scale.onPaper > 0 && scale.inScene > 0 && std::max(scale.onPaper, scale.inScene) < Most;
  return match.hasMatch() && isUsable && metres ? std::optional(scale) : std::nullopt;
}

std::optional<double> viewHeightFor(const DrawingScale& scale, main::Command& command, Arguments& arguments,
                                    QSize panel, QString& refusal) {
  main::AbstractParameter* width = pictureWidth(command);
  if (!width) {
    refusal = QStringLiteral("%1 makes nothing that is printed to scale").arg(command.getName());
    return std::nullopt;
  }
  const QString pixels = width->toString();
  if (width->getDotsPerInch() <= 0) {
    const QString name = optionName(width->getName());
    arguments.erase(std::remove_if(arguments.begin(), arguments.end(),
                                   [&](const Argument& argument) { return argument.name == name; }),
                    arguments.end());
    arguments << Argument{name, QStringLiteral("%1@%2dpi").arg(pixels).arg(UsualDotsPerInch)};
    if (!(refusal = bindArguments(command, arguments)).isEmpty()) return std::nullopt;
  }
  const double metresPerPixel = MetresPerInch / width->getDotsPerInch();
  return picture::heightFor(pixels.toInt(), panel) * metresPerPixel * scale.inScene / scale.onPaper /
         scale.metresPerUnit;
}

QString showHeight(double height, double margin, gui::Camera& camera) {
  const double shown = camera.viewHeight();
  // All is seen from the same distance, so that nothing is cut off in front of it or behind.
  camera.scale *= shown / height;
  const double needed = shown * gui::Camera::usableSlope(margin) / std::tan(scene::HalfOpening);
  constexpr double Rounding = 1e-6;
  if (needed <= height * (1 + Rounding)) return QString();
  return QStringLiteral("--scale: the model does not fit into the picture, which would have to be %1 times as large")
      .arg(std::ceil(100 * needed / height) / 100);
}

}  // namespace nubo::app
