// Puts the parallel PNG writer before Qt's own for files with the suffix png; reading stays with Qt's.
#pragma once

#include <QImageIOHandler>
#include <QImageIOPlugin>

#include "plugins/imageformats/png/pngwriter.h"

namespace nubo::png {

class PngHandler : public QImageIOHandler {
 public:
  bool canRead() const override { return false; }
  bool read(QImage* image) override;
  bool write(const QImage& image) override;

  // The options of Qt's own writer, with the same ranges.
  bool supportsOption(ImageOption option) const override;
  QVariant option(ImageOption option) const override;
  void setOption(ImageOption option, const QVariant& value) override;

 private:
  int m_compressionRatio = -1;  // 0 to 100; -1: by the quality
  int m_quality = -1;           // 0 (small, slow) to 100; -1: not set
  float m_gamma = 0.f;
  QString m_description;
};

class PngPlugin : public QImageIOPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "png.json")

 public:
  Capabilities capabilities(QIODevice* device, const QByteArray& format) const override;
  QImageIOHandler* create(QIODevice* device, const QByteArray& format) const override;
};

}  // namespace nubo::png
