// Runs the program with its window.
#pragma once

#include <QLocale>
#include <QStringList>

#include "kernel/main/commandprocessor.h"
#include "nubo/cli/commandline.h"

namespace nubo::window {

/// Makes texts appear in the user's language, where there is a translation. Before anything with texts is made.
void installTranslations(const QLocale& locale = QLocale::system());

/// Shows the window until the user closes it. Overseer, viewer and modules are there, and no command runs when it
/// returns. `failures` are those from before. The exit status.
int runWindow(main::CommandProcessor& processor, const app::CommandLine& line, const QStringList& failures);

}  // namespace nubo::window
