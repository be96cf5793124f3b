// The language of manual pages.
#pragma once

#include <QString>

namespace nubo::app::troff {

/// A text that stands for itself.
inline QString plain(QString text) {
  text.replace('\\', QLatin1String("\\e")).replace('-', QLatin1String("\\-"));
  if (text.startsWith('.') || text.startsWith('\'')) text.prepend(QLatin1String("\\&"));
  return text;
}

inline QString section(const QString& title) { return QStringLiteral(".SH %1\n").arg(plain(title)); }

inline QString paragraph(const QString& text) { return QStringLiteral(".PP\n%1\n").arg(plain(text)); }

/// What is written in bold letters, and its meaning below.
inline QString item(const QString& written, const QString& meaning) {
  return QStringLiteral(".TP\n\\fB%1\\fR\n%2\n").arg(plain(written), plain(meaning));
}

}  // namespace nubo::app::troff
