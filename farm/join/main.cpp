// Makes one video or poster of its pieces.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>
#include <cstdio>

#include "farm/join/join.h"
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

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("nubo-join"));
  QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins"));
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral(
      "Joins pieces of a recording, in the order given, to one video, or bands of a poster, in any order,\n"
      "to one poster, without encoding them again.\n"
      "Pieces have the target's format; those of a GIF are Matroska videos (.mkv), those of a poster "
      "bands\n(.tif.band, .dzi.band).\n"
      "The target is left as it is until the new one is complete.\n"
      "Exit status: 0 done, 1 failed, 2 the call was wrong."));
  parser.addPositionalArgument(QStringLiteral("TARGET"), QStringLiteral("The video or poster to be made."));
  parser.addPositionalArgument(QStringLiteral("PIECE"), QStringLiteral("The pieces."), QStringLiteral("[PIECE ...]"));
  parser.addOption({QStringLiteral("list"),
                    QStringLiteral("Takes the pieces from a file with a line for each: the frames or rows that it must "
                                   "have, a tab, and its name. - is standard input."),
                    QStringLiteral("FILE")});
  parser.addHelpOption();
  parser.process(application);
  QStringList words = parser.positionalArguments();
  const bool hasList = parser.isSet(QStringLiteral("list"));
  if (words.isEmpty() || hasList != (words.size() == 1)) {
    std::fputs("nubo-join: a target is needed, and pieces or a list of them; nubo-join --help tells more\n", stderr);
    return WrongCall;
  }
  av_log_set_level(AV_LOG_QUIET);  // what is wrong is told in a line of ours
  const QString target = words.takeFirst();
  try {
    farm::Pieces pieces;
    for (const QString& word : words) pieces.push_back({word});
    if (hasList) pieces = farm::readList(parser.value(QStringLiteral("list")));
    if (pieces.isEmpty()) throw Error(QStringLiteral("there are no pieces"));
    std::printf("%s (%s)\n", target.toLocal8Bit().constData(), join(pieces, target).toLocal8Bit().constData());
    return std::fflush(stdout) == 0 ? 0 : Failed;
  } catch (const Error& error) {
    std::fprintf(stderr, "nubo-join: %s\n", error.what());
    return Failed;
  }
}
