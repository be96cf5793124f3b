// The program's own options: the one table of which reading, help and suggestions are made.
#pragma once

#include <QStringList>
#include <functional>
#include <vector>

namespace nubo::app {

struct CommandLine;

/// An option as its user writes it, and how the program takes it.
struct Option {
  /// Takes the value over. Returns the empty text or, where the value will not do, what is expected in its place.
  using Take = std::function<QString(const QString& value, CommandLine& line)>;

  QString name;                ///< without the dashes
  QString value;               ///< what help shows for its value, such as FILE; empty: it takes none
  QString help;                ///< what it does, in one sentence
  Take take;                   ///< checks the value, and knows where it goes
  QStringList choices = {};    ///< words that the value can be, perhaps among others
  QString letter = {};         ///< the short form without its dash; empty: there is none
  bool takesRest = false;      ///< all words that follow are its value
  bool beforeCommand = false;  ///< a command is made with it, and so it cannot follow one

  QString written() const { return QStringLiteral("--") + name; }
};

/// All options, in the order in which help shows them.
const std::vector<Option>& options();
/// The option of that name, "--size" or "-h"; null where the program has none.
const Option* findOption(const QString& written);
/// The names of all options with their dashes.
QStringList optionWords();

}  // namespace nubo::app
