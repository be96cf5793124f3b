// Gives a panel its place.
#pragma once

#include <QWidget>

namespace nubo::window {

class ViewPanel;

/// Holds a panel, which fills it or, where its shape is locked, as much of it as that shape allows. Application thread.
class PanelFrame : public QWidget {
  Q_OBJECT
 public:
  explicit PanelFrame(ViewPanel* panel);

  ViewPanel* panel() const { return mp_Panel; }
  /// Pictures of the panel, which follow its shape, get the shape of one of this size; empty: it is free.
  void setShape(const QSize& shape);
  const QSize& shape() const { return m_Shape; }

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void place();

  ViewPanel* mp_Panel;
  QSize m_Shape;
};

/// The largest size within `room` of which a picture as wide as `shape` is as high as that, too, or one close to it:
/// panels have whole numbers of pixels, of which not all pairs have the shape.
QSize shapedSize(const QSize& room, const QSize& shape);

}  // namespace nubo::window
