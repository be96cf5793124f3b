#include "nubo/cli/lookoptions.h"

#include "module_scene/io/panorama.h"
#include "nubo/cli/commandline.h"

namespace nubo::app {

namespace {

QString applyBackground(const CommandLine& line, scene::Scene& scene) {
  scene::Background background = line.background.value_or(scene.getBackground());
  if (line.backgroundInPicture) background.inPictures = true;
  if (!line.backgroundImage.isEmpty()) {
    QString error;
    background.image = scene::readBackgroundImage(line.backgroundImage, error);
    if (background.image.isNull()) return QStringLiteral("cannot read '%1': %2").arg(line.backgroundImage, error);
  }
  scene.setBackground(background);
  return QString();
}

}  // namespace

QString applyLook(const CommandLine& line, scene::Scene& scene) {
  if (line.edges) scene.setEdges(true);
  if (line.contact) scene.setContact(*line.contact);
  if (line.ground) scene.setGround(true);
  if (line.look) scene.setLook(*line.look);
  if (line.samples) scene.setSamples(*line.samples);
  if (const QString error = applyBackground(line, scene); !error.isEmpty()) return error;
  if (line.environment.isEmpty()) return QString();
  QString error;
  const io::Panorama panorama = io::readPanorama(line.environment, error);
  if (panorama.light.empty()) return QStringLiteral("cannot read '%1': %2").arg(line.environment, error);
  scene.setEnvironment(util::YPointer<util::YObject>(io::toEnvironment(panorama).get()));
  return QString();
}

}  // namespace nubo::app
