// The command "grabimage" in a host with a panel and a small scene.
#include "module_grab/commands/grabimage.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QImageWriter>
#include <QOffscreenSurface>
#include <QSettings>

#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "kernel/util/yprogressdialog.h"
#include "support/glfixture.h"
#include "support/host.h"
#include "support/limit.h"
#include "support/quad.h"

// The largest texture that OpenGL says to allow; below 0: what it does allow.
static int g_LargestTexture = -1;
// Runs before a surface is destroyed, on its thread.
static std::function<void()> g_BeforeSurfaceGoes;

// Both stand before the libraries' own functions for everything in this program.
extern "C" Q_DECL_EXPORT void glGetIntegerv(GLenum name, GLint* value) {
  using Function = void (*)(GLenum, GLint*);
  static const auto real =
      reinterpret_cast<Function>(QOpenGLContext::currentContext()->getProcAddress("glGetIntegerv"));
  real(name, value);
  if (name == GL_MAX_TEXTURE_SIZE && g_LargestTexture >= 0) *value = g_LargestTexture;
}
extern "C" Q_DECL_EXPORT void destroySurface(QOffscreenSurface* surface) __asm__("_ZN17QOffscreenSurface7destroyEv");
void destroySurface(QOffscreenSurface* surface) {
  using Function = void (*)(QOffscreenSurface*);
  if (g_BeforeSurfaceGoes) g_BeforeSurfaceGoes();
  reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZN17QOffscreenSurface7destroyEv"))(surface);
}

namespace nubo {
namespace {

using commands::grab::GrabImage;
using math::Matrix4;
using testing::ElementsAre;
using testing::IsEmpty;

class GrabImageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_Host.viewer.isFboAvailable()) << "OpenGL is needed here";
    m_Root->addGeometry(test::quad({-1, -1, 0, 1, -1, 0, 1, 1, 0, -1, 1, 0}, {1, 0, 0, 1}));
    m_Root->addGeometry(test::quad({0, 0, 0.2f, 0.8f, 0, 0.2f, 0.8f, 0.8f, 0.2f, 0, 0.8f, 0.2f}, {0, 1, 0, 1}));
    m_Host.viewer.getGlobalScene()->setRootNode(m_Root);
    scene::_GlobalScene()->setSamples(0);
    m_Panel = std::make_unique<gui::ScenePanel>();
    m_Panel->resize(640, 360);
    m_Command = std::make_unique<GrabImage>();
    QObject::connect(
        m_Command->monitor(), &main::CommandMonitor::reasonGiven, m_Command->monitor(),
        [this](const QString& reason) { m_Reason = reason; }, Qt::DirectConnection);
    ASSERT_TRUE(m_Host.settle());
    m_Host.viewer.setActivePanel(m_Panel.get());
  }
  void TearDown() override {
    m_Command.reset();
    m_Panel.reset();
    g_LargestTexture = -1;
  }

  bool give(const QString& fileName, int width) {
    main::ParameterSet values(1, QString());
    for (const QString& text : {fileName, QString::number(width)}) {
      auto* value = new main::Parameter<QString>("value", QString(), QString(), true, nullptr);
      value->castString(text);
      values.addParameter(value);
    }
    m_Log.clear();
    return m_Command->setParameters(values);
  }
  /// Runs the command with these values; whether they could be set at all.
  bool grab(const QString& fileName, int width) { return give(fileName, width) && m_Host.run(*m_Command); }
  QImage picture(int width) {
    const QString file = m_Host.file("picture.png");
    return grab(file, width) ? QImage(file) : QImage();
  }

  /// Whether a picture shows what the panel does, as far as single pixels at edges allow.
  void expectView(const QImage& image) {
    const test::SharingContext context;
    scene::SceneDrawer drawer(m_Host.viewer.getGlobalScene());
    const test::Shot shot{m_Root, m_Panel->getScaledTransformMatrix(), image.width(), image.height()};
    const QImage view = test::GlFixture::drawPart(drawer, shot, 0, 0, image.width(), image.height());
    const test::Difference difference = test::compare(view.convertToFormat(image.format()), image);
    EXPECT_LE(difference.changed, difference.edges / 100) << difference;
    EXPECT_GT(difference.covered, image.width() * image.height() / 20);
  }

  test::Host m_Host;
  test::LogCollector m_Log;
  const util::YPointer<scene::SceneElement> m_Root{new scene::SceneElement};
  std::unique_ptr<gui::ScenePanel> m_Panel;
  std::unique_ptr<GrabImage> m_Command;
  QString m_Reason;
};

TEST_F(GrabImageTest, FollowsTheActivePanel) {
  const auto activate = [this](gui::ScenePanel* panel) { m_Host.viewer.setActivePanel(panel); };
  // A command made while a panel is active learns of panels only from later changes.
  GrabImage later;
  ASSERT_TRUE(m_Host.settle());
  EXPECT_TRUE(m_Command->isEnabled());
  EXPECT_FALSE(later.isEnabled());
  activate(nullptr);
  EXPECT_FALSE(m_Command->isEnabled());
  activate(m_Panel.get());
  EXPECT_TRUE(m_Command->isEnabled());
  EXPECT_TRUE(later.isEnabled());
  {
    const GrabImage gone;  // with its probe still to come
  }
  ASSERT_TRUE(m_Host.settle());
  activate(nullptr);
}

TEST_F(GrabImageTest, ShowsTheSameViewAtEverySizeWhateverTheTexturesAllow) {
  struct Row {
    int panelWidth, panelHeight, width, height, largestTexture;
  };
  for (const Row& row : {Row{1000, 600, 1000, 600, -1}, Row{512, 512, 1024, 1024, -1}, Row{500, 600, 1000, 1200, -1},
                         Row{641, 479, 777, 580, 256}, Row{1600, 400, 2000, 500, 128}, Row{1600, 900, 801, 450, 0},
                         Row{200, 200, 2, 2, -1}}) {
    SCOPED_TRACE(row.width);
    m_Panel->resize(row.panelWidth, row.panelHeight);
    g_LargestTexture = row.largestTexture;
    const QImage image = picture(row.width);
    ASSERT_EQ(image.size(), QSize(row.width, row.height));
    expectView(image);
  }
}

/// Changes the scene from the application thread as soon as it hears of a picture, which has to wait for the picture.
struct ImpatientPresenter : util::ProgressPresenter {
  void begin(const void*, const QString&, bool) override {
    scene::_GlobalScene()->setBackground({Qt::gray});
    changed = true;
  }
  void update(const void*, int) override {}
  void end(const void*) override { ++ended; }
  std::atomic<bool> changed{false};
  int ended = 0;
};

TEST_F(GrabImageTest, ReleasesItsContextBeforeTheSceneMayChange) {
  const auto presenter = std::make_shared<ImpatientPresenter>();
  util::YProgressDialog::setPresenter(presenter);
  bool isReleased = false, isChangedBefore = false;
  g_BeforeSurfaceGoes = [&] {
    if (std::exchange(isReleased, true)) return;
    EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
    for (int i = 0; i < 200 && !presenter->changed; ++i) QThread::msleep(1);  // enough for a change that may come
    isChangedBefore = presenter->changed;
  };
  EXPECT_FALSE(picture(1000).isNull());
  EXPECT_TRUE(m_Host.settle());
  g_BeforeSurfaceGoes = nullptr;
  util::YProgressDialog::setPresenter(nullptr);
  EXPECT_TRUE(isReleased && presenter->changed);
  EXPECT_FALSE(isChangedBefore);
  EXPECT_EQ(presenter->ended, 1);
}

TEST_F(GrabImageTest, SavesAndRemembersTheDirectory) {
  const QString file = m_Host.file("picture.png");
  ASSERT_TRUE(grab(file, 100));
  EXPECT_THAT(m_Log.messages(), ElementsAre("Image saved to '" + file + "'"));
  EXPECT_EQ(main::nuboSettings()->value("lastGrabImageDirectory").toString(), m_Host.directory.path());

  const QString nowhere = m_Host.file("nowhere/picture.png");
  ASSERT_TRUE(grab(nowhere, 100));
  EXPECT_THAT(m_Log.messages(), ElementsAre("Couldn't save image '" + nowhere + "'!"));
  EXPECT_EQ(m_Reason, "No such file or directory");
  EXPECT_EQ(main::nuboSettings()->value("lastGrabImageDirectory").toString(), m_Host.file("nowhere"));
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(GrabImageTest, LaysPicturesOverTheBackgroundWhereTheyShallOrMust) {
  scene::Background background{QColor(0, 0, 250), QColor(250, 0, 0)};
  for (const bool inPictures : {false, true})
    for (const char* name : {"picture.png", "picture.bmp"}) {
      background.inPictures = inPictures;
      scene::_GlobalScene()->setBackground(background);
      ASSERT_TRUE(grab(m_Host.file(name), 400));
      const QImage image(m_Host.file(name));
      SCOPED_TRACE(name);
      const bool isOpaque = inPictures || name == std::string("picture.bmp");
      for (const int y : {0, image.height() / 2, image.height() - 1}) {
        const int blue = qRound(250 * (y + 0.5) / image.height());
        EXPECT_EQ(image.pixel(0, y), isOpaque ? qRgb(250 - blue, 0, blue) : qRgba(0, 0, 250, 0)) << y;
      }
    }
}

TEST_F(GrabImageTest, WritesNothingOfAPictureThatIsStopped) {
  struct Stopper : util::ProgressPresenter {
    void begin(const void*, const QString&, bool) override {}
    void update(const void*, int) override {
      if (++tiles == 2) command->abort();
    }
    void end(const void*) override {}
    GrabImage* command = nullptr;
    std::atomic<int> tiles{0};
  };
  const auto stopper = std::make_shared<Stopper>();
  stopper->command = m_Command.get();
  QString extent;
  QObject::connect(
      m_Command->monitor(), &main::CommandMonitor::endedEarly, m_Command->monitor(),
      [&](const QString& text) { extent = text; }, Qt::DirectConnection);
  const QString file = m_Host.file("picture.bmp");
  ASSERT_FALSE(picture(100).isNull());
  ASSERT_TRUE(QFile::copy(m_Host.file("picture.png"), file));
  const qint64 size = QFileInfo(file).size();
  util::YProgressDialog::setPresenter(stopper);
  EXPECT_TRUE(grab(file, 2000));
  util::YProgressDialog::setPresenter(nullptr);
  EXPECT_EQ(stopper->tiles, 2) << "the other tiles are not drawn";
  EXPECT_EQ(extent, "nothing was written");
  EXPECT_EQ(QFileInfo(file).size(), size) << "the old file stays";
  EXPECT_THAT(m_Log.texts(log::Failure), IsEmpty());
  EXPECT_EQ(picture(100).width(), 100) << "the next one is whole";
}

TEST_F(GrabImageTest, KeepsTheOldFileWhereTheNewOneFindsNoSpace) {
  for (const char* name : {"old.png", "old.bmp", "old.tif", "old.jpg"}) {
    SCOPED_TRACE(name);
    if (!QImageWriter::supportedImageFormats().contains(QFileInfo(name).suffix().toLatin1())) continue;
    QFile file(m_Host.file(name));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.write("old") == 3 && file.flush());
    ASSERT_TRUE(give(file.fileName(), 300));
    testing::internal::CaptureStderr();
    {
      const test::Limit fileSize(RLIMIT_FSIZE, 100);
      EXPECT_TRUE(m_Host.run(*m_Command));
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(), Not(testing::HasSubstr("TIFF")));
    EXPECT_THAT(m_Log.messages(), ElementsAre("Couldn't save image '" + file.fileName() + "'!"));
    EXPECT_EQ(m_Reason, "File too large");
    QFile now(file.fileName());
    EXPECT_TRUE(now.open(QIODevice::ReadOnly) && now.readAll() == "old");
    EXPECT_EQ(QDir(m_Host.directory.path()).entryList({QString(name) + "*"}), QStringList{name});
  }
}

TEST_F(GrabImageTest, RefusesWhatCannotBecomeAPicture) {
  struct Row {
    const char* file;
    int width;
    int panelWidth, panelHeight;
    const char* message;
  };
  for (const Row& row :
       {Row{"a.PNG", 100, 640, 360, "No valid image file extension selected"},
        Row{"a", 100, 640, 360, "No valid image file extension selected"},
        Row{"a.png", 1, 640, 360, "Target picture (1 x 0) size is to small!"},
        Row{"a.png", 1, 100, 1000, "Target picture (1 x 10) size is to small!"},
        Row{"a.png", -5, 640, 320, "Target picture (-5 x -2) size is to small!"},
        Row{"a.png", 3, 1000, 333, "Target picture (3 x 0) size is to small!"},
        Row{"a.png", 2147483647, 640, 320, "Couldn't create image buffer with size (2147483647 x 1073741823)"}}) {
    m_Panel->resize(row.panelWidth, row.panelHeight);
    ASSERT_TRUE(grab(m_Host.file(row.file), row.width));
    EXPECT_THAT(m_Log.messages(), ElementsAre(row.message));
    EXPECT_FALSE(QFile::exists(m_Host.file(row.file)));
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  }
  m_Panel.reset();
  ASSERT_TRUE(grab(m_Host.file("a.png"), 100));
  EXPECT_THAT(m_Log.messages(), IsEmpty());
  EXPECT_FALSE(QFile::exists(m_Host.file("a.png")));
}

TEST_F(GrabImageTest, ProgrammaticFormRendersIntoTheCallersImage) {
  QImage image(1000, 600, QImage::Format_RGB32);
  image.setDotsPerMeterX(11811);
  const Matrix4 transform = m_Panel->getScaledTransformMatrix();
  GrabImage command(&image, &transform, m_Panel.get());
  EXPECT_TRUE(command.isEnabled());
  ASSERT_EQ(command.getParameterSets().size(), 1u);
  EXPECT_EQ(command.getParameterSets().front().getID(), 10000);
  QString text;
  QObject::connect(
      command.monitor(), &main::CommandMonitor::textChanged, command.monitor(),
      [&text](const QString& changed) { text = changed; }, Qt::DirectConnection);
  m_Log.clear();
  ASSERT_TRUE(m_Host.run(command));
  EXPECT_EQ(text, "Grabbing image with 299 dpi");
  expectView(image);

  const QImage before = image.copy();
  m_Host.viewer.getGlobalScene()->setRootNode(nullptr);  // which leaves the image alone
  ASSERT_TRUE(m_Host.run(command));
  EXPECT_EQ(image, before);
  GrabImage empty(nullptr, nullptr, nullptr);
  EXPECT_TRUE(m_Host.run(empty));
  EXPECT_THAT(m_Log.messages(), IsEmpty());
}

TEST_F(GrabImageTest, CopiesHaveADialogOfTheirOwn) {
  auto copy = std::make_unique<GrabImage>(*m_Command);
  m_Command = std::make_unique<GrabImage>();
  *m_Command = *copy;
  copy.reset();
  main::nuboSettings()->setValue("lastGrabImageDirectory", m_Host.directory.path());
  auto* factory = m_Command->getParameterSets().front().getParameterList()->front()->getParameterPanelFactory();
  const std::unique_ptr<QFileDialog> dialog(dynamic_cast<main::FileParameterPanelFactory&>(*factory).createDialog());
  EXPECT_EQ(dialog->windowTitle(), "Save Image");
  EXPECT_EQ(dialog->directory().path(), m_Host.directory.path());
  EXPECT_EQ(dialog->defaultSuffix(), "png");
  EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptSave);
  EXPECT_TRUE(dialog->nameFilters().contains("PNG-File (*.png)"));
  EXPECT_EQ(dialog->nameFilters().size(), QImageWriter::supportedImageFormats().size());
  ASSERT_TRUE(m_Host.settle());
}

}  // namespace
}  // namespace nubo
