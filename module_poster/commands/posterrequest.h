// What the values of "grabposter" ask for.
#pragma once

#include <QCoreApplication>
#include <optional>

#include "kernel/main/parameterset.h"
#include "kernel/main/typesolver.h"
#include "module_poster/files/tilesink.h"
#include "module_poster/visibility.h"
#include "picture/tiling.h"

namespace nubo::commands::poster {

/// The places of the command's parameters.
enum PosterParameter : std::size_t { FileName, Width, Compression, Quality, TileEdge, Band };

/// A poster, or a band of one.
struct PosterRequest {
  Q_DECLARE_TR_FUNCTIONS(PosterRequest)
 public:
  QString fileName;
  nubo::poster::Description description;
  std::optional<picture::TileRows> band;

  /// Nothing while a value is missing, and for those that are refused, with the reason. `panel` is the size of the
  /// panel whose view is to be shown; `background` lies around the poster where a page shows it. Any thread.
  static std::optional<PosterRequest> of(const main::TypeSolver& solver, const main::ParameterSet& values, QSize panel,
                                         const QColor& background, main::ParameterSet::Refusal& refusal);

  /// A line that says what will be made, and at most of how many bytes of memory and on disk.
  QString summary() const;
};

}  // namespace nubo::commands::poster
