#include "picture/panelview.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kernel/util/delegate.h"

namespace nubo::picture {

std::optional<PanelView> viewOf(const QPointer<gui::ScenePanel>& panel) {
  std::optional<PanelView> view;
  util::WorkerDelegate::invokeSync(new util::FunctionDelegate([&panel, &view] {
    if (panel) view = PanelView{panel->size(), panel->getScaledTransformMatrix()};
  }));
  return view;
}

int heightFor(int width, QSize panel) {
  const double height = width * (double(panel.height()) / double(panel.width()));
  if (!std::isfinite(height)) return 0;
  return int(std::min(height, double(std::numeric_limits<int>::max())));
}

}  // namespace nubo::picture
