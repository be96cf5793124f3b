#include "module_trajectory/fields.h"

namespace nubo::trajectory {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

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

}  // namespace nubo::trajectory
