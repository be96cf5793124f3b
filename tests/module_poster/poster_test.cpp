// The command "grabposter" beside "grabimage", with the same panel and scene.
#include <gmock/gmock.h>

#include <QFileDialog>
#include <QTextStream>

#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "kernel/util/yprogressdialog.h"
#include "module_grab/commands/grabimage.h"
#include "module_poster/commands/grabposter.h"
#include "module_poster/files/error.h"
#include "module_poster/files/joinbands.h"
#include "module_scene/builtin/builtinscene.h"
#include "module_scene/gui/framing.h"
#include "posterfile.h"
#include "support/host.h"
#include "support/limit.h"
#include "support/quad.h"

namespace nubo {
namespace {

using commands::poster::GrabPoster;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A call's values, as texts.
struct Call {
  QString file;
  int width = 0;
  const char* compression = "";
  int tile = 512;
  const char* band = "";
  int quality = 90;
};

class PosterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_Host.viewer.isFboAvailable()) << "OpenGL is needed here";
    m_Root->addGeometry(test::quad({-1, -0.9f, 0, 1, -1, 0, 0.8f, 1, 0, -1, 1, 0}, {1, 0, 0, 1}));
    m_Root->addGeometry(test::quad({0, 0, 0.2f, 0.8f, 0, 0.2f, 0.7f, 0.8f, 0.2f, 0, 0.8f, 0.2f}, {0, 1, 0, 1}));
    m_Host.viewer.getGlobalScene()->setRootNode(m_Root);
    m_Panel.resize(640, 360);
    QObject::connect(
        m_Poster.monitor(), &main::CommandMonitor::reasonGiven, m_Poster.monitor(),
        [this](const QString& reason) { m_Reason = reason; }, Qt::DirectConnection);
    ASSERT_TRUE(m_Host.settle());
    m_Host.viewer.setActivePanel(&m_Panel);
  }

  bool give(main::Command& command, const QStringList& texts) {
    main::ParameterSet values(1, QString());
    for (const QString& text : texts) {
      auto* value = new main::Parameter<QString>("value", QString(), QString(), true, nullptr);
      value->castString(text);
      values.addParameter(value);
    }
    m_Log.clear();
    m_Reason.clear();
    return command.setParameters(values);
  }
  bool give(const Call& call) {
    return give(m_Poster, {m_Host.file(call.file), QString::number(call.width), call.compression,
                           QString::number(call.quality), QString::number(call.tile), call.band});
  }
  void grab(const Call& call) {
    ASSERT_TRUE(give(call) && m_Host.run(m_Poster));
    EXPECT_THAT(m_Log.texts(log::Failure), IsEmpty()) << m_Reason.toStdString();
  }
  QImage picture(int width) {
    const QString file = m_Host.file("picture.png");
    return give(m_Image, {file, QString::number(width)}) && m_Host.run(m_Image) ? QImage(file) : QImage();
  }
  std::vector<QImage> levels(const Call& call, QSize size) const {
    const QString file = m_Host.file(call.file);
    const QString suffix = QLatin1String(call.compression) == "jpeg" ? "jpg" : "png";
    return file.endsWith("dzi") ? test::readPyramid(file, size, call.tile, suffix) : test::readTiff(file);
  }
  QStringList files() const {
    return QDir(m_Host.directory.path())
        .entryList({"a*", "joined*", ".*"}, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
  }
  QString refusal(const Call& call) {
    const main::ParameterSet& set = m_Poster.getParameterSets().front();
    return give(call) ? set.check(set).text : QString("not even values");
  }
  QString join(const QStringList& bands, const QString& target) {
    QStringList paths;
    for (const QString& band : bands) paths << m_Host.file(band);
    try {
      poster::joinBands(paths, m_Host.file(target));
      return QString();
    } catch (const poster::Error& error) {
      return error.text();
    }
  }

  test::Host m_Host;
  test::LogCollector m_Log;
  const util::YPointer<scene::SceneElement> m_Root{new scene::SceneElement};
  gui::ScenePanel m_Panel;
  commands::grab::GrabImage m_Image;
  GrabPoster m_Poster;
  QString m_Reason;
};

TEST_F(PosterTest, EqualsThePictureOfThatViewAndItsSmallerVersionsFollow) {
  struct Row {
    Call call;
    int samples, panelHeight, levels;
  };
  for (const Row& row : {Row{{"a.tif", 1300}, 4, 360, 3}, Row{{"a.tif", 777, "zstd", 64}, 0, 479, 5},
                         Row{{"a.tiff", 512, "deflate", 512}, 4, 640, 1}, Row{{"a.dzi", 1025, "png"}, 4, 360, 12},
                         Row{{"b.dzi", 1101, "", 256}, 0, 640, 12}, Row{{"b.dzi", 3}, 4, 640, 3}}) {
    SCOPED_TRACE(row.call.width);
    scene::_GlobalScene()->setSamples(row.samples);
    scene::_GlobalScene()->setBackground({Qt::blue, row.samples ? QColor() : Qt::yellow, QImage(), row.samples == 0});
    m_Panel.resize(640, row.panelHeight);
    const QImage expected = picture(row.call.width);
    ASSERT_NO_FATAL_FAILURE(grab(row.call));
    const std::vector<QImage> levels = this->levels(row.call, expected.size());
    ASSERT_EQ(levels.size(), row.levels);
    EXPECT_EQ(levels.front(), expected.convertToFormat(QImage::Format_ARGB32));
    for (std::size_t i = 1; i < levels.size(); ++i) test::expectHalf(levels[i], levels[i - 1]);
  }
}

TEST_F(PosterTest, LaysTilesWithoutAlphaOverTheBackground) {
  scene::_GlobalScene()->setBackground({QColor(200, 40, 90)});
  const Call call{"a.dzi", 700, "jpeg", 512, "", 100};
  ASSERT_NO_FATAL_FAILURE(grab(call));
  const QImage picture = this->picture(700), poster = levels(call, picture.size()).front();
  QImage over(picture.size(), QImage::Format_RGB32);
  over.fill(QColor(200, 40, 90));
  for (int y = 0; y < over.height(); ++y)
    for (int x = 0; x < over.width(); ++x)
      if (qAlpha(picture.pixel(x, y)) > 127) over.setPixel(x, y, picture.pixel(x, y));
  int far = 0;  // only edges differ, by what JPEG and the half covered make of them
  for (int y = 0; y < over.height(); ++y)
    for (int x = 0; x < over.width(); ++x) far += std::abs(qGreen(over.pixel(x, y)) - qGreen(poster.pixel(x, y))) > 12;
  EXPECT_LT(far, 4 * (over.width() + over.height()));
  EXPECT_NEAR(poster.pixelColor(1, 1).red(), 200, 2);
}

TEST_F(PosterTest, BandsMakeTheSamePoster) {
  // What surfaces take of each other's light is found by the first tile, which shows nothing here.
  const auto root = scene::createBuiltinScene();
  scene::_GlobalScene()->setRootNode(root);
  scene::_GlobalScene()->setLook(scene::Look::Studio);
  scene::_GlobalScene()->setContact(true);
  gui::Framing framing(gui::Camera(), root->getBoundingBox());
  framing.add(*root);
  m_Panel.setCamera(framing.camera(640, 360));
  for (const Call& whole : {Call{"whole.tif", 1500}, Call{"whole.dzi", 1500, "jpeg", 64}}) {
    SCOPED_TRACE(whole.file.toStdString() + whole.compression);
    const QString suffix = QFileInfo(whole.file).suffix();
    ASSERT_NO_FATAL_FAILURE(grab(whole));
    QStringList bands;
    for (const char* rows : {"1:1", "0:0"}) {
      Call call = whole;
      bands << QStringLiteral("%1.%2.band").arg(rows[0]).arg(suffix);
      call.file = bands.last();
      call.band = rows;
      ASSERT_NO_FATAL_FAILURE(grab(call));
    }
    Call joined = whole;
    joined.file = "joined." + suffix;
    ASSERT_EQ(join(bands, joined.file), "");
    const QSize size(1500, 843);
    EXPECT_EQ(levels(joined, size), levels(whole, size));
  }
}

TEST_F(PosterTest, NamesWhatBandsLack) {
  const auto band = [this](const char* file, const char* rows, int width) {
    ASSERT_NO_FATAL_FAILURE(grab({file, width, "", 512, rows}));
  };
  band("0.tif.band", "0:0", 1500);
  band("1.tif.band", "1:1", 1500);
  band("all.tif.band", "0:1", 1500);
  band("other.tif.band", "1:1", 1501);
  ASSERT_TRUE(QFile::copy(m_Host.file("1.tif.band"), m_Host.file("half.tif.band")));
  ASSERT_TRUE(QFile::resize(m_Host.file("half.tif.band"), QFileInfo(m_Host.file("1.tif.band")).size() - 1));
  ASSERT_TRUE(QFile::copy(m_Host.file("1.tif.band"), m_Host.file("spoiled.tif.band")));
  QFile spoiled(m_Host.file("spoiled.tif.band"));  // at its end, where pixels wait for those of its neighbours
  ASSERT_TRUE(spoiled.open(QIODevice::ReadWrite) && spoiled.seek(spoiled.size() - 9) && spoiled.write("nothing") == 7);
  spoiled.close();
  band("0.dzi.band", "0:0", 500);
  ASSERT_TRUE(QDir(m_Host.directory.path()).mkdir("joined_taken_files"));
  struct Row {
    QStringList bands;
    const char* reason;
  };
  for (const Row& row :
       {Row{{"0.tif.band"}, "the rows 1:1 are missing"}, Row{{"1.tif.band"}, "the rows 0:0 are missing"},
        Row{{"0.tif.band", "all.tif.band"}, "has row 0, which another band has"},
        Row{{"0.tif.band", "other.tif.band"}, "is a band of another poster"},
        Row{{"0.tif.band", "half.tif.band"}, "half.tif.band: is no band of a poster, or not whole"},
        Row{{"0.tif.band", "spoiled.tif.band"}, "spoiled.tif.band: "}, Row{{"0.dzi.band"}, "bands of a deep-zoom"},
        Row{{"picture.png"}, "picture.png: "}, Row{{}, "there are no bands"}})
    EXPECT_THAT(join(row.bands, "joined.tif").toStdString(), HasSubstr(row.reason));
  EXPECT_THAT(join({"0.tif.band", "1.tif.band"}, "joined.dzi").toStdString(), HasSubstr("these are bands of a TIFF"));
  EXPECT_THAT(join({"0.dzi.band"}, "joined_taken.dzi").toStdString(), HasSubstr("no pyramid that it belongs to"));
  EXPECT_THAT(files().filter("joined"), ElementsAre("joined_taken_files"));
}

TEST_F(PosterTest, LeavesNothingOfWhatIsStoppedOrFindsNoSpace) {
  struct Stopper : util::ProgressPresenter {
    void begin(const void*, const QString&, bool) override {}
    void update(const void*, int) override { command->abort(); }
    void end(const void*) override {}
    GrabPoster* command = nullptr;
  };
  for (const char* name : {"a.tif", "a.dzi"}) {
    SCOPED_TRACE(name);
    ASSERT_NO_FATAL_FAILURE(grab({name, 300}));
    const QStringList before = files();
    const std::vector<QImage> old = levels({name}, {300, 168});
    const auto stopper = std::make_shared<Stopper>();
    stopper->command = &m_Poster;
    util::YProgressDialog::setPresenter(stopper);
    EXPECT_TRUE(give({name, 3000}) && m_Host.run(m_Poster));
    util::YProgressDialog::setPresenter(nullptr);
    EXPECT_THAT(m_Log.texts(log::Failure), IsEmpty());
    // Of the small one it is not tiles that are too large, but what stands beside them.
    for (const auto& [width, limit] : {std::pair(3000, 500), {8, 300}}) {
      ASSERT_TRUE(give({name, width}));
      {
        const test::Limit fileSize(RLIMIT_FSIZE, rlim_t(limit));
        EXPECT_TRUE(m_Host.run(m_Poster));
      }
      EXPECT_THAT(m_Log.texts(log::Failure), ElementsAre(HasSubstr("Couldn't save poster '")));
      EXPECT_EQ(m_Reason, "File too large");
      EXPECT_EQ(files(), before);
      EXPECT_EQ(levels({name}, {300, 168}), old);
    }
  }
}

TEST_F(PosterTest, RefusesInWordsWhatCannotBeMade) {
  ASSERT_TRUE(QDir(m_Host.directory.path()).mkdir("taken_files"));
  ASSERT_TRUE(QFile(m_Host.file("page.html")).open(QIODevice::WriteOnly));
  struct Row {
    Call call;
    const char* reason;
  };
  for (const Row& row : {Row{{"a.png", 900}, "a poster is a TIFF (.tif) or a deep-zoom pyramid (.dzi)"},
                         Row{{"a.tif", 1}, "a poster of 1 × 0 pixels is too small"},
                         Row{{"a.tif", 900, "png"}, "the tiles of a TIFF are compressed with deflate or zstd"},
                         Row{{"a.dzi", 900, "zstd"}, "the tiles of a pyramid are compressed with png or jpeg"},
                         Row{{"a.tif", 900, "", 100}, "the edge of a tile is a multiple of 16 from 64 to 4096"},
                         Row{{"a.dzi", 900, "jpeg", 512, "", 0}, "the quality is a number from 1 to 100"},
                         Row{{"a.tif", 900, "", 512, "0:0"}, "a band's file name ends with .tif.band or .dzi.band"},
                         Row{{"a.tif.band", 900, "", 512, "1:0"}, "a band is FIRST:LAST"},
                         Row{{"a.tif.band", 900, "", 512, "0:1"}, "the poster has the rows 0:0"},
                         Row{{"a.tif", 2000000000}, "choose a smaller width"},
                         Row{{"a.tif", 2100000000, "", 4096}, "choose a smaller width"},
                         Row{{"taken.dzi", 900}, "taken_files is there, but no pyramid that it belongs to"},
                         Row{{"page.dzi", 900}, "page.html is there, and shows no pyramid"}})
    EXPECT_THAT(refusal(row.call).toStdString(), HasSubstr(row.reason));
  EXPECT_EQ(refusal({"a.tif", 100000}), "");
  const main::ParameterSet& set = m_Poster.getParameterSets().front();
  EXPECT_THAT(set.summarize(set).toStdString(), HasSubstr("100,000 × 56,250 pixels in 110 rows of tiles, about "));
  EXPECT_THAT(set.summarize(set).toStdString(), HasSubstr("at most 37.5 GB on disk"));
  m_Panel.resize(10, 4000);
  EXPECT_THAT(refusal({"a.tif", 100000000}).toStdString(), HasSubstr("at most 2,147,483,646 pixels down"));
  m_Host.viewer.setActivePanel(nullptr);
  EXPECT_FALSE(m_Poster.isEnabled());
}

TEST_F(PosterTest, ThePageSaysWhatItLacks) {
  ASSERT_NO_FATAL_FAILURE(grab({"a b.dzi", 300}));
  QFile page(m_Host.file("a b.html"));
  ASSERT_TRUE(page.open(QIODevice::ReadOnly));
  const std::string text = page.readAll().toStdString();
  for (const char* part : {"put its openseadragon.min.js into the folder", "Url: \"a%20b_files/\"", "Width: \"300\"",
                           "Height: \"168\"", "TileSize: \"512\"", "Format: \"png\""})
    EXPECT_THAT(text, HasSubstr(part));
  QFile description(m_Host.file("a b.dzi"));
  ASSERT_TRUE(description.open(QIODevice::ReadOnly));
  const std::string xml = description.readAll().toStdString();
  for (const char* part : {"Format=\"png\"", "TileSize=\"512\"", "Overlap=\"0\"", "Width=\"300\" Height=\"168\""})
    EXPECT_THAT(xml, HasSubstr(part));
}

}  // namespace
}  // namespace nubo
