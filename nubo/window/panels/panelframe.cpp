#include "nubo/window/panels/panelframe.h"

#include "nubo/window/panels/viewpanel.h"

namespace nubo::window {

QSize shapedSize(const QSize& room, const QSize& shape) {
  constexpr int MostTried = 64;
  const QSize largest = shape.scaled(room, Qt::KeepAspectRatio);
  for (int width = largest.width(); width > qMax(1, largest.width() - MostTried); --width) {
    // One of the two heights whose pictures are nearest to the shape's; rounded down, as pictures are.
    const int height = int(double(width) * shape.height() / shape.width());
    for (const int tried : {height, height + 1})
      if (tried <= room.height() && int(shape.width() * (double(tried) / width)) == shape.height())
        return {width, tried};
  }
  return largest.expandedTo({1, 1});
}

PanelFrame::PanelFrame(ViewPanel* panel) : mp_Panel(panel) {
  panel->setParent(this);
  setMinimumSize(panel->minimumSize());
}

void PanelFrame::setShape(const QSize& shape) {
  m_Shape = shape;
  place();
}

void PanelFrame::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  place();
}

void PanelFrame::place() {
  QRect place = rect();
  if (!m_Shape.isEmpty()) {
    place.setSize(shapedSize(size(), m_Shape));
    place.moveCenter(rect().center());
  }
  mp_Panel->setGeometry(place);
}

}  // namespace nubo::window
