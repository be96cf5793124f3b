// Makes one video or poster of its pieces.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>
#include <cstdio>

#include "farm/join/join.h"
#include "farm/join/options.h"
#include "plugins/video/av/formats.h"
#include "plugins/video/av/libav.h"

namespace {

using namespace nubo;
using grab::video::av::Error;

constexpr int Failed = 1, WrongCall = 2;

qint64 joinVideo(const farm::Pieces& pieces, const QString& target, const QByteArray& suffix) {
  const auto* format = grab::video::av::findFormat(suffix.constData());
  if (!format && suffix != "y4m") throw Error(QStringLiteral("%1: no video or poster has that suffix").arg(target));
  QSaveFile file(target);
  if (!file.open(QIODevice::WriteOnly)) throw Error(QStringLiteral("%1: %2").arg(target, file.errorString()));
  const qint64 frames = !format           ? farm::joinStreams(pieces, &file)
                        : suffix == "gif" ? farm::joinAnimation(pieces, *format, &file)
                                          : farm::joinPackets(pieces, *format, &file);
  if (!file.commit()) throw Error(QStringLiteral("%1: %2").arg(target, file.errorString()));
  return frames;
}

/// Says what the target then holds.
QString join(const farm::Pieces& pieces, const QString& target) {
  const QByteArray suffix = QFileInfo(target).suffix().toLower().toLatin1();
  for (const farm::Piece& piece : pieces)
    if (QFileInfo::exists(target) && QFileInfo(piece.file) == QFileInfo(target))
      throw Error(QStringLiteral("%1: is a piece itself").arg(target));
  if (farm::isPoster(suffix)) return QStringLiteral("%1 tiles").arg(farm::joinPoster(pieces, target));
  return QStringLiteral("%1 frames").arg(joinVideo(pieces, target, suffix));
}

int print(const QString& text) {
  std::fputs(text.toLocal8Bit().constData(), stdout);
  return std::fflush(stdout) == 0 ? 0 : Failed;
}

int refuse(const QString& reason) {
  std::fprintf(stderr, "nubo-join: %s; nubo-join --help tells more\n", reason.toLocal8Bit().constData());
  return WrongCall;
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("nubo-join"));
  QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins"));
  QCommandLineParser parser;
  farm::describe(parser);
  const QStringList given = application.arguments();
  if (given.value(1) == "--complete") return print(farm::completionsOf(given.mid(2)).join('\n') + '\n');
  if (!parser.parse(given)) return refuse(parser.errorText());
  if (parser.isSet(QStringLiteral("help"))) return print(parser.helpText());
  if (parser.isSet(QStringLiteral("manual"))) return print(farm::manualText());
  QStringList words = parser.positionalArguments();
  const bool hasList = parser.isSet(QStringLiteral("list"));
  if (words.isEmpty() || hasList != (words.size() == 1))
    return refuse(QStringLiteral("a target is needed, and pieces or a list of them"));
  av_log_set_level(AV_LOG_QUIET);  // what is wrong is told in a line of ours
  const QString target = words.takeFirst();
  try {
    farm::Pieces pieces;
    for (const QString& word : words) pieces.push_back({word});
    if (hasList) pieces = farm::readList(parser.value(QStringLiteral("list")));
    if (pieces.isEmpty()) throw Error(QStringLiteral("there are no pieces"));
    return print(QStringLiteral("%1 (%2)\n").arg(target, join(pieces, target)));
  } catch (const Error& error) {
    std::fprintf(stderr, "nubo-join: %s\n", error.what());
    return Failed;
  }
}
