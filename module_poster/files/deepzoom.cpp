#include "module_poster/files/deepzoom.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include "module_poster/files/error.h"
#include "module_poster/files/viewerpage.h"
#include "module_poster/files/writeall.h"

namespace nubo::poster {

namespace {

QString stemOf(const QString& fileName) {
  const QFileInfo file(fileName);
  return file.absolutePath() + '/' + file.completeBaseName();
}

QString folderOf(const QString& fileName) { return stemOf(fileName) + QStringLiteral("_files"); }

void write(QSaveFile& file, const QByteArray& bytes) {
  if (!file.open(QIODevice::WriteOnly)) throw Error(file.errorString());
  writeAll(file, bytes);
}

void finish(QSaveFile& file) {
  if (!file.commit()) throw Error(file.errorString());
}

QByteArray descriptionText(const Description& description) {
  return QStringLiteral(
             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
             "<Image xmlns=\"http://schemas.microsoft.com/deepzoom/2008\" Format=\"%1\" Overlap=\"0\" "
             "TileSize=\"%2\">\n  <Size Width=\"%3\" Height=\"%4\"/>\n</Image>\n")
      .arg(suffixOf(description.format.coding))
      .arg(description.edge)
      .arg(description.size.width())
      .arg(description.size.height())
      .toUtf8();
}

}  // namespace

DeepZoom::DeepZoom(const Description& description, const QString& fileName)
    : m_Description(description),
      m_Layout(description.layout()),
      m_FileName(fileName),
      m_Making(folderOf(fileName) + QStringLiteral("-XXXXXX")),
      m_Tiles(m_Making.filePath(QStringLiteral("tiles"))),
      m_HasLevel(std::size_t(m_Layout.levels()), false) {
  // A folder in the temporary one, since only its owner may look into that.
  if (!m_Making.isValid() || !QDir().mkdir(m_Tiles)) throw Error(m_Making.errorString());
}

void DeepZoom::put(const TileId& tile, const QByteArray& bytes) {
  const QString level = QStringLiteral("%1/%2").arg(m_Tiles).arg(m_Layout.levels() - 1 - tile.level);
  if (!m_HasLevel[std::size_t(tile.level)]) m_HasLevel[std::size_t(tile.level)] = QDir().mkdir(level);
  QFile file(QStringLiteral("%1/%2_%3.%4")
                 .arg(level)
                 .arg(tile.column)
                 .arg(tile.row)
                 .arg(suffixOf(m_Description.format.coding)));
  if (!file.open(QIODevice::WriteOnly)) throw Error(file.errorString());
  writeAll(file, bytes);
}

void DeepZoom::commit() {
  copyViewer(m_Tiles);
  // All that takes room is written before anything takes the place of what stood there.
  QSaveFile description(m_FileName), page(stemOf(m_FileName) + QStringLiteral(".html"));
  write(description, descriptionText(m_Description));
  write(page, viewerPage(m_Description, QFileInfo(folderOf(m_FileName)).fileName()));
  replaceFolder();
  finish(description);
  finish(page);
}

void DeepZoom::replaceFolder() {
  const QString folder = folderOf(m_FileName), old = m_Making.filePath(QStringLiteral("old"));
  const bool isThere = QFileInfo::exists(folder);
  if (isThere && !QDir().rename(folder, old)) throw Error(QStringLiteral("%1 cannot be replaced").arg(folder));
  if (QDir().rename(m_Tiles, folder)) return;
  if (isThere) QDir().rename(old, folder);
  throw Error(QStringLiteral("%1 cannot be made").arg(folder));
}

QString DeepZoom::whyNotReplaceable(const QString& fileName) {
  const QString folder = folderOf(fileName), page = stemOf(fileName) + QStringLiteral(".html");
  if (QFileInfo::exists(folder) && !QFileInfo::exists(fileName))
    return QCoreApplication::translate("DeepZoom", "%1 is there, but no pyramid that it belongs to").arg(folder);
  if (QFileInfo::exists(page) && !isViewerPage(page))
    return QCoreApplication::translate("DeepZoom", "%1 is there, and shows no pyramid").arg(page);
  return QString();
}

}  // namespace nubo::poster
