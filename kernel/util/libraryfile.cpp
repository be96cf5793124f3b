#include "kernel/util/libraryfile.h"

#include <dlfcn.h>
#ifdef __ELF__
#include <link.h>
#endif

#include <QFile>
#include <QFileInfo>
#include <cstring>
#include <vector>

namespace nubo::util {

#ifdef __ELF__

namespace {

template <class T>
bool read(QFile& file, T* values, int count) {
  const qint64 bytes = qint64(sizeof(T)) * count;
  return file.read(reinterpret_cast<char*>(values), bytes) == bytes;
}

}  // namespace

bool isCutOff(const QString& fileName) {
  QFile file(fileName);
  ElfW(Ehdr) header{};
  if (!file.open(QIODevice::ReadOnly) || !read(file, &header, 1)) return false;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr))) return false;
  std::vector<ElfW(Phdr)> segments(header.e_phnum);
  if (!file.seek(qint64(header.e_phoff)) || !read(file, segments.data(), header.e_phnum)) return false;
  const auto size = quint64(file.size());
  for (const ElfW(Phdr) & segment : segments)
    if (segment.p_type == PT_LOAD && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset))
      return true;
  return false;
}

#else

bool isCutOff(const QString&) { return false; }

#endif

QString folderOfLibrary(const void* address) {
  Dl_info library{};
  dladdr(address, &library);
  return QFileInfo(QFile::decodeName(library.dli_fname)).absolutePath();
}

}  // namespace nubo::util
