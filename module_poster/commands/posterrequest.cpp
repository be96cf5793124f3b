#include "module_poster/commands/posterrequest.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <limits>
#include <thread>

#include "kernel/main/parametervalues.h"
#include "module_poster/files/deepzoom.h"
#include "picture/panelview.h"

namespace nubo::commands::poster {

using nubo::poster::Coding;
using nubo::poster::Description;
using nubo::poster::Layout;

namespace {

const char BandSuffix[] = ".band";
constexpr int BytesPerPixel = 4;

/// Why a value will not do.
struct Refused {
  PosterParameter parameter;
  QString text;
};

struct CodingName {
  const char* name;
  Coding coding;
};
// The first of its kind is the default.
constexpr CodingName Codings[] = {
    {"deflate", Coding::Deflate}, {"zstd", Coding::Zstd}, {"png", Coding::Png}, {"jpeg", Coding::Jpeg}};

bool isTiff(Coding coding) { return coding == Coding::Deflate || coding == Coding::Zstd; }

/// Of the file or, where it is a band's, of the poster's.
QString suffixOf(QString fileName, bool isBand) {
  if (isBand) fileName.chop(int(sizeof BandSuffix) - 1);
  return QFileInfo(fileName).suffix().toLower();
}

Coding codingOf(const QString& name, bool wantsTiff) {
  QStringList known;
  for (const CodingName& coding : Codings) {
    if (isTiff(coding.coding) != wantsTiff) continue;
    if (name.isEmpty() || name.toLower() == QLatin1String(coding.name)) return coding.coding;
    known << QString::fromLatin1(coding.name);
  }
  throw Refused{Compression, (wantsTiff ? PosterRequest::tr("the tiles of a TIFF are compressed with %1")
                                        : PosterRequest::tr("the tiles of a pyramid are compressed with %1"))
                                 .arg(known.join(PosterRequest::tr(" or ")))};
}

void checkFile(const QString& fileName, bool isBand) {
  if (isBand && !fileName.endsWith(QLatin1String(BandSuffix), Qt::CaseInsensitive))
    throw Refused{FileName, PosterRequest::tr("a band's file name ends with .tif.band or .dzi.band")};
  const QString suffix = suffixOf(fileName, isBand);
  if (suffix != QLatin1String("tif") && suffix != QLatin1String("tiff") && suffix != QLatin1String("dzi"))
    throw Refused{FileName, PosterRequest::tr("a poster is a TIFF (.tif) or a deep-zoom pyramid (.dzi)")};
  if (isBand || suffix != QLatin1String("dzi")) return;
  if (const QString reason = nubo::poster::DeepZoom::whyNotReplaceable(fileName); !reason.isEmpty())
    throw Refused{FileName, reason};
}

void checkNumbers(int quality, int edge) {
  if (quality < 1 || quality > 100) throw Refused{Quality, PosterRequest::tr("the quality is a number from 1 to 100")};
  if (edge < 64 || edge > 4096 || edge % 16 != 0)
    throw Refused{TileEdge, PosterRequest::tr("the edge of a tile is a multiple of 16 from 64 to 4096")};
}

/// So many tiles that their places can be kept in memory, and be numbered while they are drawn.
void checkSize(const Description& description) {
  constexpr qint64 MostTiles = 1 << 27;
  const QSize size = description.size;
  if (size.width() < 2 || size.height() < 2)
    throw Refused{Width,
                  PosterRequest::tr("a poster of %1 × %2 pixels is too small").arg(size.width()).arg(size.height())};
  if (size.height() == std::numeric_limits<int>::max())
    throw Refused{Width, PosterRequest::tr("a poster has at most %L1 pixels down").arg(size.height() - 1)};
  const Layout drawn(size, picture::LargestTile, 1);
  const qint64 tiles = std::max(description.layout().count(), drawn.count());
  if (tiles > MostTiles)
    throw Refused{Width, PosterRequest::tr("a poster of %L1 × %L2 pixels has %L3 tiles, and a file holds %L4 at most; "
                                           "choose a smaller width")
                             .arg(size.width())
                             .arg(size.height())
                             .arg(tiles)
                             .arg(MostTiles)};
}

int rowsOf(const Description& description) {
  return picture::TileGrid(description.size.width(), description.size.height(), picture::LargestTile).rows();
}

/// "3:7" of those that there are.
picture::TileRows readRows(const QString& text, int count) {
  static const QRegularExpression pattern(QStringLiteral("^(\\d{1,9}):(\\d{1,9})$"));
  const QRegularExpressionMatch match = pattern.match(text);
  const picture::TileRows rows{match.captured(1).toInt(), match.captured(2).toInt()};
  if (!match.hasMatch() || rows.first > rows.last)
    throw Refused{Band, PosterRequest::tr("a band is FIRST:LAST, rows of tiles counted from 0 at the bottom")};
  if (rows.last >= count) throw Refused{Band, PosterRequest::tr("the poster has the rows 0:%1").arg(count - 1)};
  return rows;
}

}  // namespace

std::optional<PosterRequest> PosterRequest::of(const main::TypeSolver& solver, const main::ParameterSet& values,
                                               QSize panel, const QColor& background,
                                               main::ParameterSet::Refusal& refusal) {
  const auto fileName = main::solveParameter<QString>(solver, values, FileName);
  const auto width = main::solveParameter<int>(solver, values, Width);
  const auto quality = main::solveParameter<int>(solver, values, Quality);
  const auto edge = main::solveParameter<int>(solver, values, TileEdge);
  if (!fileName || !width || !quality || !edge) return std::nullopt;
  const auto textOf = [&](PosterParameter parameter) {
    return main::solveParameter<QString>(solver, values, parameter).value_or(QString()).trimmed();
  };
  try {
    PosterRequest request;
    const QString band = textOf(Band);
    checkFile(*fileName, !band.isEmpty());
    checkNumbers(*quality, *edge);
    const Coding coding = codingOf(textOf(Compression), suffixOf(*fileName, !band.isEmpty()).startsWith("tif"));
    request.fileName = *fileName;
    request.description = {{*width, picture::heightFor(*width, panel)},
                           *edge,
                           {coding, *quality, background},
                           values.parameters()[Width]->getDotsPerInch()};
    if (panel.isEmpty()) return std::nullopt;
    checkSize(request.description);
    if (!band.isEmpty()) request.band = readRows(band, rowsOf(request.description));
    return request;
  } catch (const Refused& refused) {
    refusal = {refused.parameter, refused.text};
    return std::nullopt;
  }
}

QString PosterRequest::summary() const {
  const Layout layout = description.layout();
  // What drawing takes; tiles that are put together and encoded; where in the file each lies; rows that wait.
  constexpr double Megabyte = 1e6, Gigabyte = 1e9, Drawing = 40e6, Place = 24, Waiting = 300;
  const double tile = double(layout.edge()) * layout.edge() * BytesPerPixel;
  const double memory = Drawing + tile * (6 + 3 * std::thread::hardware_concurrency()) +
                        double(layout.count()) * Place + 4.0 * layout.columns(0) * Waiting;
  // The smaller versions are a third of the poster; those of a TIFF lie in a file of their own until it is closed.
  const double pixels = double(description.size.width()) * description.size.height();
  const double disk = pixels * BytesPerPixel * (isTiff(description.format.coding) ? 5.0 : 4.0) / 3;
  QString text =
      tr("%L1 × %L2 pixels in %L3 rows of tiles, about %L4 MB of memory beside the scene, at most %5 on disk")
          .arg(description.size.width())
          .arg(description.size.height())
          .arg(rowsOf(description))
          .arg(memory / Megabyte, 0, 'f', 0)
          .arg(disk < Gigabyte ? tr("%L1 MB").arg(disk / Megabyte, 0, 'f', 0)
                               : tr("%L1 GB").arg(disk / Gigabyte, 0, 'f', 1));
  if (band) text += tr("; of it the rows %1:%2").arg(band->first).arg(band->last);
  return text;
}

}  // namespace nubo::commands::poster
