// What shows where the model leaves a view open.
#pragma once

#include <QColor>
#include <QImage>
#include <QRect>

#include "module_scene/visibility.h"

namespace nubo::scene {

/// A colour, a gradient from one above to it, or an image that covers the view.
struct Background {
  QColor color = QColor(0x3a, 0x41, 0x4c);
  QColor top = QColor();    ///< invalid: there is no gradient
  QImage image = QImage();  ///< null: there is none
  bool inPictures = false;  ///< or they are transparent there, where their format can say so

  bool isPlain() const { return !top.isValid() && image.isNull(); }
};

/// The image of a file, upright. Null, with the reason, if it cannot be read. Any thread.
NUBO_MODULE_SCENE_EXPORT QImage readBackgroundImage(const QString& fileName, QString& error);

/// A background for views of one size, in pixels. Any thread, one at a time.
class NUBO_MODULE_SCENE_EXPORT Backdrop {
 public:
  Backdrop(const Background& background, const QSize& size);
  /// Opaque (Format_RGB32), of the size of the area.
  QImage part(const QRect& area) const;

 private:
  void drawImage(QImage& part, const QPoint& at) const;

  Background m_Background;
  QSize m_Size;
};

}  // namespace nubo::scene
