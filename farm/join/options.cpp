#include "farm/join/options.h"

#include "nubo/cli/troff.h"

namespace nubo::farm {

namespace {

const char Description[] =
    "Joins pieces of a recording, in the order given, to one video, or bands of a poster,\n"
    "in any order, to one poster, without encoding them again.\n"
    "Pieces have the target's format; those of a GIF are Matroska videos (.mkv), those of\n"
    "a poster bands (.tif.band, .dzi.band).\n"
    "The target is left as it is until the new one is complete.";
const char ExitStatus[] = "0 done, 1 failed, 2 the call was wrong.";

struct Option {
  QStringList names;  ///< a letter may stand before the word
  const char *value, *meaning;
};
const Option Options[] = {
    {{"list"},
     "FILE",
     "Takes the pieces from a file with a line for each: the frames or rows that it must have, a tab, and its name. - "
     "is "
     "standard input."},
    {{"manual"}, "", "Prints the manual page."},
    {{"complete"}, "WORD...", "Prints how the last of the words may go on; shells ask for it."},
    {{"h", "help"}, "", "Shows this help."},
};
// What recordings and posters are called, and bands.
const char* const Suffixes[] = {"mp4", "mkv", "webm", "mov", "avi", "gif", "y4m", "tif", "tiff", "dzi", "band"};

QString nameOf(const Option& option) { return "--" + option.names.last(); }

}  // namespace

void describe(QCommandLineParser& parser) {
  parser.setApplicationDescription(QStringLiteral("%1\nExit status: %2").arg(Description, ExitStatus));
  parser.addPositionalArgument(QStringLiteral("TARGET"), QStringLiteral("The video or poster to be made."));
  parser.addPositionalArgument(QStringLiteral("PIECE"), QStringLiteral("The pieces."), QStringLiteral("[PIECE ...]"));
  for (const Option& option : Options) parser.addOption({option.names, option.meaning, option.value});
}

QString manualText() {
  using namespace app::troff;
  QString text = QStringLiteral(".TH NUBO\\-JOIN 1 \"\" \"nubo\" \"User Commands\"\n") + section("NAME") +
                 "nubo\\-join \\- joins recordings and posters that were made in pieces\n" + section("SYNOPSIS") +
                 ".B nubo\\-join\n[options] TARGET [PIECE ...]\n" + section("DESCRIPTION") + paragraph(Description) +
                 section("OPTIONS");
  for (const Option& option : Options)
    text += item(QStringLiteral("%1 %2").arg(nameOf(option), option.value).trimmed(), option.meaning);
  return text + section("EXIT STATUS") + paragraph(ExitStatus) + section("SEE ALSO") +
         ".BR nubo (1),\n.BR nubo\\-batch (1)\n";
}

QStringList completionsOf(const QStringList& words) {
  const QString typed = words.isEmpty() ? QString() : words.last();
  if (words.size() > 1 && words[words.size() - 2] == "--list") return {":files"};
  QStringList lines;
  for (const Option& option : Options)
    if (nameOf(option).startsWith(typed)) lines << nameOf(option) + '\t' + option.meaning;
  if (typed.startsWith('-')) return lines;
  QString files = ":files";
  for (const char* suffix : Suffixes) files += QStringLiteral(" ") + suffix;
  return lines << files;
}

}  // namespace nubo::farm
