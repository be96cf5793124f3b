#include "module_poster/commands/grabposter.h"

#include <QFileInfo>
#include <QSettings>
#include <boost/bind.hpp>

#include "kernel/events/event.h"
#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "kernel/main/parameterpanelfactory.h"
#include "kernel/main/parametervalues.h"
#include "module_poster/commands/posterrun.h"
#include "module_poster/files/error.h"
#include "module_poster/image/icon.h"
#include "module_poster/moduleposter.h"
#include "module_scene/gui/viewer.h"
#include "picture/panelview.h"
#include "picture/savedialog.h"

namespace nubo::commands::poster {

using main::ParameterSet;

namespace {

const char Execute[] = "nubo::commands::poster::GrabPoster::execute";
const char DirectoryKey[] = "lastGrabPosterDirectory";
const unsigned long PanelChanged = events::EventHandler::getInstance()->addEvent("Scene", "SCENEPANEL_CHANGED");

template <class T>
main::AbstractParameter* newParameter(const char* name, const QString& description, const QString& text) {
  auto* parameter = main::newParameter<T>(name, description);
  parameter->setDefaultParameterForDefaultGUI(text);
  return parameter;
}

/// One that can be left out.
main::AbstractParameter* newChoice(const char* name, const QString& description) {
  return new main::Parameter<QString>(QString::fromLatin1(name), description, QString(), false, nullptr);
}

QColor backgroundColour() { return gui::Viewer::getInstance()->getGlobalScene()->getBackgroundColor(); }

}  // namespace

const char* const GrabPoster::CommandName = "grabposter";
bool GrabPoster::m_Registered =
    nubo::poster::ModulePoster::Factory::getInstance()->registerPrimaryCommand(&GrabPoster::create);

main::Command* GrabPoster::create() { return new GrabPoster; }

GrabPoster::GrabPoster()
    : Command(new main::CommandDescriptor(QStringLiteral("Makes a poster of the scene, of any size"),
                                          QString::fromLatin1(CommandName)),
              new main::CommandGUIDescriptor(main::CommandGUIDescriptor::Menu, QObject::tr("Grab"), 15,
                                             QString::fromLatin1(CommandName), QObject::tr("Poster"),
                                             new QIcon(nubo::poster::loadIcon()))) {
  m_Placement = main::CommandGUIDescriptor::Menu;
  m_Cancellable = true;
  buildParameters();
  events::EventManager::getInstance()->registerEventFunction(
      PanelChanged,
      new events::EventManager::Function(boost::bind(&GrabPoster::panelChanged, this, boost::placeholders::_1)),
      static_cast<Command*>(this), nullptr);
  disableCommand(true);
}

GrabPoster::~GrabPoster() {
  events::EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<Command*>(this));
}

void GrabPoster::buildParameters() {
  ParameterSet set(1, QString());
  auto* fileName = main::newParameter<QString>("filename", QObject::tr("TIFF or deep-zoom pyramid to save the poster"));
  mp_PanelFactory = std::make_unique<main::FileParameterPanelFactory>(boost::bind(&GrabPoster::createSaveDialog, this));
  fileName->setParameterPanelFactory(mp_PanelFactory.get());
  set.addParameter(fileName);
  auto* width = newParameter<int>("width", QObject::tr("Width of the poster"), QStringLiteral("30000"));
  width->setQuantity(main::AbstractParameter::Quantity::PixelsAcross);
  set.addParameter(width);
  set.addParameter(
      newChoice("compression", QObject::tr("Compression of tiles: deflate or zstd in a TIFF, png or jpeg in "
                                           "a pyramid; if empty the first of these")));
  set.addParameter(newParameter<int>("quality", QObject::tr("Quality of jpeg tiles (1 to 100)"), QStringLiteral("90")));
  set.addParameter(newParameter<int>("tile", QObject::tr("Edge of the tiles in the file, in pixels"),
                                     QString::number(picture::LargestTile)));
  set.addParameter(
      newChoice("band", QObject::tr("Only the rows of tiles FIRST:LAST, from 0 at the bottom, into a file for "
                                    "nubo-join; if empty all")));
  set.setCheck([this](const ParameterSet& values) {
    ParameterSet::Refusal refusal;
    requestOf(values, refusal);
    return refusal;
  });
  set.setSummary([this](const ParameterSet& values) {
    ParameterSet::Refusal refusal;
    const auto request = requestOf(values, refusal);
    return request ? request->summary() : QString();
  });
  m_ParameterSets.push_back(set);
}

std::optional<PosterRequest> GrabPoster::requestOf(const ParameterSet& values, ParameterSet::Refusal& refusal) const {
  return PosterRequest::of(m_TypeSolver, values, mp_ActivePanel ? mp_ActivePanel->size() : QSize(), backgroundColour(),
                           refusal);
}

QFileDialog* GrabPoster::createSaveDialog() {
  return picture::newSaveDialog(QObject::tr("Save Poster"),
                                {QObject::tr("TIFF (*.tif *.tiff)"), QObject::tr("Deep-zoom pyramid (*.dzi)")},
                                QStringLiteral("tif"), QLatin1String(DirectoryKey));
}

void GrabPoster::panelChanged(const main::Event* event) {
  mp_ActivePanel = qobject_cast<gui::ScenePanel*>(event->first());
  disableCommand(mp_ActivePanel.isNull());
}

void GrabPoster::execute() {
  const std::optional<picture::PanelView> view = picture::viewOf(mp_ActivePanel);
  if (!mp_CurrentParameterSet || !view) return;
  ParameterSet::Refusal refusal;
  const auto request =
      PosterRequest::of(m_TypeSolver, *mp_CurrentParameterSet, view->size, backgroundColour(), refusal);
  if (!request) {
    NUBO_LOG(log::Failure, Execute, refusal.text.isEmpty() ? QStringLiteral("Parameter failure") : refusal.text);
    return;
  }
  main::nuboSettings()->setValue(QLatin1String(DirectoryKey), QFileInfo(request->fileName).absolutePath());
  updateProcessed(-1);
  updateText(QObject::tr("Making the poster"));
  make(*request, view->transform);
}

void GrabPoster::make(const PosterRequest& request, const math::Matrix4& transform) {
  QString reason;
  try {
    PosterRun run(request, m_Aborted);
    run.draw(transform, [this](const QString& detail) { updateDetail(detail); });
    if (m_Aborted) return updateEndedEarly(QObject::tr("nothing was written"));
    run.finish();
    giveFact(QStringLiteral("width"), request.description.size.width());
    giveFact(QStringLiteral("height"), request.description.size.height());
    giveFact(QStringLiteral("tiles"), run.tiles());
    NUBO_LOG(log::Note, Execute, QStringLiteral("Poster saved to '%1'").arg(request.fileName));
    return;
  } catch (const nubo::poster::Error& error) {
    reason = error.text();
  }
  giveReason(reason);
  NUBO_LOG(log::Failure, Execute, QStringLiteral("Couldn't save poster '%1'!").arg(request.fileName));
}

}  // namespace nubo::commands::poster
