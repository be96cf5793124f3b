#include "module_trajectory/fields.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>
#include <cmath>

namespace nubo::trajectory {
namespace {

struct NumberFile {
  Q_DECLARE_TR_FUNCTIONS(NumberFile)
};

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool hasNoNumber(const QByteArrayList& fields) {
  return std::none_of(fields.begin(), fields.end(), [](const QByteArray& field) {
    bool ok = false;
    field.toDouble(&ok);
    return ok;
  });
}

QString countText(std::size_t least, std::size_t most) {
  return least == most ? QString::number(most) : NumberFile::tr("%1 or %2").arg(least).arg(most);
}

/// The numbers of a line, or why it has none.
QString readNumbers(const QByteArray& line, const QByteArrayList& fields, std::vector<double>& numbers) {
  if (line.contains(',') && line.contains(';'))
    return NumberFile::tr("both ',' and ';' stand between its values; numbers are written with a point");
  for (const QByteArray& field : fields) {
    bool ok = false;
    numbers.push_back(field.toDouble(&ok));
    if (!ok || !std::isfinite(numbers.back()))
      return NumberFile::tr("'%1' is not a number").arg(QString::fromUtf8(field).left(40));
  }
  return QString();
}

}  // namespace

QByteArray withoutComment(const QByteArray& line) { return line.mid(0, line.indexOf('#')).trimmed(); }

QByteArrayList fieldsOf(const QByteArray& line) {
  QByteArrayList fields;
  QByteArray field;
  bool ended = true;  // by a separator, so that another one encloses an empty field
  for (const char c : line) {
    const bool separator = c == ',' || c == ';';
    if (!separator && !isSpace(c)) {
      field += c;
      continue;
    }
    if (!field.isEmpty() || (separator && ended)) fields << field;
    ended = separator || (ended && field.isEmpty());
    field.clear();
  }
  if (!field.isEmpty()) fields << field;
  return fields;
}

QString readLinesOfNumbers(const QString& fileName, std::size_t least, std::size_t most,
                           const std::function<QString(const std::vector<double>& numbers)>& take) {
  const auto failure = [&](const QString& cause) {
    return NumberFile::tr("cannot read '%1': %2").arg(fileName, cause);
  };
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) return failure(file.errorString());
  QByteArray content = file.readAll();
  if (file.error() != QFile::NoError) return failure(file.errorString());
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
    std::vector<double> numbers;
    QString cause;
    const auto count = std::size_t(fields.size());
    if (!(line.contains(',') && line.contains(';')) && (count < least || count > most))
      cause = NumberFile::tr("%1 values stand where %2 are expected").arg(count).arg(countText(least, most));
    if (cause.isEmpty()) cause = readNumbers(line, fields, numbers);
    if (cause.isEmpty()) cause = take(numbers);
    if (!cause.isEmpty()) return failure(NumberFile::tr("line %1: %2").arg(number).arg(cause));
  }
  return QString();
}

}  // namespace nubo::trajectory
