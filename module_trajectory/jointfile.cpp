#include "module_trajectory/jointfile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <cmath>

#include "module_scene/graph/machine.h"
#include "module_trajectory/fields.h"

namespace nubo::trajectory {
namespace {

struct JointFile {
  Q_DECLARE_TR_FUNCTIONS(JointFile)
};

QStringList namesOf(const QByteArray& line) {
  QStringList names;
  for (QByteArray name : fieldsOf(withoutComment(line))) names << QString::fromUtf8(name.replace('"', ""));
  return names;
}

QByteArrayList linesOf(QByteArray content) {
  if (content.startsWith("\xEF\xBB\xBF")) content.remove(0, 3);
  return content.split('\n');
}

/// Empty with a cause where the line makes no sense.
MatrixMap stepOf(const QByteArrayList& fields, const std::vector<scene::DrivenElement>& columns, QString& cause) {
  MatrixMap step;
  for (const scene::DrivenElement& column : columns) {
    bool isNumber = false;
    const QByteArray field = fields.value(column.driver);
    const double value = field.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value)) {
      cause = JointFile::tr("'%1' is not a number").arg(QString::fromUtf8(field).left(40));
      return {};
    }
    step[column.element] = column.transformAt(value);
  }
  return step;
}

}  // namespace

bool namesJoints(const QString& fileName, scene::SceneElement& root) {
  constexpr int Longest = 1 << 16;
  QFile file(fileName);
  if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly)) return false;
  return !scene::drivenBy(namesOf(linesOf(file.readLine(Longest)).value(0)), scene::movedBelow(root)).empty();
}

std::unique_ptr<AdvancedTrajectoryInfo> readJointFile(const QString& fileName, scene::SceneElement& root,
                                                      QString& error) {
  const auto fail = [&](const QString& cause) {
    error = JointFile::tr("cannot read '%1': %2").arg(fileName, cause);
    return nullptr;
  };
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) return fail(file.errorString());
  const QByteArrayList lines = linesOf(file.readAll());
  const QStringList names = namesOf(lines.value(0));
  const std::vector<scene::DrivenElement> columns = scene::drivenBy(names, scene::movedBelow(root));
  auto steps = std::make_unique<std::deque<MatrixMap>>();
  for (int number = 2; number <= lines.size(); ++number) {
    const QByteArrayList fields = fieldsOf(withoutComment(lines[number - 1]));
    if (fields.isEmpty()) continue;
    QString cause;
    MatrixMap step;
    if (fields.size() == names.size())
      step = stepOf(fields, columns, cause);
    else
      cause = JointFile::tr("%1 values stand where %2 are expected").arg(fields.size()).arg(names.size());
    if (!cause.isEmpty()) return fail(JointFile::tr("line %1: %2").arg(number).arg(cause));
    steps->push_back(std::move(step));
  }
  if (steps->empty() || columns.empty()) return fail(JointFile::tr("it moves no joint"));
  return std::make_unique<AdvancedTrajectoryInfo>(std::move(steps));
}

}  // namespace nubo::trajectory
