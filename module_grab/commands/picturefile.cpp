#include "module_grab/commands/picturefile.h"

#include <QColor>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QSaveFile>

#include "picture/background.h"

namespace nubo::commands::grab {

namespace {

/// A file that remembers why it could not take something, and from then on takes everything and keeps nothing: the
/// libraries behind the picture formats print lines of their own when a write fails, or do not look at it at all. A
/// disk that fills up takes a part of the data without a word, and says why when it is asked to take the rest.
template <class File>
class PatientFile : public File {
 public:
  using File::File;

  /// Whether all that was written has arrived; else `reason` says why it has not.
  bool isWhole(QString& reason) {
    if (!m_Failed && !this->flush()) fail();
    if (m_Failed) reason = m_Reason;
    return !m_Failed;
  }

 protected:
  qint64 writeData(const char* data, qint64 size) override {
    for (qint64 done = 0; done < size && !m_Failed;) {
      const qint64 taken = File::writeData(data + done, size - done);
      if (taken > 0)
        done += taken;
      else
        fail();
    }
    return size;
  }

 private:
  void fail() {
    m_Failed = true;
    this->flush();  // asks again
    m_Reason = this->errorString();
  }

  bool m_Failed = false;
  QString m_Reason;
};

bool keepsAlpha(const QByteArray& format) {
  static const QList<QByteArray> Without{"bmp", "jpeg", "jpg", "pbm", "pgm", "ppm", "wbmp", "xbm"};
  return !Without.contains(format.toLower());
}

template <class File>
bool writeTo(File& file, const QImage& image, const QByteArray& format, QString& reason) {
  QImageWriter writer(&file, format);
  const bool isWritten = writer.write(image);
  if (!file.isWhole(reason)) return false;
  if (!isWritten && writer.error() != QImageWriter::UnknownError) reason = writer.errorString();
  return isWritten;
}

}  // namespace

bool hasWritableSuffix(const QString& fileName) {
  for (const QByteArray& format : QImageWriter::supportedImageFormats())
    if (fileName.endsWith(QLatin1Char('.') + QString::fromLatin1(format).toLower())) return true;
  return false;
}

bool writePicture(QImage picture, const scene::Background& background, const QString& fileName, QString& reason) {
  const QFileInfo target(fileName);
  const QByteArray format = target.suffix().toLatin1();
  const bool isOpaque = background.inPictures || !keepsAlpha(format);
  const QImage image = isOpaque ? picture::laidOver(background, std::move(picture)) : std::move(picture);
  PatientFile<QSaveFile> whole(fileName);
  // Pipes and devices are not replaced; and not every directory takes another file, nor every name a longer one.
  if ((!target.exists() || target.isFile()) && whole.open(QIODevice::WriteOnly)) {
    if (!writeTo(whole, image, format, reason)) return false;
    if (whole.commit()) return true;
    reason = whole.errorString();
    return false;
  }
  PatientFile<QFile> direct(fileName);
  if (direct.open(QIODevice::WriteOnly | QIODevice::Truncate)) return writeTo(direct, image, format, reason);
  reason = direct.errorString();
  return false;
}

}  // namespace nubo::commands::grab
