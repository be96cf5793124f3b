#include "nubo/cli/completion.h"

#include <QFileInfo>
#include <algorithm>

#include "kernel/main/commandmanager.h"
#include "module_scene/io/importer.h"
#include "nubo/cli/commandline.h"
#include "nubo/cli/help.h"
#include "nubo/cli/option.h"
#include "nubo/cli/runsettings.h"

namespace nubo::app {

namespace {

using main::AbstractParameter;

QString line(const QString& word, const QString& meaning) { return word + '\t' + meaning.simplified(); }

QString filesLine(const QStringList& suffixes) { return QStringList(QStringList(":files") + suffixes).join(' '); }

/// The words before the last one, as far as they decide what that can be.
class Call {
 public:
  explicit Call(const QStringList& words) : m_Typed(words.isEmpty() ? QString() : words.last()) {
    for (int i = 0; i + 1 < words.size(); ++i) take(words[i]);
  }

  QStringList completions() {
    const int equals = m_Typed.indexOf('=');
    if (equals > 0 && m_Typed.startsWith("--")) {
      const QString name = m_Typed.left(equals + 1);
      take(name.left(equals));
      m_Typed.remove(0, equals + 1);
      QStringList lines = valueLines();
      for (QString& value : lines)
        if (!value.startsWith(':')) value.prepend(name);
      return lines;
    }
    // A parameter may stand alone, and the next one follow.
    if (m_Option || (m_Parameter && !m_Typed.startsWith("--"))) return valueLines();
    QStringList lines = m_Command ? parameterLines() : commandLines();
    if (!m_Command || m_Typed.startsWith('-')) lines += optionLines();
    return fitting(lines);
  }

 private:
  void take(const QString& word) {
    if (m_Option || m_Parameter) {
      m_Option = nullptr;
      m_Parameter = nullptr;
      if (!word.startsWith("--")) return;
    }
    if (!m_Command && !word.startsWith('-')) m_Command = main::CommandManager::getInstance()->find(word);
    if (!word.startsWith('-') || word.contains('=')) return;
    m_Parameter = findParameter(word.mid(2));
    const Option* option = m_Parameter ? nullptr : findOption(word);
    if (option && !option->value.isEmpty()) m_Option = option;
  }

  /// Those of the command, and then the settings that can be given with it.
  std::vector<main::Command*> commands() const {
    if (!m_Command) return {};
    std::vector<main::Command*> all = settingsCommandsOf(*m_Command);
    all.insert(all.begin(), m_Command);
    return all;
  }
  const AbstractParameter* findParameter(const QString& name) const {
    for (main::Command* command : commands())
      for (const main::ParameterSet& set : command->getParameterSets())
        for (const AbstractParameter* parameter : set.parameters())
          if (optionName(parameter->getName()) == name) return parameter;
    return nullptr;
  }

  QStringList fitting(const QStringList& lines) const {
    QStringList fit;
    for (const QString& candidate : lines)
      if ((candidate.startsWith(':') && !m_Typed.startsWith("--")) || candidate.section('\t', 0, 0).startsWith(m_Typed))
        fit << candidate;
    return fit;
  }

  QStringList valueLines() const {
    QStringList lines;
    if (m_Option) {
      for (const QString& choice : m_Option->choices) lines << line(choice, m_Option->name);
      if (m_Option->value == "FILE") lines << filesLine({});
    } else if (m_Parameter && namesFile(*m_Parameter)) {
      // A name and the formats that it can have.
      const QString stem = m_Typed.section('.', 0, 0);
      const QStringList suffixes = suffixesOf(*m_Parameter);
      for (const QString& suffix : suffixes)
        if (!stem.isEmpty()) lines << line(stem + '.' + suffix, m_Parameter->getName());
      lines << filesLine(suffixes);
    } else if (m_Parameter && m_Parameter->getType() == typeid(bool)) {
      for (const char* value : {"yes", "no"}) lines << line(value, m_Parameter->getName());
    } else if (m_Parameter && !defaultText(*m_Parameter).isNull()) {
      lines << line(defaultText(*m_Parameter), QStringLiteral("default"));
    }
    return fitting(lines);
  }

  QStringList parameterLines() const {
    QStringList lines;
    for (main::Command* command : commands())
      for (const main::ParameterSet& set : command->getParameterSets())
        for (const AbstractParameter* parameter : set.parameters())
          lines << line("--" + optionName(parameter->getName()), parameter->getDescription());
    return lines;
  }

  QStringList optionLines() const {
    QStringList lines;
    for (const Option& option : options())
      if (!m_Command || !option.beforeCommand) lines << line(option.written(), option.help);
    return lines;
  }

  static QStringList commandLines() {
    QStringList lines;
    const main::CommandManager* known = main::CommandManager::getInstance();
    for (const QString& name : known->names())
      lines << line(name, known->find(name)->getDescriptor()->getDescription());
    lines << line(BuiltinScene, QStringLiteral("the built-in scene")) << filesLine(io::importableSuffixes());
    return lines;
  }

  QString m_Typed;
  main::Command* m_Command = nullptr;
  const Option* m_Option = nullptr;                ///< whose value comes next
  const AbstractParameter* m_Parameter = nullptr;  ///< whose value may come next
};

}  // namespace

QStringList completionsOf(const QStringList& words) { return Call(words).completions(); }

}  // namespace nubo::app
