#include "module_scene/io/importer.h"

#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <new>

#include "kernel/log/logger.h"
#include "module_scene/io/importerror.h"
#include "module_scene/io/modelbuilder.h"
#include "module_scene/io/parts.h"
#include "module_scene/io/plyreader.h"
#include "module_scene/io/readingprocess.h"
#include "module_scene/io/stlreader.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::io {
namespace {

/// Finds the causes that have nothing to do with a format. Returns the first bytes.
QByteArray checkFile(const QString& fileName) {
  const QFileInfo info(fileName);
  if (!info.exists()) throw ImportError(ImportError::tr("there is no such file"));
  if (info.isDir()) throw ImportError(ImportError::tr("it is a directory"));
  if (!info.isFile()) throw ImportError(ImportError::tr("it is not an ordinary file"));
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) throw ImportError(file.errorString());
  if (file.size() == 0) throw ImportError(ImportError::tr("the file is empty"));
  return file.read(FirstBytes);
}

/// Refuses files whose header announces more than they can hold, before memory is taken for all of it.
void checkCounts(const QByteArray& firstBytes, qint64 size) {
  static const QRegularExpression counts(
      QStringLiteral("\\A(?:OFF\\s+(?<off>\\d+)|ply\\s[^\\0]*?\\nelement\\s+vertex\\s+(?<ply>\\d+))"));
  const QRegularExpressionMatch match = counts.match(QString::fromLatin1(firstBytes));
  const QString announced = match.captured(QStringLiteral("off")) + match.captured(QStringLiteral("ply"));
  if (announced.toDouble() > double(size))
    throw ImportError(ImportError::tr("the file is truncated or damaged: it announces %1 vertices, but has %2 bytes")
                          .arg(announced)
                          .arg(size));
}

bool beginsAsPly(const QByteArray& bytes) { return bytes.startsWith("ply\n") || bytes.startsWith("ply\r"); }

void addSingle(const QString& fileName, const util::YPointer<scene::Geometry>& geometry, ImportResult& result) {
  const bool hadPrimitives = !geometry->indices.empty();
  prepare(*geometry);
  if (geometry->indices.empty())
    throw ImportError(hadPrimitives ? ImportError::tr("none of its geometry has usable coordinates")
                                    : ImportError::tr("it holds no geometry"));
  result.root = new scene::SceneElement(QFileInfo(fileName).fileName());
  result.root->addGeometry(geometry);
}

/// How much a reader may take: the most that files of that size have been seen to need many times over, so that one
/// that takes ever more is stopped before the machine suffers; and three quarters of what there is, since the program
/// needs some, too.
std::uint64_t readersMemory(qint64 fileSize) {
  constexpr std::uint64_t Least = std::uint64_t(2) << 30, PerByte = 100;
  const std::uint64_t installed = std::uint64_t(sysconf(_SC_PHYS_PAGES)) * std::uint64_t(sysconf(_SC_PAGESIZE));
  return std::min(std::max(Least, PerByte * std::uint64_t(fileSize)), installed / 4 * 3);
}

/// Parts of a file are files, too, but theirs are not read.
enum class Level { File, Part };
ImportResult import(const QString& fileName, ImportControl& control, Level level);

void readWithPlugin(const ReaderChoice& choice, const QString& fileName, ImportControl& control, Level level,
                    ImportResult& result) {
  const std::uint64_t memory = readersMemory(QFileInfo(fileName).size());
  SharedBlocks blocks(memory);
  reader::Model model;
  {
    ReadingProcess process(choice, QFileInfo(fileName).absoluteFilePath(), memory, control.options);
    model = process.run(blocks, control, result.warnings);
  }
  try {
    StoredNumbers stored(fileName, memory);
    ModelBuilder builder(model, blocks, stored, result);
    builder.build(QFileInfo(fileName).fileName(), control.variant);
    if (level == Level::File)
      addParts(
          builder.parts(), [&](const QString& part) { return import(part, control, Level::Part); }, result);
    if (control.cancelled) throw ImportError(ImportError::tr("reading was cancelled"));
    if (result.root->getBoundingBox().isEmpty()) throw ImportError(ImportError::tr("it holds no geometry"));
  } catch (const reader::BadRecord& bad) {
    NUBO_LOG(log::Note, "nubo::io::readWithPlugin",
             QStringLiteral("of '%1', reader '%2': %3").arg(fileName, choice.reader->name, QLatin1String(bad.what())));
    throw ImportError(ImportError::tr("its reader '%1' hands over what makes no sense").arg(choice.reader->name));
  }
}

ReaderFormat formatOf(const ReaderChoice& choice) {
  if (!choice.reader) return {};
  const auto& formats = choice.reader->formats;
  const auto found = std::find_if(formats.begin(), formats.end(),
                                  [&](const ReaderFormat& format) { return format.suffixes.contains(choice.format); });
  return found == formats.end() ? ReaderFormat{{}, choice.format, {}} : *found;
}

void readFile(const QString& fileName, ImportControl& control, Level level, ImportResult& result) {
  const QByteArray firstBytes = checkFile(fileName);
  const QFileInfo info(fileName);
  const QString suffix = info.suffix().toLower();
  checkCounts(firstBytes, info.size());
  const ReaderChoice choice = chooseReader(readerTable(), suffix, firstBytes);
  // Big files come in few formats; those are read here, which takes little time and memory.
  util::YPointer<scene::Geometry> geometry;
  if (beginsAsPly(firstBytes))
    geometry = readBinaryPly(fileName, control);
  else if (!choice.knownByContent && (suffix == QLatin1String("stl") || hasSizeOfBinaryStl(firstBytes, info.size())))
    geometry = readBinaryStl(fileName, control);
  result.reader = geometry ? QStringLiteral("nubo") : choice.reader ? choice.reader->name : QString();
  if (geometry) {
    result.format = beginsAsPly(firstBytes) ? QStringLiteral("PLY") : QStringLiteral("STL");
    return addSingle(fileName, geometry, result);
  }
  const ReaderFormat format = formatOf(choice);
  result.format = format.description;
  result.inMetres = format.inMetres;
  if (!choice.reader) throw ImportError(ImportError::tr("its format is not known"));
  readWithPlugin(choice, fileName, control, level, result);
}

ImportResult import(const QString& fileName, ImportControl& control, Level level) {
  ImportResult result;
  QString cause;
  try {
    readFile(fileName, control, level, result);
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

}  // namespace

void ImportResult::add(const ImportResult& other) {
  inMetres = other.inMetres && (inMetres || root->getChildren().empty());
  root->addChild(other.root);
  animations.insert(animations.end(), other.animations.begin(), other.animations.end());
  cameras.insert(cameras.end(), other.cameras.begin(), other.cameras.end());
  variants << other.variants;
  warnings << other.warnings;
}

ImportResult importFile(const QString& fileName) {
  ImportControl control;
  return importFile(fileName, control);
}

ImportResult importFile(const QString& fileName, ImportControl& control) {
  return import(fileName, control, Level::File);
}

QStringList importableSuffixes() {
  QStringList suffixes{QStringLiteral("ply"), QStringLiteral("stl")};
  for (const ReaderEntry& reader : readerTable())
    for (const ReaderFormat& format : reader.formats) suffixes << format.suffixes;
  suffixes.sort();
  suffixes.removeDuplicates();
  return suffixes;
}

}  // namespace nubo::io
