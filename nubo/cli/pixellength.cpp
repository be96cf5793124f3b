#include "nubo/cli/pixellength.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <cmath>
#include <limits>

namespace nubo::app {

namespace {

/// Nobody prints finer than that.
constexpr double LeastDotsPerInch = 1, MostDotsPerInch = 10000;

QString tr(const char* text) { return QCoreApplication::translate("PixelLength", text); }

/// Pixels where the text names no unit.
double inchesPer(const QString& unit) {
  if (unit == QLatin1String("mm")) return 1 / 25.4;
  return unit == QLatin1String("cm") ? 1 / 2.54 : 1;
}

}  // namespace

bool isPixelLength(const QString& text) {
  bool isNumber = false;
  text.toDouble(&isNumber);
  return !isNumber && !text.isEmpty() && text.at(0).isDigit();
}

std::optional<PixelLength> readPixelLength(const QString& text, QString& refusal) {
  static const QRegularExpression form(
      QStringLiteral("\\A(\\d+(?:\\.\\d*)?) *(mm|cm|in|px|)(?: *@ *(\\S+?) *dpi)?\\z"));
  const QRegularExpressionMatch match = form.match(text.trimmed());
  const double length = match.captured(1).toDouble();
  const QString unit = match.captured(2);
  bool isNumber = false;
  const double dotsPerInch = match.captured(3).toDouble(&isNumber);
  const bool isOnPaper = !unit.isEmpty() && unit != QLatin1String("px");
  if (!match.hasMatch() || (isOnPaper && match.captured(3).isEmpty()))
    refusal = tr("\"%1\" is neither a number of pixels nor a length on paper, such as 180mm@300dpi").arg(text);
  else if (!match.captured(3).isEmpty() &&
           !(isNumber && dotsPerInch >= LeastDotsPerInch && dotsPerInch <= MostDotsPerInch))
    refusal = tr("\"%1\": the resolution is from %2 to %3 dpi").arg(text).arg(LeastDotsPerInch).arg(MostDotsPerInch);
  if (!refusal.isEmpty()) return std::nullopt;
  const double pixels = std::round(isOnPaper ? length * inchesPer(unit) * dotsPerInch : length);
  if (isOnPaper && pixels < 1) refusal = tr("\"%1\" is less than a pixel").arg(text);
  if (pixels > std::numeric_limits<int>::max()) refusal = tr("\"%1\" is too many pixels").arg(text);
  if (!refusal.isEmpty()) return std::nullopt;
  return PixelLength{int(pixels), dotsPerInch};
}

}  // namespace nubo::app
