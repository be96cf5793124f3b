#include "module_trajectory/jointfile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <cmath>

#include "module_trajectory/fields.h"

namespace nubo::trajectory {
namespace {

struct JointFile {
  Q_DECLARE_TR_FUNCTIONS(JointFile)
};

using Elements = std::vector<util::YPointer<scene::SceneElement>>;

void collectMoved(const util::YPointer<scene::SceneElement>& element, Elements& moved) {
  if (element->getJoint()) moved.push_back(element);
  for (const auto& child : element->getChildren()) collectMoved(child, moved);
}

Elements movedBelow(scene::SceneElement& root) {
  Elements moved;
  collectMoved(util::YPointer<scene::SceneElement>(&root), moved);
  return moved;
}

/// What a joint has of the columns of a file.
struct Column {
  util::YPointer<scene::SceneElement> element;
  int column = 0;
  double multiplier = 1, offset = 0;
};

/// A joint is moved by the column of its name, else by that of the joint that it follows, or that follows in turn.
std::vector<Column> columnsFor(const Elements& moved, const QStringList& names) {
  constexpr int Longest = 20;  // chain of joints that follow each other; it might be a circle
  std::vector<Column> columns;
  for (const auto& element : moved) {
    Column column{element};
    const scene::Joint* joint = element->getJoint();
    for (int i = 0; joint && i < Longest; ++i) {
      column.column = names.indexOf(joint->name);
      if (column.column >= 0) break;
      column.offset += column.multiplier * joint->offset;
      column.multiplier *= joint->multiplier;
      const auto leader = std::find_if(moved.begin(), moved.end(), [&](const auto& other) {
        return !joint->follows.isEmpty() && other->getJoint()->name == joint->follows;
      });
      joint = leader == moved.end() ? nullptr : (*leader)->getJoint();
    }
    if (column.column >= 0 && joint) columns.push_back(column);
  }
  return columns;
}

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
MatrixMap stepOf(const QByteArrayList& fields, const std::vector<Column>& columns, QString& cause) {
  MatrixMap step;
  for (const Column& column : columns) {
    bool isNumber = false;
    const QByteArray field = fields.value(column.column);
    const double value = field.toDouble(&isNumber) * column.multiplier + column.offset;
    if (!isNumber || !std::isfinite(value)) {
      cause = JointFile::tr("'%1' is not a number").arg(QString::fromUtf8(field).left(40));
      return {};
    }
    step[column.element] = column.element->getJoint()->transformAt(value);
  }
  return step;
}

}  // namespace

bool namesJoints(const QString& fileName, scene::SceneElement& root) {
  constexpr int Longest = 1 << 16;
  QFile file(fileName);
  if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly)) return false;
  return !columnsFor(movedBelow(root), namesOf(linesOf(file.readLine(Longest)).value(0))).empty();
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
  const std::vector<Column> columns = columnsFor(movedBelow(root), names);
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
