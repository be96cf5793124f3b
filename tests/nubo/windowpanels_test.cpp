// Looks at scenes: panels in tabs and splits, saved views, trajectories, files.
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QInputDialog>
#include <QRegularExpression>
#include <QSlider>
#include <QTabBar>
#include <QTreeWidget>

#include "nubo/window/scene/sceneloader.h"
#include "nubo/windowfixture.h"

namespace nubo::test {

namespace {

using gui::Camera;

bool looksAlike(const Camera& a, const Camera& b) {
  const auto near = [](double x, double y) { return std::abs(x - y) < 1e-6; };
  return near(a.azimuth, b.azimuth) && near(a.elevation, b.elevation) && near(a.distance, b.distance) &&
         near(a.center[0], b.center[0]) && near(a.center[1], b.center[1]) && near(a.center[2], b.center[2]);
}

void expectWholeCube(const window::ViewPanel* panel) {
  const QRectF cube = projectedCube(panel->getScaledTransformMatrix(), panel->size(), PictureHalfOpening);
  EXPECT_TRUE(QRectF(panel->rect()).contains(cube)) << panel->width() << " x " << panel->height();
  EXPECT_NEAR(cube.center().x(), panel->width() / 2.0, 2);
  EXPECT_NEAR(cube.center().y(), panel->height() / 2.0, 2);
  // A cube that fits whichever side is in front leaves some room, but not much.
  EXPECT_GT(std::max(cube.width() / panel->width(), cube.height() / panel->height()), 0.6);
}

TEST_F(WindowTest, KeepsPanelsInTabsAndSplitsWorkingAndFitted) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  window::ViewPanel* first = panels().activePanel();
  const Camera alone = first->getCamera();
  useShortcut("Ctrl+R");
  QTest::qWait(50);
  window::ViewPanel* right = panels().activePanel();
  ASSERT_NE(right, first);
  for (const auto* panel : {first, right}) {
    EXPECT_EQ(panel->getCamera().azimuth, alone.azimuth);
    expectWholeCube(panel);
  }
  QTest::keyClick(right, Qt::Key_Plus);
  const Camera closer = right->getCamera();
  useShortcut("Ctrl+D");  // a view that the user has moved stays
  QTest::qWait(50);
  window::ViewPanel* below = panels().activePanel();
  EXPECT_TRUE(looksAlike(right->getCamera(), closer));
  EXPECT_TRUE(looksAlike(below->getCamera(), closer));

  useShortcut("Ctrl+T");
  QTest::qWait(50);
  window::ViewPanel* tab = panels().activePanel();
  expectWholeCube(tab);
  ASSERT_EQ(panels().panels().size(), 4);
  for (window::ViewPanel* panel : {tab, first, right, below}) {
    if (panel == first) panels().setCurrentIndex(0);
    QTest::mouseClick(panel, Qt::LeftButton);
    EXPECT_EQ(panels().activePanel(), panel);
    const Camera before = panel->getCamera();
    drag(panel, {50, 50}, {90, 60});
    const Camera turned = panel->getCamera();
    EXPECT_TRUE(turned.azimuth != before.azimuth && turned.center == before.center);
    drag(panel, {50, 50}, {90, 60}, Qt::LeftButton, Qt::ShiftModifier);
    EXPECT_TRUE(panel->getCamera().azimuth == turned.azimuth && panel->getCamera().center != turned.center);
    QWheelEvent wheel({60, 60}, panel->mapToGlobal({60, 60}), {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(panel, &wheel);
    EXPECT_LT(panel->getCamera().distance, turned.distance);
    QTest::keyClick(panel, Qt::Key_Home);
  }
  for (window::ViewPanel* panel : {right, below}) {
    QTest::mouseClick(panel, Qt::LeftButton);
    window->findChild<QTreeWidget*>("sceneTree")->setFocus();  // or Qt would give it to the panel, which activates that
    panels().setCurrentIndex(1);
    panels().setCurrentIndex(0);
    EXPECT_EQ(panels().activePanel(), panel) << "the one that was active in this tab";
  }

  useShortcut("Ctrl+W");
  useShortcut("Ctrl+W");
  QTest::qWait(50);
  EXPECT_EQ(panels().activePanel(), first);
  expectWholeCube(first);
  QTest::mouseClick(panels().tabBar()->tabButton(1, QTabBar::RightSide), Qt::LeftButton);
  EXPECT_EQ(panels().panels(), QList<window::ViewPanel*>{first});
  QTest::qWait(50);
  expectWholeCube(first);
}

TEST_F(WindowTest, RemembersViewsOfAScene) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  const auto views = [this] { return window->findChild<QMenu*>("savedViews"); };
  const auto find = [](const QMenu* menu, const QString& name) -> QAction* {
    for (QAction* action : menu->actions())
      if (action->text().remove('&') == name) return action;
    return nullptr;
  };
  drag(panels().activePanel(), {50, 50}, {90, 60}, Qt::LeftButton, Qt::ShiftModifier);
  QTest::keyClick(panels().activePanel(), Qt::Key_Plus);
  const Camera saved = panels().activePanel()->getCamera();
  inNextDialog<QInputDialog>([](QInputDialog* dialog) {
    QTest::keyClicks(dialog->focusWidget(), "Hole 1/2");
    QTest::keyClick(dialog, Qt::Key_Return);
  });
  useShortcut("Ctrl+Shift+S");
  ASSERT_TRUE(waitUntil([&] { return find(views(), "Hole 1/2"); }));

  window.reset();
  ASSERT_NO_FATAL_FAILURE(openWindow());
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_FALSE(looksAlike(panels().activePanel()->getCamera(), saved));
  ASSERT_TRUE(find(views(), "Hole 1/2"));
  find(views(), "Hole 1/2")->trigger();
  EXPECT_TRUE(looksAlike(panels().activePanel()->getCamera(), saved));

  window->openFiles({"builtin"});
  EXPECT_TRUE(waitUntil([&] { return !find(views(), "Hole 1/2"); })) << "it is no view of this scene";
  ASSERT_NO_FATAL_FAILURE(openCube());
  find(find(views(), "Delete")->menu(), "Hole 1/2")->trigger();
  EXPECT_TRUE(waitUntil([&] { return !find(views(), "Hole 1/2"); }));
  QTest::qWait(0);
  ASSERT_NO_FATAL_FAILURE(openCube());
  EXPECT_FALSE(find(views(), "Hole 1/2"));
}

TEST_F(WindowTest, PlaysTrajectoriesByKeysAndSwitchesBetweenThem) {
  window->openFiles({"builtin"});
  auto* modes = window->findChild<QComboBox*>("trajectoryModes");
  auto* slider = window->findChild<QSlider*>("trajectorySlider");
  QAction* play = action("play");
  const auto trajectory = [] { return trajectory::TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo(); };
  /// Whether every element stands where this step wants it.
  const auto isAt = [&](int step) {
    if (!trajectory() || trajectory()->getPosition() != std::uint64_t(step)) return false;
    const auto& wanted = (*trajectory()->getMatrixMapList())[step];
    return std::all_of(wanted.begin(), wanted.end(), [](const auto& entry) {
      return std::equal(entry.second.data(), entry.second.data() + 16, entry.first->getTransform().data());
    });
  };
  ASSERT_TRUE(waitUntil([&] { return trajectory() && slider->isEnabled(); }));
  ASSERT_EQ(modes->count(), 5);
  const int animation = modes->currentIndex();
  const int last = slider->maximum();
  ASSERT_EQ(last + 1, int(trajectory()->getMatrixMapList()->size()));
  for (const auto& [keys, step] : {std::pair("Ctrl+Right", 1),
                                   {"Ctrl+Right", 2},
                                   {"Ctrl+Left", 1},
                                   {"Ctrl+End", last},
                                   {"Ctrl+Right", last},
                                   {"Ctrl+Home", 0}}) {
    useShortcut(keys);
    EXPECT_TRUE(waitUntil([&, at = step] { return isAt(at); }, 5000)) << keys;
    EXPECT_EQ(slider->value(), step);
  }
  slider->setFocus();
  QTest::keyClick(slider, Qt::Key_Right);
  EXPECT_TRUE(waitUntil([&] { return isAt(1); }, 5000));
  useShortcut("Ctrl+Space");
  EXPECT_TRUE(waitUntil([&] { return slider->value() > 3; })) << "it does not play";
  EXPECT_EQ(play->text(), "&Pause");
  useShortcut("Ctrl+Space");
  const int paused = slider->value();
  QTest::qWait(150);
  EXPECT_EQ(slider->value(), paused);

  useShortcut("Ctrl+Space");
  modes->setFocus();
  QTest::keyClick(modes, Qt::Key_Home);  // a turntable
  ASSERT_TRUE(waitUntil([&] { return trajectory() && slider->maximum() == 249; }));
  EXPECT_TRUE(waitUntil([&] { return slider->value() > 3; })) << "it goes on playing";
  useShortcut("Ctrl+Space");
  useShortcut("Ctrl+End");
  EXPECT_TRUE(waitUntil([&] { return isAt(249); }, 5000));
  QTest::keyClick(modes, Qt::Key_End);  // nothing
  EXPECT_TRUE(waitUntil([&] { return !trajectory() && !play->isEnabled() && !slider->isEnabled(); }));
  QTest::keyClicks(modes, modes->itemText(animation));
  EXPECT_TRUE(waitUntil([&] { return trajectory() && slider->maximum() == last && play->isEnabled(); }));
}

TEST_F(WindowTest, OffersTheAnimationsAndCamerasOfAModel) {
  window->openFiles({NUBO_TEST_DATA "/gltf/deformed.gltf"});
  auto* modes = window->findChild<QComboBox*>("trajectoryModes");
  const auto elbowAt = [](std::uint64_t step) {
    const auto trajectory = trajectory::TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo();
    return (*trajectory->getMatrixMapList())[step].at(scene::_GlobalScene()->getRootNode()->find("elbow"));
  };
  ASSERT_TRUE(waitUntil([&] { return modes->count() == 8; }));
  ASSERT_EQ(modes->currentText(), "Animation");
  EXPECT_EQ(elbowAt(6), elbowAt(0)) << "the first goes by steps";
  modes->setFocus();
  while (modes->currentText() != "Animation “LINEAR”") {
    const int before = modes->currentIndex();
    QTest::keyClick(modes, Qt::Key_Down);
    ASSERT_NE(modes->currentIndex(), before);
  }
  EXPECT_NE(elbowAt(6), elbowAt(0));

  for (QAction* view : window->findChild<QMenu*>("savedViews")->actions())
    if (view->text().remove('&') == "Camera “side”") view->trigger();
  EXPECT_NEAR(panels().activePanel()->getCamera().lens, std::tan(M_PI / 8) / std::tan(0.3), 1e-6);
}

TEST_F(WindowTest, OpensSeveralFilesAsOneSceneAndForgetsMissingOnes) {
  writeFile("second.obj", CubeFile);
  drop({QUrl::fromLocalFile(host.file("cube.obj")), QUrl::fromLocalFile(writeFile("wrong.stl", "no model")),
        QUrl::fromLocalFile(host.file("second.obj"))});
  ASSERT_TRUE(waitUntil([this] { return window->windowTitle() == "cube.obj, second.obj – nubo"; }));
  EXPECT_TRUE(message().contains("wrong.stl"));
  const auto* tree = window->findChild<QTreeWidget*>("sceneTree");
  EXPECT_EQ(tree->topLevelItem(0)->childCount(), 2);

  auto* recent = window->findChild<QMenu*>("recentFiles");
  ASSERT_EQ(recent->actions().size(), 2);
  QAction* second = recent->actions().at(recent->actions()[0]->text().contains("second") ? 0 : 1);
  ASSERT_TRUE(QFile::remove(host.file("second.obj")));
  window->findChild<window::MessageBar*>()->findChild<QToolButton*>("closeMessage")->click();
  second->trigger();
  EXPECT_TRUE(waitUntil([this] { return message().contains("second.obj"); }));
  EXPECT_EQ(recent->actions().size(), 1);
  EXPECT_EQ(window->windowTitle(), "cube.obj, second.obj – nubo") << "the scene stays";
}

TEST_F(WindowTest, GivesUpWhatItReadsWhenThatIsCancelled) {
  window::SceneLoader loader;
  int cancelled = 0, finished = 0;
  QObject::connect(&loader, &window::SceneLoader::cancelled, [&] { ++cancelled; });
  QObject::connect(&loader, &window::SceneLoader::finished, [&] { ++finished; });
  loader.load({writeFile("given-up.obj", CubeFile)});
  loader.cancel();
  ASSERT_TRUE(waitUntil([&] { return !loader.isLoading(); }));
  EXPECT_EQ(cancelled, 1);
  EXPECT_EQ(finished, 0);
}

TEST_F(WindowTest, MovesTheJointsOfARobotWithSliders) {
  writeFile("arm.urdf", R"(<robot name="arm">
    <link name="base"><visual><geometry><box size="1 1 0.2"/></geometry></visual></link>
    <link name="upper"><visual><origin xyz="0.75 0 0"/><geometry><box size="1.5 0.3 0.2"/></geometry></visual></link>
    <link name="tip"><visual><origin xyz="0.5 0 0"/><geometry><box size="1 0.2 0.4"/></geometry></visual></link>
    <joint name="elbow" type="revolute"><parent link="base"/><child link="upper"/><origin xyz="0 0 0.2" rpy="0 0 0.4"/>
      <axis xyz="0 0 1"/><limit lower="-1" upper="3" effort="1" velocity="1"/></joint>
    <joint name="reach" type="prismatic"><parent link="upper"/><child link="tip"/><origin xyz="1.5 0 0"/>
      <axis xyz="1 0 0"/><limit lower="0" upper="2" effort="1" velocity="1"/>
      <mimic joint="elbow" multiplier="0.5"/></joint></robot>)");
  auto* sliders = window->findChild<QWidget*>("jointSliders");
  EXPECT_FALSE(sliders->isVisible());
  drop({QUrl::fromLocalFile(host.file("arm.urdf"))});
  ASSERT_TRUE(waitUntil([&] { return sliders->isVisible(); }));
  ASSERT_EQ(sliders->findChildren<QSlider*>(QRegularExpression("elbow|reach")).size(), 1) << "one follows";
  auto* slider = sliders->findChild<QSlider*>("elbow");
  auto* number = sliders->findChild<QDoubleSpinBox*>();
  EXPECT_EQ(slider->value() * 4, slider->maximum());
  const QImage before = panels().activePanel()->grabFramebuffer();
  slider->setValue(slider->maximum() * 5 / 8);
  const double angle = 1.5, yaw = 0.4;
  EXPECT_NEAR(number->value(), angle * 180 / std::acos(-1.0), 0.06);
  const auto tip = [] {
    const auto scene = scene::_GlobalScene();
    const scene::SceneLocker locker(scene, scene::LockAll);
    return math::transformPoint(scene->getRootNode()->find("tip")->getGlobalTransform(), {0, 0, 0});
  };
  const double length = 1.5 + 0.5 * angle;
  ASSERT_TRUE(waitUntil([&] { return std::abs(tip()[1] - length * std::sin(yaw + angle)) < 1e-9; }));
  EXPECT_NEAR(tip()[0], length * std::cos(yaw + angle), 1e-9);
  EXPECT_TRUE(waitUntil([&] { return panels().activePanel()->grabFramebuffer() != before; }));
  number->setValue(-30);
  const auto isMoved = [&] { return std::abs(tip()[1] / tip()[0] - std::tan(yaw - std::acos(-1.0) / 6)) < 1e-9; };
  EXPECT_TRUE(waitUntil(isMoved));
  useShortcut("Ctrl+Z");
  useShortcut("Ctrl+Shift+Z");  // the movement has come to rest
  EXPECT_TRUE(waitUntil(isMoved));
  const Camera unmoved = panels().activePanel()->getCamera();
  useShortcut("Ctrl+0");
  const Camera fitted = panels().activePanel()->getCamera();
  EXPECT_FALSE(looksAlike(fitted, unmoved)) << "the view is of how the robot stands now";
  useShortcut("Ctrl+0");
  useShortcut("Ctrl+Z");
  EXPECT_TRUE(looksAlike(panels().activePanel()->getCamera(), unmoved)) << "one step, although both show all";
  EXPECT_TRUE(isMoved());
  useShortcut("Ctrl+Shift+Z");
  EXPECT_TRUE(looksAlike(panels().activePanel()->getCamera(), fitted));
  useShortcut("F7");
  EXPECT_EQ(window->findChild<QDoubleSpinBox*>("sectionPlace")->suffix(), " m");
  for (auto* undo = window->findChild<QAction*>("undo"); undo->isEnabled();) undo->trigger();
  EXPECT_TRUE(waitUntil([&] { return std::abs(tip()[1] - 1.5 * std::sin(yaw)) < 1e-9; })) << "as it was read";
  for (auto* redo = window->findChild<QAction*>("redo"); redo->isEnabled();) redo->trigger();
  EXPECT_TRUE(waitUntil(isMoved));
}

TEST_F(WindowTest, GoesBackToTheDefaultBackground) {
  const auto color = [] { return scene::_GlobalScene()->getBackgroundColor().name(); };
  const QString usual = color();
  main::nuboSettings()->setValue("window/background", "#ff0000");
  main::nuboSettings()->setValue("window/backgroundTop", "#00ff00");
  for (const bool isSet : {true, false}) {
    window.reset();
    ASSERT_NO_FATAL_FAILURE(openWindow());
    EXPECT_EQ(color(), isSet ? "#ff0000" : usual);
    action("defaultBackground")->trigger();
    EXPECT_TRUE(waitUntil([&] { return color() == usual && scene::_GlobalScene()->getBackground().isPlain(); }));
  }
}

}  // namespace

}  // namespace nubo::test
