#include "nubo/window/scene/scenepane.h"

#include <QLineEdit>
#include <QVBoxLayout>

#include "nubo/window/scene/jointsliders.h"
#include "nubo/window/scene/scenetree.h"

namespace nubo::window {

ScenePane::ScenePane(SceneTree* tree, SceneChanger& changer) : mp_Joints(new JointSliders(changer)) {
  auto* filter = new QLineEdit;
  filter->setObjectName(QStringLiteral("sceneFilter"));
  filter->setPlaceholderText(tr("Filter by name"));
  filter->setAccessibleName(tr("Filter by name"));
  filter->setClearButtonEnabled(true);
  connect(filter, &QLineEdit::textChanged, tree, &SceneTree::setFilter);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(2);
  column->addWidget(filter);
  column->addWidget(tree, 3);
  column->addWidget(mp_Joints, 2);
  connect(tree, &SceneTree::elementSelected, mp_Joints, &JointSliders::select);
}

}  // namespace nubo::window
