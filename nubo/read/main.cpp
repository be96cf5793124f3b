// The program nubo-read: reads one model file with one reader, shut in, and hands over what it has read. nubo starts it
// as nubo-read LIBRARY FILE FORMAT MEMORY [OPTION=VALUE ...], with a socket to itself.
#include <dlfcn.h>
#include <link.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "nubo/read/connection.h"
#include "nubo/read/images.h"
#include "nubo/read/sandbox.h"

namespace {

using namespace nubo;
using namespace nubo::read;

std::string folderOf(const QString& file) { return QFile::encodeName(QFileInfo(file).absolutePath()).toStdString(); }

/// Of this program and the libraries that it has loaded, which may lie anywhere; libraries of its readers and of Qt lie
/// near to them.
std::vector<std::string> libraryFolders() {
  std::vector<std::string> folders;
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* result) {
        if (info->dlpi_name && info->dlpi_name[0] == '/')
          static_cast<std::vector<std::string>*>(result)->push_back(folderOf(QFile::decodeName(info->dlpi_name)));
        return 0;
      },
      &folders);
  for (const QString& path : QCoreApplication::libraryPaths()) folders.push_back(QFile::encodeName(path).toStdString());
  return folders;
}

/// Textures often lie beside the model's folder. What holds everything, or the homes of all, is not opened for them.
std::vector<std::string> modelFolders(const QString& file) {
  std::vector<std::string> folders{folderOf(file)};
  if (QFileInfo(file).isSymLink()) folders.push_back(folderOf(QFileInfo(file).canonicalFilePath()));
  QDir above = QFileInfo(file).absoluteDir();
  if (above.cdUp() && above.absolutePath().count(QLatin1Char('/')) > 1)
    folders.push_back(QFile::encodeName(above.absolutePath()).toStdString());
  return folders;
}

using Entry = void (*)(const std::string&, const std::string&, reader::Output&);

Entry loadReader(const char* library) {
  void* loaded = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  if (!loaded) throw reader::Refusal("the library that reads it cannot be loaded: %1", {dlerror()});
  const auto* version = static_cast<const int*>(dlsym(loaded, "nuboReaderInterface"));
  const auto entry = reinterpret_cast<Entry>(dlsym(loaded, "nuboRead"));
  if (!version || !entry) throw reader::Refusal("the library that reads it is no reader");
  if (*version != reader::InterfaceVersion)
    throw reader::Refusal("the library that reads it is for another version of nubo");
  return entry;
}

void readModel(char** words, Connection& connection) {
  try {
    const std::string file = words[2];
    loadReader(words[1])(file, words[3], connection);
    readImages(QFile::decodeName(words[2]).toStdString(), connection);
    connection.finish();
  } catch (const std::bad_alloc&) {
    connection.refuse("it takes more memory than there is");
  } catch (const std::exception& error) {
    connection.refuse(error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (argc < 5) {
    std::fputs("nubo-read is a part of nubo, which starts it.\n", stderr);
    return 2;
  }
  if (getppid() == 1) return 2;  // who wanted the file has ended since
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  dup2(STDOUT_FILENO, STDERR_FILENO);  // what libraries have to say helps nobody
#endif
  std::setlocale(LC_CTYPE, "C.UTF-8");  // numbers stay those of files
#ifdef __GLIBC__
  // Many small blocks come and go, which need not go back to the system each time; large ones do, since the program
  // needs memory, too.
  constexpr int Kept = 40 << 20, More = 4 << 20, LargeBlock = 4 << 20;
  mallopt(M_MMAP_THRESHOLD, LargeBlock);
  mallopt(M_TRIM_THRESHOLD, Kept);
  mallopt(M_TOP_PAD, More);
#endif
  int noArguments = 1;
  const QCoreApplication application(noArguments, argv);
  std::vector<std::string> folders = libraryFolders();
  folders.push_back(folderOf(QFile::decodeName(argv[1])));
  for (const std::string& folder : modelFolders(QFile::decodeName(argv[2]))) folders.push_back(folder);
  Connection connection;
  for (int i = 5; i < argc; ++i) connection.setOption(argv[i]);
  connection.progress(-1);
  for (const std::string& text : enterSandbox(folders, std::strtoull(argv[4], nullptr, 10)))
    connection.unprotected(text);
  readModel(argv, connection);
  // Whatever libraries would still do at the end does not matter any more.
  _exit(0);
}
