#include "module_trajectory/pointfile.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>
#include <cmath>
#include <optional>

#include "module_trajectory/fields.h"

namespace nubo::trajectory {
namespace {

struct PointFile {
  Q_DECLARE_TR_FUNCTIONS(PointFile)
};

/// A point, or why the line is none.
std::optional<Point> toPoint(const QByteArray& line, QString& cause) {
  const QByteArrayList fields = fieldsOf(line);
  if (line.contains(',') && line.contains(';')) {
    cause = PointFile::tr("both ',' and ';' stand between its values; numbers are written with a point");
    return std::nullopt;
  }
  if (fields.size() != 3 && fields.size() != 4) {
    cause = PointFile::tr("%1 values stand where 3 or 4 are expected").arg(fields.size());
    return std::nullopt;
  }
  Point point{0, 0, 0, 0};
  for (int i = 0; i < fields.size(); ++i) {
    bool ok = false;
    point[std::size_t(i)] = fields[i].toDouble(&ok);
    if (ok && std::isfinite(point[std::size_t(i)])) continue;
    cause = PointFile::tr("'%1' is not a number").arg(QString::fromUtf8(fields[i]).left(40));
    return std::nullopt;
  }
  return point;
}

bool hasNoNumber(const QByteArrayList& fields) {
  return std::none_of(fields.begin(), fields.end(), [](const QByteArray& field) {
    bool ok = false;
    field.toDouble(&ok);
    return ok;
  });
}

}  // namespace

std::deque<Point> readPointFile(const QString& fileName, QString& error) {
  std::deque<Point> points;
  const auto fail = [&](const QString& cause) {
    error = PointFile::tr("cannot read '%1': %2").arg(fileName, cause);
    return std::deque<Point>();
  };
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) return fail(file.errorString());
  QByteArray content = file.readAll();
  if (file.error() != QFile::NoError) return fail(file.errorString());
  if (content.startsWith("\xEF\xBB\xBF")) content.remove(0, 3);
  bool mayBeNames = true;
  int number = 0;
  for (const QByteArray& whole : content.split('\n')) {
    ++number;
    const QByteArray line = withoutComment(whole);
    const QByteArrayList fields = fieldsOf(line);
    if (fields.isEmpty() || (mayBeNames && hasNoNumber(fields))) {
      mayBeNames = mayBeNames && fields.isEmpty();
      continue;
    }
    mayBeNames = false;
    QString cause;
    const std::optional<Point> point = toPoint(line, cause);
    if (!point) return fail(PointFile::tr("line %1: %2").arg(number).arg(cause));
    points.push_back(*point);
  }
  return points.empty() ? fail(PointFile::tr("it holds no points")) : points;
}

}  // namespace nubo::trajectory
