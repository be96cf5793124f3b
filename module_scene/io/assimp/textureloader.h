// Finds and reads the pictures that a model file names.
#pragma once

#include <QMap>
#include <QStringList>

#include "module_scene/graph/material.h"

struct aiScene;
struct aiTexture;

namespace nubo::io {

/// How the alpha of a texture's pixels counts.
struct AlphaUse {
  enum Mode { AsIs, Opaque, Cutoff } mode = AsIs;
  double cutoff = 0.5;  ///< for Cutoff: below is clear, the rest opaque
};

/// Reads each picture once. A picture that cannot be had gives a warning and no texture.
class TextureLoader {
 public:
  /// The scene must outlive the loader; warnings are appended to `warnings`.
  TextureLoader(const QString& modelFile, const aiScene& scene, QStringList& warnings)
      : m_ModelFile(modelFile), m_Scene(scene), m_Warnings(warnings) {}
  /// `name` is a path as the model file has it, or an embedded texture's name. Null if it cannot be had.
  util::YPointer<scene::Texture> load(const QString& name, bool repeat, const AlphaUse& alpha);

 private:
  QImage readImage(const QString& name);
  QImage readFile(const QString& fileName, const QString& name);
  QImage readEmbedded(const aiTexture& texture, const QString& name);
  QString findFile(const QString& name) const;

  const QString m_ModelFile;
  const aiScene& m_Scene;
  QStringList& m_Warnings;
  QMap<QString, QImage> m_Images;
  QMap<QString, util::YPointer<scene::Texture>> m_Textures;
};

}  // namespace nubo::io
