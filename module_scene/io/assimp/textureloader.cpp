#include "module_scene/io/assimp/textureloader.h"

#include <assimp/scene.h>

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QUrl>

#include "module_scene/io/importerror.h"

namespace nubo::io {
namespace {

constexpr int MaxSide = 16384;

/// A file of this name in the folder, in any case if not in this one; empty if there is none.
QString findInFolder(const QDir& folder, const QString& name) {
  const QFileInfo exact(folder.filePath(name));
  if (exact.isFile()) return exact.filePath();
  const QFileInfoList others = QFileInfo(folder.filePath(name)).dir().entryInfoList(QDir::Files);
  for (const QFileInfo& other : others)
    if (other.fileName().compare(exact.fileName(), Qt::CaseInsensitive) == 0) return other.filePath();
  return QString();
}

QImage withAlpha(const QImage& image, const AlphaUse& use) {
  if (use.mode == AlphaUse::AsIs || !image.hasAlphaChannel()) return image;
  if (use.mode == AlphaUse::Opaque)
    return image.convertToFormat(QImage::Format_ARGB32).convertToFormat(QImage::Format_RGB32);
  QImage result = image.convertToFormat(QImage::Format_ARGB32);
  for (int y = 0; y < result.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
    for (int x = 0; x < result.width(); ++x)
      line[x] = (line[x] & 0x00FFFFFFu) | (qAlpha(line[x]) >= use.cutoff * 255 ? 0xFF000000u : 0u);
  }
  return result;
}

QImage readImageFrom(QImageReader& reader, QString* error) {
  const QSize size = reader.size();
  if (size.width() > MaxSide || size.height() > MaxSide) {
    *error = ImportError::tr("it is larger than %1 pixels").arg(MaxSide);
    return QImage();
  }
  const QImage image = reader.read();
  if (image.isNull()) *error = reader.errorString();
  return image;
}

}  // namespace

util::YPointer<scene::Texture> TextureLoader::load(const QString& name, bool repeat, const AlphaUse& alpha) {
  const QString key = QStringLiteral("%1|%2|%3|%4").arg(repeat).arg(alpha.mode).arg(alpha.cutoff).arg(name);
  if (m_Textures.contains(key)) return m_Textures[key];
  if (!m_Images.contains(name)) m_Images[name] = readImage(name);
  const QImage image = m_Images[name];
  util::YPointer<scene::Texture> texture;
  if (!image.isNull()) texture = new scene::Texture(withAlpha(image, alpha), repeat);
  return m_Textures[key] = texture;
}

QImage TextureLoader::readImage(const QString& name) {
  if (const aiTexture* embedded = m_Scene.GetEmbeddedTexture(name.toUtf8().constData()))
    return readEmbedded(*embedded, name);
  const QString found = findFile(name);
  if (!found.isEmpty()) return readFile(found, name);
  m_Warnings << ImportError::tr("the texture '%1' is missing").arg(name);
  return QImage();
}

QImage TextureLoader::readFile(const QString& fileName, const QString& name) {
  QImageReader reader(fileName);
  QString error;
  const QImage image = readImageFrom(reader, &error);
  if (image.isNull()) m_Warnings << ImportError::tr("the texture '%1' cannot be read: %2").arg(name, error);
  return image;
}

QImage TextureLoader::readEmbedded(const aiTexture& texture, const QString& name) {
  QString error = ImportError::tr("it is empty or too large");
  QImage image;
  if (texture.mHeight == 0) {  // a file in memory of mWidth bytes
    QByteArray bytes(reinterpret_cast<const char*>(texture.pcData), int(texture.mWidth));
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    image = readImageFrom(reader, &error);
  } else if (texture.mWidth <= MaxSide && texture.mHeight <= MaxSide) {
    image = QImage(int(texture.mWidth), int(texture.mHeight), QImage::Format_ARGB32);
    const aiTexel* texel = texture.pcData;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x, ++texel)
        reinterpret_cast<QRgb*>(image.scanLine(y))[x] = qRgba(texel->r, texel->g, texel->b, texel->a);
  }
  if (image.isNull()) m_Warnings << ImportError::tr("the embedded texture '%1' cannot be read: %2").arg(name, error);
  return image;
}

/// Names come with the separators, the case and the folders of the machine that they were written on.
QString TextureLoader::findFile(const QString& name) const {
  const QDir folder = QFileInfo(m_ModelFile).dir();
  QString path = name.startsWith(QLatin1String("file:")) ? QUrl(name).toLocalFile() : name;
  path.replace(QLatin1Char('\\'), QLatin1Char('/'));
  const QString decoded = QUrl::fromPercentEncoding(path.toUtf8());
  for (const QString& candidate : {path, decoded}) {
    for (const QString& place : {candidate, QFileInfo(candidate).fileName()}) {
      if (place.isEmpty()) continue;
      const QString found = findInFolder(folder, place);
      if (!found.isEmpty()) return found;
    }
  }
  return QString();
}

}  // namespace nubo::io
