#include "nubo/window/menus/backgroundmenu.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QMessageBox>
#include <QSettings>

#include "kernel/main/overseer.h"
#include "module_scene/graph/scene.h"
#include "nubo/window/look/mnemonics.h"
#include "nubo/window/scene/scenechanger.h"

namespace nubo::window {

namespace {

const QString ColorKey = QStringLiteral("window/background");
const QString TopKey = QStringLiteral("window/backgroundTop");
const QString ImageKey = QStringLiteral("window/backgroundImage");
const QString InPicturesKey = QStringLiteral("window/backgroundInPictures");

scene::Background current() { return scene::_GlobalScene()->getBackground(); }

scene::Background kept() {
  const QSettings& settings = *main::nuboSettings();
  scene::Background result = current();
  const QColor color(settings.value(ColorKey).toString());
  if (color.isValid()) result.color = color;
  result.top = QColor(settings.value(TopKey).toString());
  const QString image = settings.value(ImageKey).toString();
  QString error;
  if (!image.isEmpty()) result.image = scene::readBackgroundImage(image, error);  // or it is gone, which is no matter
  result.inPictures = settings.value(InPicturesKey).toBool();
  return result;
}

}  // namespace

BackgroundMenu::BackgroundMenu(SceneChanger& changer, QWidget* parent)
    : QMenu(tr("&Background"), parent), m_Changer(changer) {
  setObjectName(QStringLiteral("backgroundMenu"));
  addAction(tr("&Colour…"), this, &BackgroundMenu::chooseColor);
  addAction(tr("&Gradient…"), this, &BackgroundMenu::chooseGradient);
  addAction(tr("&Image…"), this, &BackgroundMenu::chooseImage);
  addAction(tr("&Default"), this, &BackgroundMenu::chooseDefault)->setObjectName(QStringLiteral("defaultBackground"));
  addSeparator();
  QAction* inPictures = addAction(tr("In &Pictures, Too"), this, &BackgroundMenu::setInPictures);
  inPictures->setCheckable(true);
  connect(this, &QMenu::aboutToShow, this, [this, inPictures] { inPictures->setChecked(current().inPictures); });
  addMnemonics(actions());
  scene::_GlobalScene()->setBackground(kept());
}

void BackgroundMenu::apply(const scene::Background& background) {
  m_Changer.change(QStringLiteral("background"), [background] { scene::_GlobalScene()->setBackground(background); });
}

void BackgroundMenu::choose(scene::Background background, const QString& image) {
  background.inPictures = current().inPictures;
  const auto settings = main::nuboSettings();
  settings->setValue(ColorKey, background.color.name());
  settings->setValue(TopKey, background.top.isValid() ? background.top.name() : QString());
  settings->setValue(ImageKey, image);
  apply(background);
}

void BackgroundMenu::chooseColor() {
  const QColor color = QColorDialog::getColor(current().color, parentWidget(), tr("Background Colour"));
  if (color.isValid()) choose({color});
}

void BackgroundMenu::chooseGradient() {
  const QColor known = current().top.isValid() ? current().top : current().color.lighter();
  const QColor top = QColorDialog::getColor(known, parentWidget(), tr("Colour Above"));
  if (!top.isValid()) return;
  const QColor color = QColorDialog::getColor(current().color, parentWidget(), tr("Colour Below"));
  if (color.isValid()) choose({color, top});
}

void BackgroundMenu::chooseImage() {
  const QString file = QFileDialog::getOpenFileName(parentWidget(), tr("Background Image"),
                                                    QFileInfo(main::nuboSettings()->value(ImageKey).toString()).path(),
                                                    tr("Images (*.png *.jpg *.jpeg *.tif *.tiff *.webp *.bmp)"));
  if (file.isEmpty()) return;
  QString error;
  const QImage image = scene::readBackgroundImage(file, error);
  if (image.isNull()) {
    QMessageBox::warning(parentWidget(), tr("Background Image"),
                         tr("“%1” could not be read: %2").arg(QFileInfo(file).fileName(), error));
    return;
  }
  choose({current().color, QColor(), image}, file);
}

void BackgroundMenu::chooseDefault() {
  for (const QString& key : {ColorKey, TopKey, ImageKey}) main::nuboSettings()->remove(key);
  scene::Background background;
  background.inPictures = current().inPictures;
  apply(background);
}

void BackgroundMenu::setInPictures(bool on) {
  main::nuboSettings()->setValue(InPicturesKey, on);
  scene::Background background = current();
  background.inPictures = on;
  apply(background);
}

}  // namespace nubo::window
