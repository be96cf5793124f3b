#include "nubo/window/results/desktop.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QMimeData>
#include <QProcess>
#include <QUrl>

namespace nubo::window {

namespace {

QUrl urlOf(const QString& fileName) { return QUrl::fromLocalFile(QFileInfo(fileName).absoluteFilePath()); }

/// For other programs to paste, who hold it in memory several times over.
QImage pictureOf(const QString& fileName) {
  constexpr qint64 Most = 20000000;  // pixels
  QImageReader reader(fileName);
  const QSize size = reader.size();
  return qint64(size.width()) * size.height() > Most ? QImage() : reader.read();
}

}  // namespace

void openOnDesktop(const QString& fileName) { QDesktopServices::openUrl(urlOf(fileName)); }

void showInFolder(const QString& fileName) {
  const QUrl folder = QUrl::fromLocalFile(QFileInfo(fileName).absolutePath());
  auto* ask = new QProcess(qApp);
  const auto end = [ask, folder](bool isShown) {
    if (!isShown) QDesktopServices::openUrl(folder);
    ask->deleteLater();
  };
  QObject::connect(ask, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), ask,
                   [end](int code, QProcess::ExitStatus status) { end(status == QProcess::NormalExit && code == 0); });
  QObject::connect(ask, &QProcess::errorOccurred, ask, [end](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) end(false);
  });
  ask->start(
      QStringLiteral("dbus-send"),
      {QStringLiteral("--session"), QStringLiteral("--print-reply"), QStringLiteral("--reply-timeout=3000"),
       QStringLiteral("--dest=org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
       QStringLiteral("org.freedesktop.FileManager1.ShowItems"),
       QStringLiteral("array:string:") + QString::fromLatin1(urlOf(fileName).toEncoded()), QStringLiteral("string:")});
}

void copyFile(const QString& fileName) {
  auto* data = new QMimeData;
  data->setUrls({urlOf(fileName)});
  if (const QImage picture = pictureOf(fileName); !picture.isNull()) data->setImageData(picture);
  QGuiApplication::clipboard()->setMimeData(data);
}

}  // namespace nubo::window
