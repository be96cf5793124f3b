#include "module_poster/files/joinbands.h"

#include <QFileInfo>
#include <algorithm>
#include <vector>

#include "module_poster/files/bandfile.h"
#include "module_poster/files/error.h"
#include "module_poster/files/posterbuilder.h"

namespace nubo::poster {

namespace {

struct Band {
  QString file;
  picture::TileRows rows;
};

void checkWhole(std::vector<Band> bands, const Description& description) {
  std::sort(bands.begin(), bands.end(), [](const Band& a, const Band& b) { return a.rows.first < b.rows.first; });
  const int rows = picture::TileGrid(description.size.width(), description.size.height(), picture::LargestTile).rows();
  bands.push_back({QString(), {rows, rows}});
  int next = 0;
  for (const Band& band : bands) {
    if (band.rows.first < next)
      throw Error(QStringLiteral("%1: has row %2, which another band has, too").arg(band.file).arg(band.rows.first));
    if (band.rows.first > next)
      throw Error(QStringLiteral("the rows %1:%2 are missing").arg(next).arg(band.rows.first - 1));
    next = band.rows.last + 1;
  }
}

/// What all bands are parts of.
Description commonDescription(const QStringList& files) {
  if (files.isEmpty()) throw Error(QStringLiteral("there are no bands"));
  const Description description = BandReader(files.first()).description();
  std::vector<Band> bands;
  for (const QString& file : files) {
    const BandReader band(file);
    if (!(band.description() == description))
      throw Error(QStringLiteral("%1: is a band of another poster than %2").arg(file, files.first()));
    bands.push_back({file, band.rows()});
  }
  checkWhole(std::move(bands), description);
  return description;
}

/// Bands know what kind of file they become.
void checkTarget(const QString& target, const Description& description) {
  const bool wantsPyramid = target.endsWith(QLatin1String(".dzi"), Qt::CaseInsensitive);
  if (description.isTiff() == wantsPyramid)
    throw Error(QStringLiteral("%1: these are bands of a %2")
                    .arg(target, wantsPyramid ? QStringLiteral("TIFF") : QStringLiteral("deep-zoom pyramid")));
}

QImage pixelsOf(const Fragment& fragment, const QString& band) {
  try {
    return unpacked(fragment.bytes, fragment.area.size());
  } catch (const Error& error) {
    throw Error(QStringLiteral("%1: %2").arg(band, error.text()));
  }
}

}  // namespace

qint64 joinBands(const QStringList& bands, const QString& target) {
  const Description description = commonDescription(bands);
  checkTarget(target, description);
  const auto sink = newSink(description, target);
  PosterBuilder builder(description, *sink, QFileInfo(target).absolutePath());
  for (const QString& band : bands)
    BandReader(band).read([&](const TileId& tile, const QByteArray& bytes) { builder.put(tile, bytes); },
                          [&](const Fragment& fragment) {
                            builder.add(fragment.level, fragment.area.topLeft(), pixelsOf(fragment, band));
                          });
  builder.finishTiles();
  if (builder.tiles() != description.layout().count())
    throw Error(QStringLiteral("the bands have %1 tiles of %2").arg(builder.tiles()).arg(description.layout().count()));
  sink->commit();
  return builder.tiles();
}

}  // namespace nubo::poster
