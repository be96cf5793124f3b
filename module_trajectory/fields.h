// Lines of values in text.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <functional>
#include <vector>

namespace nubo::trajectory {

QByteArray withoutComment(const QByteArray& line);
/// The line's fields without surrounding space; two separators in a row enclose an empty one.
QByteArrayList fieldsOf(const QByteArray& line);

/// Reads lines of finite numbers, with decimal points, separated by commas, semicolons or white space; as many of them
/// as `least` to `most`. Empty lines and what follows a # are passed over, and so is a first line of names. `take` gets
/// each line's, and returns what is wrong with them. The empty text or, on failure, one line with the file's name and,
/// where the content is at fault, the number of the line. Any thread.
QString readLinesOfNumbers(const QString& fileName, std::size_t least, std::size_t most,
                           const std::function<QString(const std::vector<double>& numbers)>& take);

}  // namespace nubo::trajectory
