// The command "grabimage" in a host with a panel and a small scene.
#include "module_grab/commands/grabimage.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QImageWriter>
#include <QSettings>
#include <csignal>

#include "kernel/events/eventmanager.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/mesh/preparation.h"
#include "support/glfixture.h"
#include "support/host.h"

// The largest texture that OpenGL admits to have; 0: the true one.
static int g_MaxTextureSize = 0;

// Stands before OpenGL's own function for everything in this program.
extern "C" Q_DECL_EXPORT void glGetIntegerv(GLenum name, GLint* value) {
  using Function = void (*)(GLenum, GLint*);
  static const auto real =
      reinterpret_cast<Function>(QOpenGLContext::currentContext()->getProcAddress("glGetIntegerv"));
  real(name, value);
  if (name == GL_MAX_TEXTURE_SIZE && g_MaxTextureSize > 0) *value = g_MaxTextureSize;
}

namespace nubo {
namespace {

using commands::grab::GrabImage;
using math::Matrix4;

constexpr int PanelWidth = 640;
constexpr int PanelHeight = 360;

/// A square that is red at its upper left, green at its upper right and blue below, seen from the front.
util::YPointer<scene::SceneElement> quadrants() {
  util::YPointer<scene::SceneElement> root(new scene::SceneElement);
  const auto add = [&root](float left, float bottom, float width, std::array<float, 4> colour) {
    util::YPointer<scene::Geometry> geometry(new scene::Geometry);
    const float right = left + width, top = bottom + 1;
    geometry->positions = {left, bottom, 0, right, bottom, 0, right, top, 0, left, top, 0};
    geometry->indices = {0, 1, 2, 0, 2, 3};
    geometry->material = new scene::Material;
    geometry->material->diffuse = colour;
    geometry->material->lit = false;
    prepare(*geometry);
    root->addGeometry(geometry);
  };
  add(-1, 0, 1, {1, 0, 0, 1});
  add(0, 0, 1, {0, 1, 0, 1});
  add(-1, -1, 2, {0, 0, 1, 1});
  return root;
}

class GrabImageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_Host.viewer.isFboAvailable()) << "OpenGL is needed here";
    m_Host.viewer.getGlobalScene()->setRootNode(quadrants());
    scene::_GlobalScene()->setSamples(0);
    m_Panel = std::make_unique<gui::ScenePanel>();
    m_Panel->resize(PanelWidth, PanelHeight);
    gui::Camera camera;
    camera.azimuth = 0;
    camera.elevation = 90;
    camera.distance = 3;
    m_Panel->setCamera(camera);
    m_Command = std::make_unique<GrabImage>();
    ASSERT_TRUE(m_Host.settle());
  }
  void TearDown() override {
    m_Command.reset();
    m_Panel.reset();
    g_MaxTextureSize = 0;
  }

  void activate(gui::ScenePanel* panel) { m_Host.viewer.setActivePanel(panel); }

  /// Runs the command with these values; whether they could be set at all.
  bool grab(const QString& fileName, int width) {
    main::ParameterSet values(1, QString());
    auto* name = new main::Parameter<QString>("filename", QString(), QString(), true, nullptr);
    name->castString(fileName);
    values.addParameter(name);
    auto* number = new main::Parameter<int>("width", QString(), QString(), true, nullptr);
    number->castString(QString::number(width));
    values.addParameter(number);
    m_Log.clear();
    return m_Command->setParameters(values) && m_Host.run(*m_Command);
  }

  /// Whether a picture shows the scene upright, unmirrored and in the panel's aspect.
  static void expectQuadrants(const QImage& image) {
    // The square's half edge in pictures of this height, at distance 3.
    const double half = image.height() / (2 * std::tan(0.40391905546154483) * 3);
    const auto at = [&](double x, double y) {
      return image.pixel(int(image.width() / 2.0 + x * half), int(image.height() / 2.0 - y * half));
    };
    for (const double place : {0.1, 0.9}) {
      EXPECT_EQ(at(-place, place), qRgb(255, 0, 0)) << place;
      EXPECT_EQ(at(place, place), qRgb(0, 255, 0)) << place;
      EXPECT_EQ(at(place, -place), qRgb(0, 0, 255)) << place;
    }
    EXPECT_EQ(qAlpha(at(0, 1.1)), 0);
    if (1.1 * half < image.width() / 2.0) {
      EXPECT_EQ(qAlpha(at(1.1, 0)), 0);
    }
    EXPECT_EQ(qAlpha(at(0, -1.1)), 0);
  }

  test::Host m_Host;
  test::LogCollector m_Log;
  std::unique_ptr<gui::ScenePanel> m_Panel;
  std::unique_ptr<GrabImage> m_Command;
};

TEST_F(GrabImageTest, FollowsTheActivePanel) {
  EXPECT_FALSE(m_Command->isEnabled());
  activate(m_Panel.get());
  EXPECT_TRUE(m_Command->isEnabled());
  // A command made while a panel is active learns of panels only from later changes.
  GrabImage later;
  ASSERT_TRUE(m_Host.settle());
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

TEST_F(GrabImageTest, ShowsTheSameViewAtEverySize) {
  activate(m_Panel.get());
  struct Row {
    int panelWidth, panelHeight, width, height;
  };
  for (const Row& row : {Row{1000, 600, 1000, 600}, Row{512, 512, 1024, 1024}, Row{500, 600, 1000, 1200},
                         Row{641, 479, 777, 580}, Row{1600, 900, 801, 450}}) {
    m_Panel->resize(row.panelWidth, row.panelHeight);
    const QString file = m_Host.file("view.png");
    ASSERT_TRUE(grab(file, row.width));
    const QImage image(file);
    ASSERT_EQ(image.size(), QSize(row.width, row.height));
    expectQuadrants(image);
  }
  m_Panel->resize(200, 200);
  ASSERT_TRUE(grab(m_Host.file("tiny.png"), 2));
  const QImage tiny(m_Host.file("tiny.png"));
  ASSERT_EQ(tiny.size(), QSize(2, 2));
  EXPECT_EQ(tiny.pixel(0, 0), qRgb(255, 0, 0));
  EXPECT_EQ(tiny.pixel(1, 0), qRgb(0, 255, 0));
  EXPECT_EQ(tiny.pixel(1, 1), qRgb(0, 0, 255));
}

TEST_F(GrabImageTest, TilesAsSmallAsTheTexturesAllowMakeTheSamePicture) {
  activate(m_Panel.get());
  ASSERT_TRUE(grab(m_Host.file("large.png"), 1100));
  g_MaxTextureSize = 256;
  ASSERT_TRUE(grab(m_Host.file("small.png"), 1100));
  EXPECT_EQ(QImage(m_Host.file("small.png")), QImage(m_Host.file("large.png")));
}

TEST_F(GrabImageTest, SavesAndRemembersTheDirectory) {
  activate(m_Panel.get());
  const QString file = m_Host.file("picture.png");
  ASSERT_TRUE(grab(file, 100));
  EXPECT_EQ(m_Log.messages(4000), (std::vector<QString>{"Image saved to '" + file + "'"}));
  EXPECT_EQ(main::nuboSettings()->value("lastGrabImageDirectory").toString(), m_Host.directory.path());
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);

  const QString nowhere = m_Host.file("nowhere/picture.png");
  ASSERT_TRUE(grab(nowhere, 100));
  EXPECT_EQ(m_Log.messages(2000), (std::vector<QString>{"Couldn't save image '" + nowhere + "'!"}));
  EXPECT_EQ(main::nuboSettings()->value("lastGrabImageDirectory").toString(), m_Host.file("nowhere"));
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(GrabImageTest, KeepsTheOldFileWhereTheNewOneFindsNoSpace) {
  activate(m_Panel.get());
  const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{100, limit.rlim_max};
  for (const char* name : {"old.png", "old.bmp", "old.tif"}) {
    if (!QImageWriter::supportedImageFormats().contains(QFileInfo(name).suffix().toLatin1())) continue;
    QFile file(m_Host.file(name));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.write("old") == 3 && file.flush());
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_TRUE(grab(file.fileName(), 300));
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(m_Log.messages(2000), (std::vector<QString>{"Couldn't save image '" + file.fileName() + "'!"}));
    QFile now(file.fileName());
    EXPECT_TRUE(now.open(QIODevice::ReadOnly) && now.readAll() == "old") << name;
    EXPECT_EQ(QDir(m_Host.directory.path()).entryList({QString(name) + "*"}), QStringList{name});
  }
  std::signal(SIGXFSZ, previousHandler);
}

TEST_F(GrabImageTest, RefusesWhatCannotBecomeAPicture) {
  activate(m_Panel.get());
  struct Row {
    const char* file;
    int width;
    int panelWidth, panelHeight;
    const char* message;
  };
  for (const Row& row :
       {Row{"a.PNG", 100, 640, 360, "No valid image file extension selected"},
        Row{"a", 100, 640, 360, "No valid image file extension selected"},
        Row{"a.txt", 100, 640, 360, "No valid image file extension selected"},
        Row{"a.png", 1, 640, 360, "Target picture (1 x 0) size is to small!"},
        Row{"a.png", 1, 100, 1000, "Target picture (1 x 10) size is to small!"},
        Row{"a.png", -5, 640, 320, "Target picture (-5 x -2) size is to small!"},
        Row{"a.png", 3, 1000, 333, "Target picture (3 x 0) size is to small!"},
        Row{"a.png", 2147483647, 640, 320, "Couldn't create image buffer with size (2147483647 x 1073741823)"}}) {
    m_Panel->resize(row.panelWidth, row.panelHeight);
    ASSERT_TRUE(grab(m_Host.file(row.file), row.width));
    EXPECT_EQ(m_Log.messages(2000), (std::vector<QString>{row.message}));
    EXPECT_FALSE(QFile::exists(m_Host.file(row.file)));
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  }
  m_Panel.reset();
  ASSERT_TRUE(grab(m_Host.file("gone.png"), 100));
  EXPECT_TRUE(m_Log.messages().empty());
  EXPECT_FALSE(QFile::exists(m_Host.file("gone.png")));
}

TEST_F(GrabImageTest, EmptySceneLeavesTheCallersImageAlone) {
  m_Host.viewer.getGlobalScene()->setRootNode(nullptr);
  QImage image(20, 20, QImage::Format_ARGB32);
  image.fill(0x12345678);
  const QImage before = image.copy();
  const Matrix4 transform = m_Panel->getScaledTransformMatrix();
  GrabImage command(&image, &transform, m_Panel.get());
  m_Log.clear();
  ASSERT_TRUE(m_Host.run(command));
  EXPECT_EQ(image, before);
  EXPECT_TRUE(m_Log.messages().empty());
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
  ASSERT_TRUE(m_Host.run(command));
  EXPECT_EQ(text, "Grabbing image with 299 dpi");
  EXPECT_EQ(image.pixel(450, 250), qRgb(255, 0, 0));
  EXPECT_EQ(image.pixel(550, 350), qRgb(0, 0, 255));

  GrabImage empty(nullptr, nullptr, nullptr);
  EXPECT_TRUE(m_Host.run(empty));
}

TEST_F(GrabImageTest, CopiesHaveADialogOfTheirOwn) {
  auto copy = std::make_unique<GrabImage>(*m_Command);
  const auto dialogOf = [](GrabImage& command) {
    auto* factory = command.getParameterSets().front().getParameterList()->front()->getParameterPanelFactory();
    return std::unique_ptr<QFileDialog>(dynamic_cast<main::FileParameterPanelFactory&>(*factory).createDialog());
  };
  m_Command.reset();
  EXPECT_EQ(dialogOf(*copy)->windowTitle(), "Save Image");
  m_Command = std::make_unique<GrabImage>();
  *m_Command = *copy;
  copy.reset();
  main::nuboSettings()->setValue("lastGrabImageDirectory", m_Host.directory.path());
  const auto dialog = dialogOf(*m_Command);
  EXPECT_EQ(dialog->directory().path(), m_Host.directory.path());
  EXPECT_EQ(dialog->defaultSuffix(), "png");
  EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptSave);
  QStringList filters;
  for (const QByteArray& format : QImageWriter::supportedImageFormats())
    filters << QString::fromLatin1(format.toUpper() + "-File (*." + format.toLower() + ")");
  EXPECT_EQ(dialog->nameFilters(), filters);
  ASSERT_TRUE(m_Host.settle());
}

}  // namespace
}  // namespace nubo
