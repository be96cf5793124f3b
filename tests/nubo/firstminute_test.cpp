// What a new user does first: a picture for paper, a video, and what is shown of them before and afterwards.
#include <QClipboard>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>

#include "nubo/window/panels/panelframe.h"
#include "nubo/window/results/resultview.h"
#include "nubo/windowfixture.h"

namespace nubo::test {

namespace {

/// Stands for the programs that a desktop would open files with.
class FakeDesktop : public QObject {
  Q_OBJECT
 public:
  FakeDesktop() {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");  // no file manager of this machine is asked
    QDesktopServices::setUrlHandler("file", this, "open");
  }
  ~FakeDesktop() override { QDesktopServices::unsetUrlHandler("file"); }
  QList<QUrl> opened;

 public slots:
  void open(const QUrl& url) { opened << url; }
};

class FirstMinute : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    if (IsSkipped()) return;
    main::nuboSettings()->setValue("settings/grabvideofps", Fps);
    ASSERT_NO_FATAL_FAILURE(openCube());
  }
  QString offeredName() const { return QFileInfo(qobject_cast<QLineEdit*>(field("filename"))->text()).fileName(); }
  QString summary() const {
    for (const auto* label : dialog()->findChildren<QLabel*>("summary"))
      if (label->isVisible()) return label->text();
    return QString();
  }
  void press(const char* button) { QTest::mouseClick(window->findChild<QPushButton*>(button), Qt::LeftButton); }
  QString text(const char* label) const { return window->findChild<QLabel*>(label)->text(); }

  /// Also until the scene is where it was before.
  bool waitForEndOfVideo() {
    return waitForEnd() && waitUntil([] { return trajectory::SelectedTrajectory().position() == 0; });
  }

  static constexpr int Fps = 2;
  FakeDesktop desktop;
};

/// The part of a picture that is lighter than its background, in parts of the picture.
QRectF lightPart(const QImage& picture) {
  const int background = qGray(picture.pixel(0, 0));
  QRect light;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x)
      if (qGray(picture.pixel(x, y)) > background + 8) light |= QRect(x, y, 1, 1);
  return {double(light.x()) / picture.width(), double(light.y()) / picture.height(),
          double(light.width()) / picture.width(), double(light.height()) / picture.height()};
}

TEST_F(FirstMinute, TakesAPictureForPaper) {
  ASSERT_TRUE(openDialog("grabimage"));
  EXPECT_EQ(offeredName(), "cube.png");
  for (const QAction* size : field("width")->parentWidget()->findChild<QToolButton*>("sizes")->menu()->actions())
    if (size->text().startsWith("A4, 300 dpi")) const_cast<QAction*>(size)->trigger();
  EXPECT_TRUE(waitUntil([this] { return summary().startsWith("3,508 × 2,480 pixels"); })) << summary().toStdString();
  enter("filename", host.file("cube.png"));
  keepScreenshot("paper dialog");
  ASSERT_TRUE(start());
  ASSERT_TRUE(waitForEnd());
  const QImage picture(host.file("cube.png"));
  EXPECT_EQ(picture.size(), QSize(3508, 2480));
  EXPECT_EQ(picture.dotsPerMeterX(), qRound(300 / 0.0254));
  EXPECT_EQ(text("resultName"), "cube.png");
  EXPECT_TRUE(text("resultFigures").startsWith("3,508 × 2,480 pixels, ")) << text("resultFigures").toStdString();
  EXPECT_EQ(window::figuresOf({{"complete", false}, {"width", 96}, {"height", 64}}, 12),
            "Not complete: 96 × 64 pixels, 12 bytes");
  EXPECT_EQ(window->findChild<QLabel*>("resultPicture")->pixmap(Qt::ReturnByValue).width(), 256);

  press("resultOpen");
  press("resultFolder");
  EXPECT_TRUE(waitUntil([this] { return desktop.opened.size() == 2; }));
  EXPECT_EQ(desktop.opened.value(0), QUrl::fromLocalFile(host.file("cube.png")));
  EXPECT_EQ(desktop.opened.value(1), QUrl::fromLocalFile(host.directory.path()));
  press("resultCopy");
  const QMimeData* copied = QGuiApplication::clipboard()->mimeData();
  EXPECT_EQ(copied->urls().value(0), QUrl::fromLocalFile(host.file("cube.png")));
  EXPECT_EQ(qvariant_cast<QImage>(copied->imageData()).size(), picture.size());
  press("resultAgain");
  ASSERT_TRUE(waitForEnd());
  EXPECT_EQ(QImage(host.file("cube-2.png")), picture);
  const auto results = window->findChild<QMenu*>("recentResults")->actions();
  ASSERT_EQ(results.size(), 2);
  results[1]->trigger();
  EXPECT_EQ(desktop.opened.last(), QUrl::fromLocalFile(host.file("cube.png")));

  useShortcut("Ctrl+Shift+C");
  const QImage view = QGuiApplication::clipboard()->image();
  EXPECT_EQ(view.size(), panels().activePanel()->size());
  const QRectF shown = lightPart(view), taken = lightPart(picture.convertToFormat(QImage::Format_RGB32));
  EXPECT_NEAR(shown.width(), taken.width(), 0.004) << "the view is what the picture is";
  EXPECT_NEAR(shown.top(), taken.top(), 0.004);
}

TEST_F(FirstMinute, RecordsTheSameVideoTwice) {
  for (const char* name : {"cube.mp4", "cube-2.mp4"}) {
    ASSERT_TRUE(openDialog("grabvideo"));
    EXPECT_EQ(offeredName(), name);
    EXPECT_TRUE(waitUntil([this] { return summary() == "steps 1 to 20: 20 frames, 10.0 s, 1920 × 1080"; }));
    if (offeredName() == "cube.mp4") enter("filename", host.file("cube.mp4"));
    keepScreenshot("first video");
    ASSERT_TRUE(start());
    ASSERT_TRUE(waitForEndOfVideo());
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-count_frames", "-show_entries", "stream=width,height,nb_read_frames",
                            "-of", "csv=p=0", host.file(name)});
    ASSERT_TRUE(probe.waitForFinished());
    EXPECT_EQ(probe.readAllStandardOutput().simplified(), "1920,1080,20") << name;
    EXPECT_TRUE(text("resultFigures").startsWith("20 frames, 10.0 s, 1,920 × 1,080 pixels, "));
  }
  writeFile("other.v2.obj", CubeFile);
  drop({QUrl::fromLocalFile(host.file("other.v2.obj")), QUrl::fromLocalFile(host.file("cube.obj"))});
  ASSERT_TRUE(waitUntil([this] { return window->windowTitle().startsWith("other.v2.obj, cube.obj"); }));
  ASSERT_TRUE(openDialog("grabvideo"));
  EXPECT_EQ(offeredName(), "other-v2.mp4")
      << "the name follows the first model, and all behind its first dot is the format";
  EXPECT_EQ(qobject_cast<QSpinBox*>(field("width"))->value(), 1920);
}

TEST_F(FirstMinute, ChangesTheSettingsOfItsGroupWhereAVideoIsAskedFor) {
  ASSERT_TRUE(openDialog("grabvideo"));
  QWidget* fps = field("fps");
  EXPECT_FALSE(fps->isVisible());
  QTest::mouseClick(dialog()->findChild<QToolButton*>("fold:setvideosettings"), Qt::LeftButton);
  EXPECT_TRUE(waitUntil([&] { return fps->isVisible(); }));
  enter("fps", "4");
  EXPECT_TRUE(waitUntil([this] { return summary() == "steps 1 to 20: 20 frames, 5.0 s, 1920 × 1080"; }))
      << summary().toStdString();
  keepScreenshot("settings in a dialog");
  for (const auto& [parameter, value] :
       {std::pair("fps", QString("5")), {"filename", host.file("cube.mp4")}, {"width", "320"}, {"height", "200"}})
    enter(parameter, value);
  QTest::keyClick(dialog(), Qt::Key_Return);  // while the typing has not come to rest
  ASSERT_TRUE(waitUntil([this] { return !dialog(); }));
  ASSERT_TRUE(waitForEndOfVideo());
  EXPECT_TRUE(text("resultFigures").startsWith("20 frames, 4.0 s, ")) << text("resultFigures").toStdString();
  EXPECT_EQ(main::nuboSettings()->value("settings/grabvideofps").toInt(), 5);
}

TEST_F(FirstMinute, KeepsTheButtonsOfADialogInSightInASmallWindow) {
  for (const char* command : {"grabimage", "grabvideo"}) {
    ASSERT_TRUE(openDialog(command));
    const auto* bar = dialog()->findChild<QScrollArea*>()->verticalScrollBar();
    EXPECT_TRUE(waitUntil([&] { return bar->maximum() == 0; })) << command << " need not be scrolled in a larger one";
    ASSERT_TRUE(cancel());
  }
  window->resize(800, 500);
  ASSERT_TRUE(openDialog("grabvideo"));
  const auto* buttons = dialog()->findChild<QDialogButtonBox*>();
  EXPECT_TRUE(waitUntil([&] { return buttons->visibleRegion().boundingRect() == buttons->rect(); }));
}

TEST_F(FirstMinute, ShowsTheFrameOfAVideoBeforeItIsRecorded) {
  struct Row {
    const char *name, *width, *height;
  };
  for (const Row& row : {Row{"wide.y4m", "640", "200"}, {"high.y4m", "160", "400"}}) {
    SCOPED_TRACE(row.name);
    ASSERT_TRUE(openDialog("grabvideo"));
    for (const auto& [parameter, value] :
         {std::pair("filename", host.file(row.name)), {"width", QString(row.width)}, {"height", QString(row.height)}})
      enter(parameter, value);
    window::ViewPanel* panel = panels().activePanel();
    QTest::keyClick(panel, Qt::Key_Left);  // the view moves meanwhile
    const QImage seen = panel->picture();
    // What a video shows is 45 degrees high, and the panel shows as much as that and its width need.
    const double aspect = QString(row.width).toDouble() / QString(row.height).toDouble();
    const double slope = std::tan(VideoHalfOpening) / std::tan(PictureHalfOpening);
    const double usualWidth = slope * aspect * seen.height(), factor = std::max(1.0, usualWidth / seen.width());
    QRectF frame(0, 0, usualWidth / factor, slope * seen.height() / factor);
    frame.moveCenter(QRectF(seen.rect()).center());
    const QImage whole = panel->grabFramebuffer();
    EXPECT_LT(qGray(whole.pixel(frame.topLeft().toPoint() - QPoint(3, 3) * (factor > 1 ? 0 : 1) - QPoint(0, 3))),
              qGray(seen.pixel(1, 1)) - 10)
        << "outside it is dimmed";
    EXPECT_EQ(whole.pixel((frame.topLeft() + QPointF(3, 3)).toPoint()), seen.pixel(1, 1));
    keepScreenshot(row.name);
    ASSERT_TRUE(start());
    ASSERT_TRUE(waitForEndOfVideo());
    QFile file(host.file(row.name));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray video = file.readAll();
    const QImage frameOfVideo(reinterpret_cast<const uchar*>(video.constData()) + video.indexOf("FRAME\n") + 6,
                              QString(row.width).toInt(), QString(row.height).toInt(), QString(row.width).toInt(),
                              QImage::Format_Grayscale8);
    const QRectF recorded = lightPart(frameOfVideo), shown = lightPart(seen.copy(frame.toAlignedRect()));
    EXPECT_NEAR(shown.left(), recorded.left(), 0.015);
    EXPECT_NEAR(shown.top(), recorded.top(), 0.015);
    EXPECT_NEAR(shown.width(), recorded.width(), 0.015);
    EXPECT_NEAR(shown.height(), recorded.height(), 0.015);
  }
}

TEST(PanelFrame, FindsSizesWhosePicturesHaveTheShape) {
  for (const QSize shape : {QSize(3508, 2480), QSize(2480, 3508), QSize(1920, 1080), QSize(1080, 1080)})
    for (const QSize room : {QSize(873, 569), QSize(400, 801), QSize(1201, 333)}) {
      const QSize size = window::shapedSize(room, shape);
      EXPECT_EQ(size, size.boundedTo(room));
      EXPECT_GT(std::max(size.width() * 1.0 / room.width(), size.height() * 1.0 / room.height()), 0.9);
      EXPECT_EQ(int(shape.width() * (double(size.height()) / size.width())), shape.height());
    }
}

}  // namespace

}  // namespace nubo::test

#include "firstminute_test.moc"
