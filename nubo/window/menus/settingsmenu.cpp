#include "nubo/window/menus/settingsmenu.h"

#include <QActionGroup>
#include <QSettings>

#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"
#include "nubo/window/look/appearance.h"
#include "nubo/window/look/mnemonics.h"
#include "nubo/window/menus/backgroundmenu.h"
#include "nubo/window/panels/panelarea.h"

namespace nubo::window {

namespace {

const QString SamplesKey = QStringLiteral("window/samples");
const QString AppearanceKey = QStringLiteral("window/appearance");
constexpr int SampleChoices[] = {0, 2, 4, 8};

}  // namespace

SettingsMenu::SettingsMenu(SceneChanger& changer, PanelArea& panels, QWidget* parent)
    : QMenu(tr("&Settings"), parent), m_Panels(panels) {
  setObjectName(QStringLiteral("settingsMenu"));
  addMenu(new BackgroundMenu(changer, this));
  addSamples();
  addAppearances();
}

void SettingsMenu::addSamples() {
  QMenu* menu = addMenu(tr("&Edge Smoothing"));
  auto* group = new QActionGroup(this);
  const int chosen = main::nuboSettings()->value(SamplesKey, scene::_GlobalScene()->getSamples()).toInt();
  for (const int count : SampleChoices) {
    QAction* action = menu->addAction(count ? tr("%n Samples", "", count) : tr("None"));
    action->setCheckable(true);
    action->setChecked(count == chosen);
    group->addAction(action);
    connect(action, &QAction::triggered, this, [this, count] { setSamples(count); });
    if (count == chosen) scene::_GlobalScene()->setSamples(count);
  }
  addMnemonics(menu->actions());
}

void SettingsMenu::addAppearances() {
  QMenu* menu = addMenu(tr("&Appearance"));
  auto* group = new QActionGroup(this);
  const QStringList labels{tr("As the &System"), tr("&Light"), tr("&Dark")};
  const QString current = main::nuboSettings()->value(AppearanceKey).toString();
  for (int i = 0; i < appearances().size(); ++i) {
    const QString name = appearances()[i];
    QAction* action = menu->addAction(labels[i]);
    action->setCheckable(true);
    action->setChecked(name == current || (i == 0 && !appearances().contains(current)));
    group->addAction(action);
    connect(action, &QAction::triggered, this, [name] {
      main::nuboSettings()->setValue(AppearanceKey, name);
      applyAppearance(name);
    });
  }
  applyAppearance(current);
}

void SettingsMenu::setSamples(int samples) {
  main::nuboSettings()->setValue(SamplesKey, samples);
  scene::_GlobalScene()->setSamples(samples);
  m_Panels.updatePanels();
}

}  // namespace nubo::window
