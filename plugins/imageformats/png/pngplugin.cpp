#include "plugins/imageformats/png/pngplugin.h"

#include <QVariant>

namespace nubo::png {

bool PngHandler::read(QImage*) { return false; }

bool PngHandler::write(const QImage& image) {
  int ratio = qMin(m_compressionRatio, 100);
  if (ratio < 0 && m_quality >= 0) ratio = 100 - qMin(m_quality, 100);
  WriteOptions options;
  options.compression = ratio < 0 ? -1 : ratio * 9 / 91;
  options.gamma = m_gamma;
  options.description = m_description;
  return device() && writePng(*device(), image, options);
}

bool PngHandler::supportsOption(ImageOption option) const {
  return option == Gamma || option == Description || option == Quality || option == CompressionRatio;
}

QVariant PngHandler::option(ImageOption option) const {
  switch (option) {
    case Gamma:
      return m_gamma == 0.f ? QVariant() : QVariant(m_gamma);
    case Quality:
      return m_quality;
    case CompressionRatio:
      return m_compressionRatio;
    case Description:
      return m_description;
    default:
      return {};
  }
}

void PngHandler::setOption(ImageOption option, const QVariant& value) {
  switch (option) {
    case Gamma:
      m_gamma = value.toFloat();
      break;
    case Quality:
      m_quality = value.toInt();
      break;
    case CompressionRatio:
      m_compressionRatio = value.toInt();
      break;
    case Description:
      m_description = value.toString();
      break;
    default:
      break;
  }
}

QImageIOPlugin::Capabilities PngPlugin::capabilities(QIODevice* device, const QByteArray& format) const {
  // Without a format Qt asks who can read: not this one.
  if (format != "png" || (device && device->isOpen() && !device->isWritable())) return {};
  return CanWrite;
}

QImageIOHandler* PngPlugin::create(QIODevice* device, const QByteArray& format) const {
  auto* handler = new PngHandler;
  handler->setDevice(device);
  handler->setFormat(format);
  return handler;
}

}  // namespace nubo::png
