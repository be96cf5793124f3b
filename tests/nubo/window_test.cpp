// Drives the real window with keys and mouse, on a real display.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <cmath>
#include <thread>

#include "kernel/log/logger.h"
#include "kernel/main/modulemanager.h"
#include "module_trajectory/trajectory.h"
#include "nubo/window/mainwindow.h"
#include "nubo/window/panelarea.h"
#include "support/host.h"

namespace nubo::test {

namespace {

using math::Matrix4;

constexpr double PictureHalfOpening = 0.40391905946154483;  // radians, of pictures
constexpr double VideoHalfOpening = 0.39269908169872414;    // of panels and videos

const char CubeFile[] =
    "v -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n"
    "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

/// Where a cube with corners at 1 and -1 must lie in a picture.
QRectF projectedCube(const Matrix4& view, QSize size, double halfOpening) {
  QPolygonF points;
  for (int i = 0; i < 8; ++i) {
    const math::Vector3 eye = math::transformPoint(view, {i & 1 ? 1.0 : -1.0, i & 2 ? 1.0 : -1.0, i & 4 ? 1.0 : -1.0});
    const double unit = 0.5 * size.height() / (std::tan(halfOpening) * -eye[2]);
    points << QPointF(0.5 * size.width() + eye[0] * unit, 0.5 * size.height() - eye[1] * unit);
  }
  return points.boundingRect();
}

/// Of all pixels that `isModel` takes for the model.
template <class Function>
QRectF extentOf(QSize size, Function isModel) {
  QRect extent;
  for (int y = 0; y < size.height(); ++y)
    for (int x = 0; x < size.width(); ++x)
      if (isModel(x, y)) extent |= QRect(x, y, 1, 1);
  return extent;
}

/// Edges lie within a pixel or two of where they should: half a pixel of rounding on each side, and smoothing.
void expectNear(const QRectF& actual, const QRectF& expected) {
  constexpr double Tolerance = 2;
  EXPECT_NEAR(actual.left(), expected.left(), Tolerance);
  EXPECT_NEAR(actual.right(), expected.right(), Tolerance);
  EXPECT_NEAR(actual.top(), expected.top(), Tolerance);
  EXPECT_NEAR(actual.bottom(), expected.bottom(), Tolerance);
}

/// The brightness of the frames of an uncompressed video.
struct Video {
  explicit Video(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) return;
    header = QString::fromLatin1(file.readLine().trimmed());
    for (const QString& word : header.split(' ')) {
      if (word.startsWith('W')) size.setWidth(word.mid(1).toInt());
      if (word.startsWith('H')) size.setHeight(word.mid(1).toInt());
    }
    const int pixels = size.width() * size.height();
    while (pixels > 0 && file.readLine() == "FRAME\n") frames << file.read(3 * pixels);
  }
  QRectF extentOfModel(int frame) const {
    const auto brightness = [&](int x, int y) { return int(uchar(frames[frame][y * size.width() + x])); };
    const int background = brightness(0, 0);
    return extentOf(size, [&](int x, int y) { return std::abs(brightness(x, y) - background) > 6; });
  }

  QString header;
  QSize size;
  QList<QByteArray> frames;
};

class Window : public testing::Test {
 protected:
  void SetUp() override {
    if (QGuiApplication::platformName() != QLatin1String("xcb")) GTEST_SKIP() << "a display is needed here";
    main::ModuleManager::getInstance()->loadModules(QStringLiteral(NUBO_TEST_BIN_DIR "/modules"),
                                                    [](const QString&) {});
    ASSERT_TRUE(host.settle());
    QFile cube(host.file("cube.obj"));
    ASSERT_TRUE(cube.open(QIODevice::WriteOnly));
    cube.write(CubeFile);
    openWindow();
  }

  void openWindow() {
    window = std::make_unique<window::MainWindow>(*host.overseer.getCommandProcessor());
    window->resize(1024, 700);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    activate();
  }

  void TearDown() override {
    host.overseer.getCommandProcessor()->shutDown();
    window.reset();
    trajectory::TrajectoryHandler::getInstance()->clear();
    main::ModuleManager::getInstance()->unloadModules();
  }

  void drop(const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window.get(), &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent event(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window.get(), &event);
  }

  void openCube() {
    drop({QUrl::fromLocalFile(host.file("cube.obj"))});
    ASSERT_TRUE(waitUntil([this] { return window->windowTitle().startsWith("cube.obj"); }));
    ASSERT_TRUE(waitUntil([this] { return action("command:grabimage")->isEnabled(); }));
  }

  QAction* action(const QString& name) const { return window->findChild<QAction*>(name); }
  window::PanelArea& panels() const { return *window->findChild<window::PanelArea*>(); }
  /// Null: none is shown. One that was closed may not be deleted yet.
  QDialog* dialog() const {
    for (auto* dialog : window->findChildren<QDialog*>("parameters"))
      if (dialog->isVisible()) return dialog;
    return nullptr;
  }
  QList<QToolButton*> abortButtons() const { return window->findChildren<QToolButton*>("abort"); }
  bool anythingRuns() const { return !window->findChildren<QWidget*>("running").isEmpty(); }
  QString message() const {
    const auto* bar = window->findChild<QFrame*>("messageBar");
    return bar->isVisible() ? bar->findChild<QLabel*>()->text() : QString();
  }

  /// Leaves a picture of the screen beside the test program, to be looked at.
  static void keepScreenshot(const QString& name) {
    QTest::qWait(100);
    const QDir folder(QCoreApplication::applicationDirPath() + "/screenshots");
    folder.mkpath(".");
    QGuiApplication::primaryScreen()->grabWindow(0).save(folder.filePath(name + ".png"));
  }

  void activate() {
    window->activateWindow();  // there may be no window manager that would
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
  }
  void pressShortcut(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    activate();
    QTest::keyClick(window.get(), key, modifiers);
  }

  /// Does what is bound to a shortcut, also where no window manager gives the focus back after a dialog.
  void useShortcut(const QString& keys) {
    for (QAction* action : window->findChildren<QAction*>())
      if (action->shortcut() == QKeySequence(keys)) return action->trigger();
    ADD_FAILURE() << keys.toStdString() << " is bound to nothing";
  }

  /// Keys as a user presses them, in whatever has the focus.
  static void type(QWidget* widget, const QString& text) {
    QTest::keyClick(widget, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(widget, text);
  }
  QWidget* field(const QString& parameter) const { return dialog()->findChild<QWidget*>(parameter)->focusProxy(); }

  /// Opens a menu by Alt and a letter, and chooses from it by another.
  void chooseFromMenu(Qt::Key menu, Qt::Key entry) {
    // Without a window manager, the focus may still be on its way back from a dialog.
    ASSERT_TRUE(waitUntil([&] {
      if (!QApplication::activePopupWidget()) pressShortcut(menu, Qt::AltModifier);
      QTest::qWait(20);
      return QApplication::activePopupWidget() != nullptr;
    }));
    QTest::keyClick(QApplication::activePopupWidget(), entry);
    ASSERT_TRUE(waitUntil([this] { return dialog() != nullptr; }));
  }

  void startVideo(const QString& name, bool inStep) {
    ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_V));
    type(field("filename"), host.file(name));
    type(field("width"), "200");
    type(field("height"), "160");
    keepScreenshot("video-dialog");
    auto* sync = qobject_cast<QCheckBox*>(field("sync"));
    if (sync->isChecked() != inStep) QTest::keyClick(sync, Qt::Key_Space);
    const int before = abortButtons().size();
    QTest::keyClick(dialog(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return abortButtons().size() == before + 1; }));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(host.file(name)); }));
  }

  /// Answers the question that the next call will ask.
  static void answerNext(QMessageBox::ButtonRole role) {
    QTimer::singleShot(100, [role] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return answerNext(role);
      for (QAbstractButton* button : box->buttons())
        if (box->buttonRole(button) == role) return QTest::mouseClick(button, Qt::LeftButton);
    });
  }

  Host host;
  std::unique_ptr<window::MainWindow> window;
};

TEST_F(Window, TurnsWithTheMouseAndTakesAPictureOfThatViewByKeysAlone) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  window::ViewPanel* panel = panels().activePanel();
  const gui::Camera before = panel->getCamera();
  QTest::mousePress(panel, Qt::LeftButton, {}, {200, 200});
  QMouseEvent move(QEvent::MouseMove, QPointF(260, 180), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(panel, &move);
  QTest::mouseRelease(panel, Qt::LeftButton, {}, {260, 180});
  EXPECT_NE(panel->getCamera().azimuth, before.azimuth);
  EXPECT_NE(panel->getCamera().elevation, before.elevation);

  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("width"))->value(), 10000);
  type(field("filename"), host.file("cube.png"));
  type(field("width"), "500");
  QTest::keyClick(dialog(), Qt::Key_Return);
  ASSERT_TRUE(waitUntil([this] { return QFile::exists(host.file("cube.png")) && !anythingRuns(); }));
  const QImage picture(host.file("cube.png"));
  ASSERT_EQ(picture.size(), QSize(500, int(500 * double(panel->height()) / panel->width())));
  expectNear(extentOf(picture.size(), [&](int x, int y) { return qAlpha(picture.pixel(x, y)) > 127; }),
             projectedCube(panel->getScaledTransformMatrix(), picture.size(), PictureHalfOpening));
  EXPECT_EQ(message(), "");

  // What was entered is there again, with the next free name.
  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("width"))->value(), 500);
  EXPECT_EQ(qobject_cast<QLineEdit*>(field("filename"))->text(), host.file("cube-2.png"));
}

TEST_F(Window, MarksBadValuesWhereTheyStandAndRunsNothing) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  const auto remark = [this] { return dialog()->findChild<QLabel*>("filename:remark"); };
  for (const QString& bad : {QString(), host.file("picture.nonsense"), host.file("missing/picture.png")}) {
    type(field("filename"), bad);
    if (bad.isEmpty()) QTest::keyClick(field("filename"), Qt::Key_Delete);
    QTest::keyClick(dialog(), Qt::Key_Return);
    ASSERT_TRUE(dialog() != nullptr) << bad.toStdString();
    EXPECT_TRUE(remark()->isVisible() && !remark()->text().isEmpty()) << bad.toStdString();
    EXPECT_FALSE(anythingRuns());
  }
  keepScreenshot("bad-value");
  type(field("filename"), host.file("picture"));  // gets the default suffix
  EXPECT_FALSE(remark()->isVisible());
  type(field("width"), "64");
  QTest::keyClick(dialog(), Qt::Key_Return);
  EXPECT_TRUE(waitUntil([this] { return QFile::exists(host.file("picture.png")) && !anythingRuns(); }));

  // What only the command finds out is told in the window.
  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  type(field("width"), "1");
  QTest::keyClick(dialog(), Qt::Key_Return);
  EXPECT_TRUE(waitUntil([this] { return message().contains("to small"); }));
  keepScreenshot("failure");
}

TEST_F(Window, RecordsATurntableThatTheUserEnds) {
  // A turntable of so many steps that none ends before the user does.
  main::nuboSettings()->setValue("settings/grabvideofps", 1000);
  ASSERT_NO_FATAL_FAILURE(openCube());
  const Matrix4 view = panels().activePanel()->getScaledTransformMatrix();
  const auto trajectory = trajectory::TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo();
  ASSERT_TRUE(trajectory);
  const auto steps = *trajectory->getMatrixMapList();
  ASSERT_NO_FATAL_FAILURE(startVideo("turn.y4m", true));
  const auto* slider = window->findChild<QSlider*>("trajectorySlider");
  ASSERT_TRUE(waitUntil([&] { return slider->value() >= 8; })) << "the bar must follow the recording";
  EXPECT_FALSE(slider->isEnabled());
  keepScreenshot("recording");
  QTest::mouseClick(abortButtons().first(), Qt::LeftButton);
  ASSERT_TRUE(waitUntil([this] { return !anythingRuns() && host.settle(); }));
  EXPECT_TRUE(waitUntil([&] { return slider->isEnabled(); }));

  const Video video(host.file("turn.y4m"));
  ASSERT_EQ(video.size, QSize(200, 160));
  ASSERT_GE(video.frames.size(), 8);
  ASSERT_LT(video.frames.size(), int(steps.size())) << "it was not ended";
  for (int frame = 0; frame < video.frames.size(); ++frame) {
    SCOPED_TRACE(frame);
    expectNear(video.extentOfModel(frame),
               projectedCube(view * steps[frame].begin()->second, video.size, VideoHalfOpening));
  }
}

TEST_F(Window, UsesChangedSettings) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  const auto reopened = [this] {
    if (!waitUntil([this] { return action("command:setvideosettings")->isEnabled(); })) return false;
    action("command:setvideosettings")->trigger();
    return waitUntil([this] { return dialog() != nullptr; });
  };
  ASSERT_TRUE(reopened());
  type(field("fps"), "12");
  QTest::keyClick(dialog(), Qt::Key_Return);
  ASSERT_TRUE(waitUntil([] { return main::nuboSettings()->value("settings/grabvideofps").toInt() == 12; }));
  ASSERT_TRUE(waitUntil([this] { return !dialog() && !anythingRuns(); }));
  ASSERT_TRUE(reopened());
  keepScreenshot("settings");
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("fps"))->value(), 12);
  QTest::keyClick(dialog(), Qt::Key_Escape);
  ASSERT_TRUE(waitUntil([this] { return !dialog(); }));
  ASSERT_NO_FATAL_FAILURE(startVideo("settings.y4m", true));
  QTest::mouseClick(abortButtons().first(), Qt::LeftButton);
  ASSERT_TRUE(waitUntil([this] { return !anythingRuns(); }));
  EXPECT_TRUE(Video(host.file("settings.y4m")).header.contains(" F12:1 "));
}

TEST_F(Window, AsksBeforeARecordedPanelIsClosed) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_NO_FATAL_FAILURE(startVideo("closed.y4m", false));
  answerNext(QMessageBox::RejectRole);
  useShortcut("Ctrl+W");
  EXPECT_TRUE(anythingRuns());
  const QPointer<window::ViewPanel> panel = panels().activePanel();
  answerNext(QMessageBox::DestructiveRole);
  useShortcut("Ctrl+W");
  EXPECT_TRUE(panel.isNull());
  ASSERT_TRUE(waitUntil([this] { return !anythingRuns(); }));
  EXPECT_FALSE(QFile::exists(host.file("closed.y4m")));
  // There is a new panel, which can be recorded.
  EXPECT_EQ(panels().panels().size(), 1);
  EXPECT_TRUE(waitUntil([this] { return action("command:grabvideo")->isEnabled(); }));
}

TEST_F(Window, RecordsTwoPanelsAtOnce) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  useShortcut("Ctrl+R");
  ASSERT_EQ(panels().panels().size(), 2);
  window::ViewPanel* first = panels().panels()[0];
  window::ViewPanel* second = panels().panels()[1];
  QTest::mouseClick(first, Qt::LeftButton, {}, first->rect().center());
  ASSERT_NO_FATAL_FAILURE(startVideo("first.y4m", false));
  EXPECT_FALSE(action("command:grabvideo")->isEnabled()) << "the active panel is being recorded";
  useShortcut("F6");
  ASSERT_EQ(panels().activePanel(), second);
  QTest::keyClick(second, Qt::Key_Home);
  QTest::keyClick(second, Qt::Key_Left);
  ASSERT_NO_FATAL_FAILURE(startVideo("second.y4m", false));
  QTest::qWait(300);
  keepScreenshot("two-recordings");
  answerNext(QMessageBox::DestructiveRole);
  window->close();  // ends both recordings, and then the window
  EXPECT_TRUE(waitUntil([this] { return !window->isVisible(); }));
  const std::pair<const char*, window::ViewPanel*> recordings[] = {{"first.y4m", first}, {"second.y4m", second}};
  for (const auto& [name, panel] : recordings) {
    SCOPED_TRACE(name);
    const Video video(host.file(name));
    ASSERT_FALSE(video.frames.isEmpty());
    expectNear(video.extentOfModel(video.frames.size() - 1),
               projectedCube(panel->getScaledTransformMatrix(), video.size, VideoHalfOpening));
  }
}

TEST_F(Window, StaysUsableWhileTheSceneIsHeldStill) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  auto* tree = window->findChild<QTreeWidget*>("sceneTree");
  QTreeWidgetItem* item = tree->topLevelItem(0);
  const auto root = scene::_GlobalScene()->getRootNode();
  std::mutex gate;
  std::unique_lock<std::mutex> closed(gate);
  std::atomic<bool> locked{false};
  std::thread holder([&] {
    const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
    locked = true;
    const std::lock_guard<std::mutex> open(gate);
  });
  ASSERT_TRUE(waitUntil([&] { return locked.load(); }));
  tree->setFocus();
  tree->setCurrentItem(item);
  QTest::keyClick(tree, Qt::Key_Space);
  ASSERT_EQ(item->checkState(0), Qt::Unchecked);
  window::ViewPanel* panel = panels().activePanel();
  const gui::Camera before = panel->getCamera();
  QTest::keyClick(panel, Qt::Key_Right);
  EXPECT_NE(panel->getCamera().azimuth, before.azimuth);
  EXPECT_FALSE(panel->grabFramebuffer().isNull());
  EXPECT_TRUE(root->isVisible()) << "the lock must keep the change out";
  closed.unlock();
  holder.join();
  EXPECT_TRUE(waitUntil([&] { return !root->isVisible(); }));
}

TEST_F(Window, GoesOnAfterWrongFilesAndNonsenseInSettings) {
  for (const QByteArray& content : {QByteArray("not a model"), QByteArray()}) {
    QFile file(host.file("wrong.stl"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
    file.close();
    drop({QUrl::fromLocalFile(file.fileName())});
    ASSERT_TRUE(waitUntil([this] { return message().contains("wrong.stl"); }));
    window->findChild<QFrame*>("messageBar")->findChild<QToolButton*>()->click();
  }
  drop({QUrl("http://localhost/model.stl")});
  EXPECT_FALSE(message().isEmpty());
  ASSERT_NO_FATAL_FAILURE(openCube());

  window.reset();
  for (const char* key : {"geometry", "state", "background", "samples", "appearance", "recentFiles", "logLevel",
                          "values/grabimage/width", "values/grabvideo/sync", "values/grabimage/filename"})
    main::nuboSettings()->setValue(QStringLiteral("window/") + key, QByteArray("\xff\x00nonsense[", 11));
  ASSERT_NO_FATAL_FAILURE(openWindow());
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("width"))->value(), 10000);
}

}  // namespace

}  // namespace nubo::test
