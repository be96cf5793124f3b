#include "module_scene/io/assimplibrary.h"

#include <QLibrary>

#include "kernel/util/libraryfile.h"
#include "module_scene/io/importerror.h"

namespace nubo::io {
namespace {

AssimpLibrary loadAssimp() {
  QLibrary library(util::folderOfLibrary(reinterpret_cast<const void*>(&loadAssimp)) +
                   QStringLiteral("/libmodule_scene_assimp.so"));
  AssimpLibrary result;
  result.readWithAssimp = reinterpret_cast<decltype(result.readWithAssimp)>(library.resolve("readWithAssimp"));
  result.listSuffixes = reinterpret_cast<decltype(result.listSuffixes)>(library.resolve("listSuffixes"));
  if (!result.readWithAssimp || !result.listSuffixes)
    throw ImportError(ImportError::tr("the library that reads it cannot be loaded: %1").arg(library.errorString()));
  return result;
}

}  // namespace

const AssimpLibrary& AssimpLibrary::instance() {
  static const AssimpLibrary library = loadAssimp();
  return library;
}

}  // namespace nubo::io
