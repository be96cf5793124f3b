#include "nubo/cli/process.h"

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <clocale>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace nubo::app {

namespace {

/// Where a standard stream is closed, a file opened later would take its place, and messages would end up in that.
void occupyClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

/// Models and pictures are large blocks that come and go. Left to itself, the C library soon keeps freed blocks of up
/// to 32 MB for later, which the next large picture then finds missing; a tile still comes from what it keeps. Software
/// OpenGL takes and frees a megabyte with each call that draws: to give that back to the system and have it again took
/// longer than a tenth of drawing. Threads that prepare many small meshes at once must not wait for each other to have
/// memory, so that there is some for each of a few; no more, as what one frees is not there for others then.
void tuneAllocator() {
#ifdef __GLIBC__
  constexpr int LargeBlock = 4 << 20, Kept = 40 << 20, More = 1 << 20, Arenas = 8;
  mallopt(M_MMAP_THRESHOLD, LargeBlock);
  mallopt(M_TRIM_THRESHOLD, Kept);
  mallopt(M_TOP_PAD, More);
  mallopt(M_ARENA_MAX, Arenas);
#endif
}

/// Services often run without a locale, or the system lacks the user's; file names are UTF-8 all the same. The language
/// stays the user's.
void useUtf8() {
  std::setlocale(LC_ALL, "");
  if (QByteArray(nl_langinfo(CODESET)) != "ANSI_X3.4-1968") return;
  if (qEnvironmentVariableIsSet("LC_ALL")) qputenv("LANG", qgetenv("LC_ALL"));
  qunsetenv("LC_ALL");
  qputenv("LC_CTYPE", "C.UTF-8");
  std::setlocale(LC_CTYPE, "");
}

}  // namespace

void prepareProcess() {
  occupyClosedStreams();
  tuneAllocator();
  useUtf8();
}

QStringList wordsOf(int argc, char** argv, QString& error) {
  QStringList words;
  for (int i = 1; i < argc; ++i) {
    words << QString::fromLocal8Bit(argv[i]);
    if (words.back().toLocal8Bit() != argv[i])
      error = QStringLiteral("%1: this is not text in the encoding %2; rename the file")
                  .arg(words.back(), nl_langinfo(CODESET));
  }
  return words;
}

}  // namespace nubo::app
