#include "nubo/window/menus/viewmenu.h"

#include <QActionGroup>
#include <QClipboard>
#include <QDockWidget>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QSettings>

#include "kernel/main/overseer.h"
#include "module_scene/graph/scene.h"
#include "module_scene/io/panorama.h"
#include "nubo/window/look/icons.h"
#include "nubo/window/look/mnemonics.h"
#include "nubo/window/menus/savedviews.h"
#include "nubo/window/panels/panelarea.h"

namespace nubo::window {

namespace {

const QString LookKey = QStringLiteral("window/look");
const QString EnvironmentKey = QStringLiteral("window/environment");
const QString MarginKey = QStringLiteral("window/margin");

}  // namespace

ViewMenu::ViewMenu(PanelArea& panels, const QList<QDockWidget*>& docks, QAction* section, QWidget* parent)
    : QMenu(tr("&View"), parent), m_Panels(panels), mp_Saved(new SavedViews(panels, this)) {
  setObjectName(QStringLiteral("viewMenu"));
  const auto panel = [this] { return m_Panels.activePanel(); };
  mp_ShowAll = addAction(
      makeIcon(Icon::Fit), tr("Show &All"), this, [panel] { panel()->showAll(); }, QKeySequence(Qt::CTRL + Qt::Key_0));
  addAction(
      tr("Show &Selected Element"), this, [panel] { panel()->fitSelection(); }, QKeySequence(Qt::CTRL + Qt::Key_E));
  addAction(
      tr("Zoom &In"), this, [panel] { panel()->zoom(1.25); }, QKeySequence(QKeySequence::ZoomIn));
  addAction(
      tr("Zoom &Out"), this, [panel] { panel()->zoom(0.8); }, QKeySequence(QKeySequence::ZoomOut));
  addMargins();
  addCopy();
  addSeparator();
  addDirections();
  addProjection();
  addMenu(mp_Saved);
  addLooks();
  addAction(section);
  addSeparator();
  addFullScreen();
  addSeparator();
  addDocks(docks);
  addMnemonics(actions());
}

void ViewMenu::addCopy() {
  addAction(
      tr("Cop&y as Picture"), this,
      [this] { QGuiApplication::clipboard()->setImage(m_Panels.activePanel()->picture()); },
      QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_C));
}

/// Around what is fitted, from now on.
void ViewMenu::addMargins() {
  QMenu* menu = addMenu(tr("&Margin"));
  menu->setObjectName(QStringLiteral("marginMenu"));
  auto* group = new QActionGroup(menu);
  const double kept = main::nuboSettings()->value(MarginKey, gui::Camera::UsualMargin).toDouble();
  for (const double margin : {0.0, gui::Camera::UsualMargin, 0.05, 0.1, 0.2, 0.3}) {
    QAction* action =
        menu->addAction(margin > 0 ? tr("%1 %").arg(QLocale().toString(margin * 100, 'g', 2)) : tr("None"));
    action->setCheckable(true);
    action->setChecked(qAbs(margin - kept) < 1e-3);
    group->addAction(action);
    if (action->isChecked()) m_Panels.setMargin(margin);
    connect(action, &QAction::triggered, this, [this, margin] {
      main::nuboSettings()->setValue(MarginKey, margin);
      m_Panels.setMargin(margin);
      m_Panels.activePanel()->showAll();
    });
  }
  addMnemonics(menu->actions());
}

void ViewMenu::addDirections() {
  const QStringList labels{tr("&Front"), tr("Bac&k"),   tr("&Left"),   tr("&Right"),
                           tr("&Top"),   tr("&Bottom"), tr("Obli&que")};
  const QStringList views = gui::Camera::viewNames();
  for (int i = 0; i < views.size(); ++i)
    addAction(
        labels.value(i, views[i]), this, [this, view = views[i]] { m_Panels.activePanel()->showView(view); },
        QKeySequence(QStringLiteral("Ctrl+%1").arg(i + 1)));
}

/// Panels differ, so that the mark tells of the active one when the menu is seen.
void ViewMenu::addProjection() {
  const auto isOrthographic = [this] { return m_Panels.activePanel()->getCamera().orthographic; };
  QAction* action = addAction(tr("Orthogra&phic"), this,
                              [this, isOrthographic] { m_Panels.activePanel()->setOrthographic(!isOrthographic()); });
  action->setCheckable(true);
  action->setShortcut(QKeySequence(Qt::Key_5));
  connect(this, &QMenu::aboutToShow, this, [action, isOrthographic] { action->setChecked(isOrthographic()); });
}

/// The look that is pointed at is shown until the menu goes.
void ViewMenu::addLooks() {
  QMenu* menu = addMenu(tr("&Drawn As"));
  menu->setObjectName(QStringLiteral("looksMenu"));
  auto* group = new QActionGroup(menu);
  const auto show = [this](const QString& look) {
    scene::_GlobalScene()->setLook(scene::lookNamed(look).value_or(scene::Look::Studio));
    m_Panels.updatePanels();
  };
  const auto chosen = [] { return main::nuboSettings()->value(LookKey).toString(); };
  const QStringList looks = scene::lookNames(), labels{tr("&Studio"), tr("&Plain"), tr("&Clay"), tr("&Technical")};
  for (int i = 0; i < looks.size(); ++i) {
    QAction* action = menu->addAction(labels.value(i, looks[i]));
    action->setCheckable(true);
    action->setChecked(looks[i] == chosen() || (i == 0 && !looks.contains(chosen())));
    action->setData(looks[i]);
    group->addAction(action);
  }
  menu->addSeparator();
  addSwitches(menu);
  menu->addSeparator();
  addLight(menu);
  addMnemonics(menu->actions());
  connect(menu, &QMenu::aboutToShow, this, [group] {
    for (QAction* action : group->actions())
      action->setChecked(action->data().toString() == scene::nameOf(scene::_GlobalScene()->getLook()));
  });
  connect(menu, &QMenu::hovered, this, [show, group](const QAction* action) {
    if (action->actionGroup() == group) show(action->data().toString());
  });
  connect(menu, &QMenu::aboutToHide, this, [show, group] { show(group->checkedAction()->data().toString()); });
  connect(menu, &QMenu::triggered, this, [show, group](const QAction* action) {
    if (action->actionGroup() != group) return;
    main::nuboSettings()->setValue(LookKey, action->data().toString());
    show(action->data().toString());
  });
  scene::_GlobalScene()->setLook(*scene::lookNamed(group->checkedAction()->data().toString()));
}

void ViewMenu::addSwitches(QMenu* menu) {
  struct Switch {
    QString label, key;
    bool (scene::Scene::*is)() const;
    void (scene::Scene::*set)(bool);
  };
  for (const Switch& entry : {Switch{tr("Edges of Surfaces"), QStringLiteral("window/edges"), &scene::Scene::hasEdges,
                                     &scene::Scene::setEdges},
                              {tr("Shades Between Surfaces"), QStringLiteral("window/contact"),
                               &scene::Scene::hasContact, &scene::Scene::setContact},
                              {tr("Shadow on the Ground"), QStringLiteral("window/ground"), &scene::Scene::hasGround,
                               &scene::Scene::setGround}}) {
    const auto isOn = [entry] { return ((*scene::_GlobalScene()).*entry.is)(); };
    ((*scene::_GlobalScene()).*entry.set)(main::nuboSettings()->value(entry.key, isOn()).toBool());
    QAction* action = menu->addAction(entry.label, this, [this, entry](bool on) {
      main::nuboSettings()->setValue(entry.key, on);
      ((*scene::_GlobalScene()).*entry.set)(on);
      m_Panels.updatePanels();
    });
    action->setCheckable(true);
    connect(menu, &QMenu::aboutToShow, this, [action, isOn] { action->setChecked(isOn()); });
  }
}

void ViewMenu::addLight(QMenu* menu) {
  menu->addAction(tr("&Light From Panorama…"), this, [this] {
    const QString file = QFileDialog::getOpenFileName(
        window(), tr("Light From Panorama"), QFileInfo(main::nuboSettings()->value(EnvironmentKey).toString()).path(),
        tr("Panoramas (*.hdr *.png *.jpg *.jpeg *.tif *.tiff *.webp)"));
    if (!file.isEmpty()) light(file);
  });
  QAction* studio = menu->addAction(tr("Light of the St&udio"), this, [this] { light(QString()); });
  studio->setCheckable(true);
  connect(menu, &QMenu::aboutToShow, this, [studio] { studio->setChecked(!scene::_GlobalScene()->getEnvironment()); });
  const QString kept = main::nuboSettings()->value(EnvironmentKey).toString();
  if (QFileInfo::exists(kept)) light(kept);
}

/// With a panorama's file or, with the empty text, as the studio is; from now on.
void ViewMenu::light(const QString& file) {
  util::YPointer<util::YObject> environment;
  if (!file.isEmpty()) {
    QString error;
    const io::Panorama panorama = io::readPanorama(file, error);
    if (panorama.light.empty()) {
      QMessageBox::warning(window(), tr("Light From Panorama"),
                           tr("“%1” could not be read: %2").arg(QFileInfo(file).fileName(), error));
      return;
    }
    environment = io::toEnvironment(panorama).get();
  }
  main::nuboSettings()->setValue(EnvironmentKey, file);
  scene::_GlobalScene()->setEnvironment(environment);
  m_Panels.updatePanels();
}

void ViewMenu::addFullScreen() {
  QAction* full = addAction(tr("F&ull Screen"), this, [this](bool on) {
    QWidget* window = parentWidget()->window();
    window->setWindowState(on ? window->windowState() | Qt::WindowFullScreen
                              : window->windowState() & ~Qt::WindowFullScreen);
  });
  full->setCheckable(true);
  full->setShortcut(QKeySequence(Qt::Key_F11));
}

void ViewMenu::addDocks(const QList<QDockWidget*>& docks) {
  const int keys[] = {Qt::Key_F9, Qt::Key_F10, Qt::Key_F8};
  for (int i = 0; i < docks.size(); ++i) {
    docks[i]->toggleViewAction()->setShortcut(QKeySequence(keys[i]));
    addAction(docks[i]->toggleViewAction());
  }
}

}  // namespace nubo::window
