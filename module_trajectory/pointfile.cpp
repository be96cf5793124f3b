#include "module_trajectory/pointfile.h"

#include <QCoreApplication>
#include <algorithm>

#include "module_trajectory/fields.h"

namespace nubo::trajectory {
namespace {

struct PointFile {
  Q_DECLARE_TR_FUNCTIONS(PointFile)
};

}  // namespace

std::deque<Point> readPointFile(const QString& fileName, QString& error) {
  std::deque<Point> points;
  error = readLinesOfNumbers(fileName, 3, 4, [&](const std::vector<double>& numbers) {
    Point point{0, 0, 0, 0};
    std::copy(numbers.begin(), numbers.end(), point.begin());
    points.push_back(point);
    return QString();
  });
  if (!error.isEmpty()) return {};
  if (points.empty()) error = PointFile::tr("cannot read '%1': %2").arg(fileName, PointFile::tr("it holds no points"));
  return points;
}

}  // namespace nubo::trajectory
