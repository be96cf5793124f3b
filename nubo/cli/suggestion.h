// Guesses what a mistyped word was meant to be.
#pragma once

#include <QStringList>

namespace nubo::app {

/// `; did you mean "--width"?` with the known word (or two) closest to `word`, or nothing where none is close.
QString suggestion(const QString& word, const QStringList& known);
/// The same for names that a scene has; where none is close, what it has.
QString choiceOf(const QString& name, const QStringList& names);

}  // namespace nubo::app
