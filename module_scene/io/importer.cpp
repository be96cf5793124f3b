#include "module_scene/io/importer.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <new>

#include "module_scene/io/assimplibrary.h"
#include "module_scene/io/importerror.h"
#include "module_scene/io/plyreader.h"
#include "module_scene/io/stlreader.h"
#include "module_scene/io/xfilecheck.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::io {
namespace {

/// Finds the causes that have nothing to do with a format.
void checkFile(const QString& fileName) {
  const QFileInfo info(fileName);
  if (!info.exists()) throw ImportError(ImportError::tr("there is no such file"));
  if (info.isDir()) throw ImportError(ImportError::tr("it is a directory"));
  if (!info.isFile()) throw ImportError(ImportError::tr("it is not an ordinary file"));
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) throw ImportError(file.errorString());
  if (file.size() == 0) throw ImportError(ImportError::tr("the file is empty"));
}

/// Refuses files whose header announces more than they can hold, before memory is taken for all of it.
void checkCounts(const QString& fileName) {
  static const QRegularExpression counts(
      QStringLiteral("\\A(?:OFF\\s+(?<off>\\d+)|ply\\s[^\\0]*?\\nelement\\s+vertex\\s+(?<ply>\\d+))"));
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) return;
  const QRegularExpressionMatch match = counts.match(QString::fromLatin1(file.read(4096)));
  const QString announced = match.captured(QStringLiteral("off")) + match.captured(QStringLiteral("ply"));
  if (announced.toDouble() > double(file.size()))
    throw ImportError(ImportError::tr("the file is truncated or damaged: it announces %1 vertices, but has %2 bytes")
                          .arg(announced)
                          .arg(file.size()));
}

/// Big files come in few formats; those have readers here that take little time and memory. Null: none has.
util::YPointer<scene::Geometry> readQuickly(const QString& fileName) {
  const QString suffix = QFileInfo(fileName).suffix().toLower();
  if (suffix == QLatin1String("stl") && isPlainBinaryStl(fileName)) return readStl(fileName);
  if (suffix == QLatin1String("ply")) return readBinaryPly(fileName);
  return nullptr;
}

/// Assimp gives what it does not know to the reader that refuses least, which finds a shape in any text.
void checkSuffix(const QString& fileName) {
  if (!importableSuffixes().contains(QFileInfo(fileName).suffix().toLower()))
    throw ImportError(ImportError::tr("its format is not known"));
}

void readFile(const QString& fileName, ImportResult& result) {
  checkFile(fileName);
  checkCounts(fileName);
  const util::YPointer<scene::Geometry> geometry = readQuickly(fileName);
  if (!geometry) {
    const AssimpLibrary& assimp = AssimpLibrary::instance();
    checkSuffix(fileName);
    checkXFile(fileName);
    return assimp.readWithAssimp(fileName, result);
  }
  const bool hadPrimitives = !geometry->indices.empty();
  prepare(*geometry);
  if (geometry->indices.empty())
    throw ImportError(hadPrimitives ? ImportError::tr("none of its geometry has usable coordinates")
                                    : ImportError::tr("it holds no geometry"));
  result.root = new scene::SceneElement(QFileInfo(fileName).fileName());
  result.root->addGeometry(geometry);
}

}  // namespace

ImportResult importFile(const QString& fileName) {
  ImportResult result;
  QString cause;
  try {
    readFile(fileName, result);
    return result;
  } catch (const ImportError& error) {
    cause = error.cause();
  } catch (const std::bad_alloc&) {
    cause = ImportError::tr("it takes more memory than there is");
  } catch (const std::exception& error) {
    cause = QString::fromUtf8(error.what()).simplified();
  }
  ImportResult failed;
  failed.error = ImportError::tr("cannot read '%1': %2").arg(fileName, cause);
  return failed;
}

QStringList importableSuffixes() {
  QStringList suffixes{QStringLiteral("ply"), QStringLiteral("stl")};
  try {
    AssimpLibrary::instance().listSuffixes(suffixes);
  } catch (const ImportError&) {
    // Files of other formats cannot be read, which is told of each.
  }
  suffixes.sort();
  suffixes.removeDuplicates();
  return suffixes;
}

}  // namespace nubo::io
