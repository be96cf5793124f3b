// Posters as deep-zoom pyramids with a page that shows them.
#pragma once

#include <QTemporaryDir>
#include <vector>

#include "module_poster/files/tilesink.h"

namespace nubo::poster {

/// NAME.dzi describes the folder NAME_files, in which each level has a folder and each tile a file, beginning with one
/// pixel in the folder 0. NAME.html shows it in a browser, opened as a file.
class DeepZoom : public TileSink {
 public:
  /// `fileName` is that of the description.
  DeepZoom(const Description& description, const QString& fileName);
  void put(const TileId& tile, const QByteArray& bytes) override;
  void commit() override;

  /// Empty, or why those names cannot be taken: what stands there is not a pyramid of ours.
  static QString whyNotReplaceable(const QString& fileName);

 private:
  void replaceFolder();

  Description m_Description;
  Layout m_Layout;
  QString m_FileName;
  QTemporaryDir m_Making;        ///< beside the target
  QString m_Tiles;               ///< the folder in it that becomes NAME_files
  std::vector<bool> m_HasLevel;  ///< whose folders there are
};

}  // namespace nubo::poster
