#include "nubo/window/look/elidedlabel.h"

#include <QPainter>
#include <QStyle>

namespace nubo::window {

QSize ElidedLabel::minimumSizeHint() const { return {letters(12), QLabel::minimumSizeHint().height()}; }

void ElidedLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  style()->drawItemText(&painter, rect(), Qt::AlignVCenter, palette(), isEnabled(),
                        fontMetrics().elidedText(text(), Qt::ElideRight, width()), foregroundRole());
}

}  // namespace nubo::window
