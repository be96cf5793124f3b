// Takes pictures and videos through the window, and changes settings.
#include <sys/resource.h>

#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QTreeWidget>
#include <csignal>
#include <mutex>
#include <thread>

#include "nubo/window/scene/scenechanger.h"
#include "nubo/window/scene/scenetree.h"
#include "nubo/windowfixture.h"

namespace nubo::test {

namespace {

using math::Matrix4;

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
    while (pixels > 0 && file.readLine() == "FRAME\n") frames << file.read(qint64(3) * pixels);
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

TEST_F(WindowTest, TurnsWithTheMouseAndTakesAPictureOfThatViewByKeysAlone) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  window::ViewPanel* panel = panels().activePanel();
  const gui::Camera camera = panel->getCamera();
  drag(panel, {200, 200}, {260, 180});
  EXPECT_NE(panel->getCamera().azimuth, camera.azimuth);
  EXPECT_NE(panel->getCamera().elevation, camera.elevation);

  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("width"))->value(), 10000);
  EXPECT_EQ(QFileInfo(qobject_cast<QLineEdit*>(field("filename"))->text()).fileName(), "cube.png");
  enter("filename", host.file("cube.png"));
  const auto summary = [this] { return dialog()->findChild<QLabel*>("summary")->text(); };
  const auto sizes = dialog()->findChild<QToolButton*>("sizes")->menu()->actions();
  sizes[3]->trigger();
  EXPECT_EQ(sizes[3]->text(), "A4, 300 dpi (3508 × 2480)");
  EXPECT_TRUE(summary().startsWith("3,508 × ")) << summary().toStdString();
  enter("width", "254mm@50dpi");
  EXPECT_TRUE(summary().startsWith(
      QStringLiteral("500 × %1 pixels, ").arg(int(500 * double(panel->height()) / panel->width()))))
      << summary().toStdString();
  keepScreenshot("picture dialog");
  ASSERT_TRUE(start() && waitForEnd());
  const QImage picture(host.file("cube.png"));
  EXPECT_EQ(picture.dotsPerMeterX(), 1969) << "50 dpi";
  ASSERT_EQ(picture.size(), QSize(500, int(500 * double(panel->height()) / panel->width())));
  expectNear(extentOf(picture.size(), [&](int x, int y) { return qAlpha(picture.pixel(x, y)) > 127; }),
             projectedCube(panel->getScaledTransformMatrix(), picture.size(), PictureHalfOpening));
  EXPECT_EQ(message(), "");

  // What was entered is there again, with the next free name.
  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("width"))->value(), 500);
  EXPECT_EQ(qobject_cast<QLineEdit*>(field("filename"))->text(), host.file("cube-2.png"));

  // What only the command finds out is told in the window.
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit tooSmall{100, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tooSmall);
  const bool ended = start() && waitForEnd();
  setrlimit(RLIMIT_FSIZE, &before);
  ASSERT_TRUE(ended);
  EXPECT_EQ(message(), QStringLiteral("Couldn't save image '%1'! File too large").arg(host.file("cube-2.png")));
  const auto* bar = window->findChild<window::MessageBar*>();
  EXPECT_FALSE(QRect(bar->mapTo(window.get(), QPoint()), bar->size())
                   .intersects(QRect(panels().mapTo(window.get(), QPoint()), panels().size())));
}

TEST_F(WindowTest, MarksBadValuesWhereTheyStandAndRunsNothing) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_TRUE(openDialog("grabimage"));
  struct Value {
    const char *parameter, *value, *marked;
    const char* remark = "";  ///< a part of it
  };
  const Value pictureValues[] = {{"filename", "", "filename"},
                                 {"filename", "picture.nonsense", "filename"},
                                 {"filename", "missing/p.png", "filename"},
                                 {"filename", "picture.jpg", nullptr},
                                 {"width", "1", "width"},
                                 {"width", "2000000000", "width"},
                                 {"width", "65501", "width", "“.jpg”"},
                                 {"filename", "picture-2.png", nullptr}};
  const auto enterAll = [this](const auto& values) {
    for (const Value& value : values) {
      SCOPED_TRACE(testing::Message() << value.parameter << ": " << value.value);
      const bool isFile = *value.value && QByteArray(value.parameter) == "filename";
      enter(value.parameter, isFile ? host.file(value.value) : value.value);
      if (value.marked && start()) FAIL() << "was accepted";
      for (const char* parameter : {"filename", "width"}) {
        const bool isMarked = value.marked && QByteArray(parameter) == value.marked;
        EXPECT_EQ(!remark(parameter).isEmpty(), isMarked);
        EXPECT_TRUE(!isMarked || remark(parameter).contains(value.remark)) << remark(parameter).toStdString();
      }
      EXPECT_FALSE(anythingRuns());
    }
  };
  ASSERT_NO_FATAL_FAILURE(enterAll(pictureValues));
  enter("filename", host.file("picture"));  // gets the default suffix
  enter("width", "64");
  ASSERT_TRUE(start() && waitForEnd());
  EXPECT_TRUE(QFile::exists(host.file("picture.png")));

  ASSERT_TRUE(openDialog("grabvideo"));
  ASSERT_NO_FATAL_FAILURE(enterAll(std::initializer_list<Value>{{"width", "15", "width", "min. 16"},
                                                                {"width", "1000000", "width", "size 1000000 x "}}));
}

TEST_F(WindowTest, RecordsATurntableThatTheUserEnds) {
  // A turntable of so many steps that none ends before the user does.
  main::nuboSettings()->setValue("settings/grabvideofps", 1000);
  ASSERT_NO_FATAL_FAILURE(openCube());
  const Matrix4 view = panels().activePanel()->getScaledTransformMatrix();
  const auto trajectory = trajectory::TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo();
  ASSERT_TRUE(trajectory);
  const auto steps = *trajectory->getMatrixMapList();
  useShortcut("Ctrl+Space");  // plays, until the recording moves the scene itself
  ASSERT_NO_FATAL_FAILURE(startVideo("turn.y4m", true));
  const auto* slider = window->findChild<QSlider*>("trajectorySlider");
  ASSERT_TRUE(waitUntil([&] { return !slider->isEnabled(); }));
  EXPECT_EQ(action("play")->text(), "&Play");
  ASSERT_TRUE(waitUntil([&, start = slider->value()] { return slider->value() >= start + 8; }))
      << "the bar must follow the recording";
  // Keys of what cannot be used now reach nobody: the tree would hide the element.
  auto* tree = window->findChild<QTreeWidget*>("sceneTree");
  activate();
  tree->setFocus();
  tree->setCurrentItem(tree->topLevelItem(0));
  QTest::keyClick(tree, Qt::Key_Space, Qt::ControlModifier);
  EXPECT_EQ(tree->topLevelItem(0)->checkState(0), Qt::Checked);
  const int last = slider->value();
  QTest::mouseClick(abortButtons().first(), Qt::LeftButton);
  const auto isAt = [&](int step) { return int(trajectory->getPosition()) == step; };
  ASSERT_TRUE(waitForEnd());
  EXPECT_TRUE(waitUntil([&] { return slider->isEnabled() && slider->value() < last && isAt(slider->value()); }));

  const Video video(host.file("turn.y4m"));
  ASSERT_EQ(video.size, QSize(200, 160));
  ASSERT_GE(video.frames.size(), 8);
  ASSERT_LT(video.frames.size(), int(steps.size())) << "it was not ended";
  EXPECT_THAT(
      message().toStdString(),
      testing::MatchesRegex(".*turn.y4m ended early: " + std::to_string(video.frames.size()) + " of .* frames"));
  const int first = int(trajectory->getPosition());
  ASSERT_LT(std::size_t(first + video.frames.size()), steps.size()) << "it was put back to where it began";
  for (int frame = 0; frame < video.frames.size(); ++frame) {
    SCOPED_TRACE(frame);
    expectNear(video.extentOfModel(frame),
               projectedCube(view * steps[first + frame].begin()->second, video.size, VideoHalfOpening));
  }
}

TEST_F(WindowTest, AsksBeforeARecordedPanelIsClosed) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_NO_FATAL_FAILURE(startVideo("closed.y4m", false));
  answerNext(QMessageBox::RejectRole);
  useShortcut("Ctrl+W");
  EXPECT_TRUE(anythingRuns());
  const QPointer<window::ViewPanel> panel = panels().activePanel();
  answerNext(QMessageBox::DestructiveRole);
  useShortcut("Ctrl+W");
  EXPECT_TRUE(panel.isNull());
  ASSERT_TRUE(waitForEnd());
  EXPECT_FALSE(QFile::exists(host.file("closed.y4m")));
  // There is a new panel, which can be recorded.
  EXPECT_EQ(panels().panels().size(), 1);
  ASSERT_NO_FATAL_FAILURE(startVideo("ended.y4m", false));
  // All may have ended while the user thinks.
  inNextDialog<QMessageBox>([this](QMessageBox* box) {
    useShortcut("Ctrl+.");
    EXPECT_TRUE(waitForEnd());
    for (QAbstractButton* button : box->buttons())
      if (box->buttonRole(button) == QMessageBox::DestructiveRole) button->click();
  });
  window->close();
  EXPECT_TRUE(waitUntil([this] { return !window->isVisible(); }));
}

TEST_F(WindowTest, RecordsTwoPanelsAtOnce) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  useShortcut("Ctrl+R");
  ASSERT_EQ(panels().panels().size(), 2);
  window::ViewPanel* first = panels().panels()[0];
  window::ViewPanel* second = panels().panels()[1];
  QTest::mouseClick(first, Qt::LeftButton, {}, first->rect().center());
  useShortcut("Ctrl+Space");
  ASSERT_NO_FATAL_FAILURE(startVideo("first.y4m", false));
  const auto* slider = window->findChild<QSlider*>("trajectorySlider");
  EXPECT_TRUE(waitUntil([&, step = slider->value()] { return slider->value() > step; })) << "a user may go on playing";
  useShortcut("Ctrl+Space");
  useShortcut("Ctrl+Home");  // where the views below expect the cube
  EXPECT_FALSE(action("command:grabvideo")->isEnabled()) << "the active panel is being recorded";
  EXPECT_TRUE(action("stop")->isEnabled());
  useShortcut("F6");
  ASSERT_EQ(panels().activePanel(), second);
  QTest::keyClick(second, Qt::Key_Home);
  QTest::keyClick(second, Qt::Key_Left);
  ASSERT_TRUE(openDialog("grabvideo"));
  enter("filename", host.file("first.y4m"));
  ASSERT_FALSE(start()) << "two recordings into one file";
  ASSERT_TRUE(cancel());
  ASSERT_NO_FATAL_FAILURE(startVideo("second.y4m", false));
  for (int i = 0; i < 2; ++i)
    EXPECT_TRUE(abortButtons()[i]->toolTip().contains(i == 0 ? "Video first.y4m" : "Video second.y4m"));
  // Views can be turned while they are recorded, and keep what they show whatever their size; scenes stay.
  QTest::keyClick(first, Qt::Key_Home);
  const gui::Camera held = first->getCamera();
  window->resize(window->width() - 150, window->height());
  window->openFiles({"builtin"});
  ASSERT_TRUE(waitUntil([this] { return message().contains("Built-in scene"); }));
  EXPECT_EQ(first->getCamera().distance, held.distance);
  EXPECT_TRUE(window->windowTitle().startsWith("cube.obj"));
  QTest::keyClick(first, Qt::Key_Up);
  QTest::qWait(300);
  const std::pair<const char*, Matrix4> recordings[] = {{"first.y4m", first->getScaledTransformMatrix()},
                                                        {"second.y4m", second->getScaledTransformMatrix()}};
  answerNext(QMessageBox::RejectRole);
  window->close();
  EXPECT_TRUE(window->isVisible() && abortButtons().size() == 2);
  useShortcut("Ctrl+.");  // ends the one that was started last
  ASSERT_TRUE(waitUntil([this] { return abortButtons().size() == 1; }));
  EXPECT_TRUE(abortButtons()[0]->toolTip().contains("Video first.y4m"));
  answerNext(QMessageBox::DestructiveRole);
  window->close();  // ends the other, and then the window
  EXPECT_TRUE(waitUntil([this] { return !window->isVisible(); }));
  for (const auto& [name, view] : recordings) {
    SCOPED_TRACE(name);
    const Video video(host.file(name));
    ASSERT_FALSE(video.frames.isEmpty());
    expectNear(video.extentOfModel(video.frames.size() - 1), projectedCube(view, video.size, VideoHalfOpening));
  }
}

TEST_F(WindowTest, StaysUsableWhileTheSceneIsHeldStill) {
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
  bool selected = false;
  QObject::connect(static_cast<window::SceneTree*>(tree), &window::SceneTree::elementSelected,
                   [&](const auto& element) { selected = bool(element); });
  activate();
  tree->setFocus();
  ASSERT_TRUE(waitUntil([&] { return tree->hasFocus() && tree->currentItem() == item; }));
  EXPECT_FALSE(selected) << "having the focus chooses nothing";
  tree->setCurrentItem(item, 0, QItemSelectionModel::ClearAndSelect);
  EXPECT_TRUE(selected);
  // The first change is under way, the others wait, of which only the last is of interest.
  for (int i = 0; i < 3; ++i) QTest::keyClick(tree, Qt::Key_Space);
  ASSERT_EQ(item->checkState(0), Qt::Unchecked);
  window::ViewPanel* panel = panels().activePanel();
  const gui::Camera before = panel->getCamera();
  QTest::keyClick(panel, Qt::Key_Right);
  EXPECT_NE(panel->getCamera().azimuth, before.azimuth);
  EXPECT_FALSE(panel->grabFramebuffer().isNull());
  EXPECT_TRUE(root->isVisible()) << "the lock must keep the change out";
  closed.unlock();
  holder.join();
  window->findChild<window::SceneChanger*>()->finish();
  EXPECT_FALSE(root->isVisible());
}

TEST_F(WindowTest, GoesOnAfterWrongFilesAndNonsenseInSettings) {
  for (const char* name : {"wrong.stl", "empty.stl"}) {
    drop({QUrl::fromLocalFile(writeFile(name, *name == 'w' ? "not a model" : ""))});
    ASSERT_TRUE(waitUntil([&] { return message().contains(name); })) << "the former failure is of no interest now";
  }
  ASSERT_NO_FATAL_FAILURE(openCube());
  EXPECT_EQ(message(), QString());
  drop({QUrl("http://localhost/model.stl")});
  EXPECT_FALSE(message().isEmpty());

  window.reset();
  for (const char* key : {"geometry", "state", "background", "samples", "look", "appearance", "recentFiles", "logLevel",
                          "values/grabimage/width", "values/grabvideo/sync", "values/grabimage/filename"})
    main::nuboSettings()->setValue(QStringLiteral("window/") + key, QByteArray("\xff\x00nonsense[", 11));
  ASSERT_NO_FATAL_FAILURE(openWindow());
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("width"))->value(), 10000);
}

}  // namespace

}  // namespace nubo::test
