// Lines of values in text.
#pragma once

#include <QByteArray>
#include <QByteArrayList>

namespace nubo::trajectory {

QByteArray withoutComment(const QByteArray& line);
/// The line's fields without surrounding space; two separators in a row enclose an empty one.
QByteArrayList fieldsOf(const QByteArray& line);

}  // namespace nubo::trajectory
