#include "module_grab/commands/grabvideo.h"

#include <QFileInfo>
#include <QMutexLocker>
#include <QSemaphore>
#include <QSettings>
#include <boost/bind/bind.hpp>
#include <utility>

#include "kernel/events/eventmanager.h"
#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "kernel/main/parametervalues.h"
#include "kernel/util/delegate.h"
#include "module_grab/commands/videoformats.h"
#include "module_grab/events.h"
#include "module_grab/image/icon.h"
#include "module_grab/modulegrab.h"
#include "module_grab/video/videoencoder.h"
#include "module_grab/videoframe.h"
#include "module_grab/videohandler.h"
#include "module_grab/videosettings.h"
#include "module_scene/draw/sharedcontext.h"
#include "module_trajectory/trajectory.h"
#include "picture/savedialog.h"

namespace nubo::commands::grab {

namespace {

using main::newParameter;
using main::solveParameter;
using nubo::grab::VideoHandler;
using nubo::grab::video::VideoEncoder;

const nubo::grab::SceneEvents SceneEvents;
const nubo::grab::GlobalEvents GlobalEvents;

constexpr int MinimalSize = 16;
const char LastDirectoryKey[] = "lastGrabVideoDirectory";

bool isTooSmall(int pixels) { return pixels != 0 && pixels < MinimalSize; }

}  // namespace

const char* GrabVideo::CommandName = "grabvideo";
std::set<QObject*> GrabVideo::m_PanelSet;
QPointer<gui::ScenePanel> GrabVideo::mp_ActivePanel;
bool GrabVideo::m_Registered =
    nubo::grab::ModuleGrab::ModuleGrabFactory::getInstance()->registerPrimaryCommand(&GrabVideo::create);

/// What one execution was asked for; sizes in pixels, 0 for the panel's.
struct GrabVideo::Request {
  QString fileName;
  int width;
  int height;
  bool sync;
};

main::Command* GrabVideo::create() { return new GrabVideo; }

GrabVideo::GrabVideo()
    : Command(new main::CommandDescriptor(QStringLiteral("Grabs a video of the active view"), CommandName),
              new main::CommandGUIDescriptor(main::CommandGUIDescriptor::Menu, QObject::tr("Grab"), 20, CommandName,
                                             QObject::tr("Video"),
                                             new QIcon(nubo::grab::loadIcon(QStringLiteral("grabvideo"))))) {
  m_GUIDescriptors.front()->setShortcut(QStringLiteral("Ctrl+F12"));
  m_Placement = main::CommandGUIDescriptor::Menu | main::CommandGUIDescriptor::ToolBar;
  m_Abortable = true;
  m_Undoable = false;
  m_RunsOnClone = true;
  addParameters();
  events::EventManager::getInstance()->registerEventFunction(
      SceneEvents.SCENEPANEL_CHANGED,
      new events::EventManager::Function(boost::bind(&GrabVideo::scenePanelChanged, this, boost::placeholders::_1)),
      static_cast<main::Command*>(this), nullptr);
  disableCommand(true);
}

GrabVideo::~GrabVideo() {
  events::EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<main::Command*>(this));
}

void GrabVideo::addParameters() {
  mp_PanelFactory = std::make_unique<main::FileParameterPanelFactory>(boost::bind(&GrabVideo::createSaveDialog, this));
  auto* fileName = newParameter<QString>("filename", QObject::tr("Filename to save video"));
  fileName->setParameterPanelFactory(mp_PanelFactory.get());
  fileName->setSuggestion(&suggestedSuffix);
  auto* width = newParameter<int>("width", QObject::tr("Width of the video (0=window-width)"));
  width->setDefaultParameterForDefaultGUI(QStringLiteral("0"));
  width->setSuggestion([] { return QStringLiteral("1920"); });
  width->setQuantity(main::AbstractParameter::Quantity::PixelsAcross);
  auto* height = newParameter<int>("height", QObject::tr("Height of the video (0=window-height)"));
  height->setDefaultParameterForDefaultGUI(QStringLiteral("0"));
  height->setSuggestion([] { return QStringLiteral("1080"); });
  height->setQuantity(main::AbstractParameter::Quantity::PixelsDown);
  auto* sync = newParameter<bool>(
      "sync",
      QObject::tr("If enabled (0=true, 1=false) then the grabbing will be synced with the collisionpath steps"));
  sync->setDefaultParameterForDefaultGUI(QStringLiteral("1"));

  main::ParameterSet set(0, QString());
  set.addParameter(fileName);
  set.addParameter(width);
  set.addParameter(height);
  set.addParameter(sync);
  set.setCheck([this](const main::ParameterSet& values) { return checkValues(values); });
  set.setSummary([this](const main::ParameterSet& values) { return summarize(values); });
  set.setFraming([this](const main::ParameterSet& values) { return frameOf(values); });
  m_ParameterSets.push_back(set);
}

main::ParameterSet::Refusal GrabVideo::checkValues(const main::ParameterSet& values) const {
  for (const std::size_t size : {1, 2})
    if (isTooSmall(solveParameter<int>(m_TypeSolver, values, size).value_or(0))) return {size, sizeRefusal()};
  if (const auto refusal = checkLargest(values); !refusal.text.isEmpty()) return refusal;
  const QString fileName = solveParameter<QString>(m_TypeSolver, values, 0).value_or(QString());
  if (const QString refusal = whyNoEncoder(fileName); !refusal.isEmpty()) return {0, refusal};
  const int fps = nubo::grab::readVideoSettings().fps;
  if (VideoEncoder::getInstance()->writtenFrameRate(fileName, fps) == 0)
    return {0, tr("A “.%1” file cannot have %2 frames per second").arg(QFileInfo(fileName).completeSuffix()).arg(fps)};
  // Before there is a panel, the scene and what moves it may still be on their way.
  if (mp_ActivePanel && solveParameter<bool>(m_TypeSolver, values, 3).value_or(false) &&
      trajectory::SelectedTrajectory().count() == 0)
    return {3, tr("There is no trajectory with steps to record")};
  return {};
}

/// The run asks its own context, which is of the same OpenGL.
main::ParameterSet::Refusal GrabVideo::checkLargest(const main::ParameterSet& values) const {
  const int largest = scene::_GlobalContext()->largestTexture();
  const QSize size = VideoHandler::frameSize(solveParameter<int>(m_TypeSolver, values, 1).value_or(0),
                                             solveParameter<int>(m_TypeSolver, values, 2).value_or(0),
                                             mp_ActivePanel ? mp_ActivePanel->size() : QSize());
  if (largest == 0) return {};
  return {size.width() > largest ? 1u : 2u, nubo::grab::whyTooLarge(size, largest)};
}

QString GrabVideo::summarize(const main::ParameterSet& values) const {
  const auto fileName = solveParameter<QString>(m_TypeSolver, values, 0);
  const auto width = solveParameter<int>(m_TypeSolver, values, 1);
  const auto height = solveParameter<int>(m_TypeSolver, values, 2);
  const auto sync = solveParameter<bool>(m_TypeSolver, values, 3);
  if (!fileName || !width || !height || !sync || !mp_ActivePanel) return QString();
  const QSize size = VideoHandler::frameSize(*width, *height, mp_ActivePanel->size());
  const int fps = VideoEncoder::getInstance()->writtenFrameRate(*fileName, nubo::grab::readVideoSettings().fps);
  if (!*sync)
    return tr("%1 frames per second until it is ended, %2 × %3").arg(fps).arg(size.width()).arg(size.height());
  const trajectory::SelectedTrajectory trajectory;
  const auto first = trajectory.position(), count = trajectory.count();
  if (first >= count) return QString();
  return tr("steps %1 to %2: %3 frames, %L4 s, %5 × %6")
      .arg(first + 1)
      .arg(count)
      .arg(count - first)
      .arg(double(count - first) / fps, 0, 'f', 1)
      .arg(size.width())
      .arg(size.height());
}

main::ParameterSet::Frame GrabVideo::frameOf(const main::ParameterSet& values) const {
  const auto width = solveParameter<int>(m_TypeSolver, values, 1);
  const auto height = solveParameter<int>(m_TypeSolver, values, 2);
  if (!width || !height || isTooSmall(*width) || isTooSmall(*height) || !mp_ActivePanel) return {};
  const QSize size = VideoHandler::frameSize(*width, *height, mp_ActivePanel->size());
  return {double(size.width()) / size.height(), nubo::grab::FrameOpening};
}

void GrabVideo::scenePanelChanged(const main::Event* event) {
  auto* panel = qobject_cast<gui::ScenePanel*>(event->first());
  disableCommand(!panel || m_PanelSet.count(panel) > 0);
  mp_ActivePanel = panel;
}

main::Command* GrabVideo::clone() const {
  std::unique_ptr<main::Command> made(Command::clone());
  auto* clone = dynamic_cast<GrabVideo*>(made.get());
  if (!clone) return nullptr;  // somebody else's command has the name
  events::EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<main::Command*>(clone));
  // A clone is only ever made of the registered command, which is not a constant.
  auto* prototype = const_cast<GrabVideo*>(this);
  prototype->disableCommand(true);
  clone->disableCommand(false);
  clone->mp_Prototype = prototype;
  return made.release();
}

void GrabVideo::enableRegisteredCommand() {
  if (mp_Prototype) mp_Prototype->disableCommand(false);
}

void GrabVideo::execute() {
  if (m_CurrentParameterSetID != 0) return;
  beginExecution();
  const std::optional<Request> request = readRequest();
  gui::ScenePanel* panel = request && checkSize(*request) ? claimPanel(*request) : nullptr;
  if (panel)
    record(*request, panel);
  else
    enableRegisteredCommand();
  endExecution();
}

std::optional<GrabVideo::Request> GrabVideo::readRequest() {
  const auto fileName = solveParameter<QString>(m_TypeSolver, *mp_CurrentParameterSet, 0);
  const auto width = solveParameter<int>(m_TypeSolver, *mp_CurrentParameterSet, 1);
  const auto height = solveParameter<int>(m_TypeSolver, *mp_CurrentParameterSet, 2);
  const auto sync = solveParameter<bool>(m_TypeSolver, *mp_CurrentParameterSet, 3);
  if (fileName && width && height && sync) return Request{*fileName, *width, *height, *sync};
  NUBO_LOG(log::Note, "nubo::commands::grab::GrabVideo::execute", tr("Parameter failure"));
  return std::nullopt;
}

QString GrabVideo::sizeRefusal() { return tr("Selected width or height is to small (min. 16)"); }

bool GrabVideo::checkSize(const Request& request) {
  if (!isTooSmall(request.width) && !isTooSmall(request.height)) return true;
  NUBO_LOG(log::Failure, "nubo::commands::grab::GrabVideo::execute", sizeRefusal());
  return false;
}

gui::ScenePanel* GrabVideo::claimPanel(const Request& request) {
  gui::ScenePanel* panel = nullptr;
  bool recorded = false;
  // On the application thread no panel is closed between being found active and being watched.
  util::WorkerDelegate::invokeSync(new util::FunctionDelegate([&] {
    panel = mp_ActivePanel;
    if (!panel) return;
    recorded = !m_PanelSet.insert(panel).second;
    if (recorded) return;
    main::nuboSettings()->setValue(LastDirectoryKey, QFileInfo(request.fileName).absolutePath());
    mp_GrabbedPanel = panel;
    connect(panel, &QObject::destroyed, this, &GrabVideo::grabbingPanelClosed, Qt::DirectConnection);
  }));
  if (!panel)
    NUBO_LOG(log::Failure, "nubo::commands::grab::GrabVideo::execute", tr("There is no active scene window selected"));
  if (!recorded) return panel;
  NUBO_LOG(log::Failure, "nubo::commands::grab::GrabVideo::execute",
           QStringLiteral("Video grabbing is currently running on that scene window"));
  return nullptr;
}

void GrabVideo::releasePanel() {
  // There a closing panel is not calling a slot of this command right now.
  util::WorkerDelegate::invokeSync(new util::FunctionDelegate([this] {
    gui::ScenePanel* panel = std::exchange(mp_GrabbedPanel, nullptr);
    if (!panel) return;
    panel->disconnect(this);
    m_PanelSet.erase(panel);
    if (mp_ActivePanel == panel) enableRegisteredCommand();
  }));
}

void GrabVideo::record(const Request& request, gui::ScenePanel* panel) {
  const bool started = startHandler(request, panel);
  if (started) mp_GrabSemaphore->acquire();
  releasePanel();
  if (started && m_Aborted) abandonVideo();
  if (started && !m_Aborted) finishVideo(request.fileName);
  mp_VideoHandler.reset();
}

bool GrabVideo::startHandler(const Request& request, gui::ScenePanel* panel) {
  mp_VideoHandler = std::make_unique<VideoHandler>();
  connect(mp_VideoHandler.get(), &VideoHandler::grabbingFinished, this, &GrabVideo::grabbingFinished,
          Qt::DirectConnection);
  connect(mp_VideoHandler.get(), &VideoHandler::progressChanged, this, &GrabVideo::progressChanged,
          Qt::DirectConnection);
  mp_VideoHandler->observeFrames(
      [this](int grabbed, int encoded) { updateDetail(tr("%1 frames, %2 encoded").arg(grabbed).arg(encoded)); });
  mp_VideoHandler->observeStandstill([this] { updateStuck(); });
  mp_VideoHandler->observeFirstFrame([this](const QImage& frame) { givePreview(frame); });
  updateProcessed(-1);
  updateText(tr("RAW-Video grabbing started"));
  const auto start = request.sync ? &VideoHandler::startSynced : &VideoHandler::start;
  return (mp_VideoHandler.get()->*start)(request.fileName, request.width, request.height, panel);
}

void GrabVideo::finishVideo(const QString& fileName) {
  NUBO_LOG(log::Note, "nubo::commands::grab::GrabVideo::execute", tr("Video encoding started"));
  updateText(tr("Video encoding started"));
  mp_VideoHandler->finish();
  const int grabbed = mp_VideoHandler->framesGrabbed(), planned = mp_VideoHandler->framesPlanned();
  if (grabbed < planned) updateEndedEarly(tr("%L1 of %L2 frames").arg(grabbed).arg(planned));
  NUBO_LOG(log::Milestone, "nubo::commands::grab::GrabVideo::execute", tr("Video '%1' encoding done").arg(fileName));
  // Where the encoder has failed, the file has not got all that was grabbed.
  const int encoded = mp_VideoHandler->framesEncoded();
  if (encoded < grabbed) giveFact(QStringLiteral("complete"), false);
  giveFact(QStringLiteral("frames"), encoded);
  giveFact(QStringLiteral("width"), mp_VideoHandler->frameSize().width());
  giveFact(QStringLiteral("height"), mp_VideoHandler->frameSize().height());
  const int fps = VideoEncoder::getInstance()->writtenFrameRate(fileName, mp_VideoHandler->framesPerSecond());
  giveFact(QStringLiteral("framesPerSecond"), fps);
  if (planned > 0 && fps > 0) giveFact(QStringLiteral("seconds"), double(encoded) / fps);
}

void GrabVideo::abandonVideo() {
  NUBO_LOG(log::Milestone, "nubo::commands::grab::GrabVideo::execute", tr("Video grabbing aborted"));
  mp_VideoHandler->cancel();
}

/// From here to endExecution() the recording can be ended, also before it has begun: an abort that comes while the
/// panel is being looked up must not be lost.
void GrabVideo::beginExecution() {
  const QMutexLocker locker(&m_EndMutex);
  m_Ended = false;
  m_Aborted = false;
  mp_GrabSemaphore = std::make_unique<QSemaphore>(0);
}

void GrabVideo::endExecution() {
  const QMutexLocker locker(&m_EndMutex);
  mp_GrabSemaphore.reset();
}

void GrabVideo::endRecording(bool abandon) {
  const QMutexLocker locker(&m_EndMutex);
  if (!mp_GrabSemaphore || m_Ended) return;
  m_Ended = true;
  m_Aborted = abandon;
  mp_GrabSemaphore->release();
}

void GrabVideo::abort() { endRecording(false); }

void GrabVideo::grabbingPanelClosed() {
  mp_GrabbedPanel->disconnect(this);
  m_PanelSet.erase(std::exchange(mp_GrabbedPanel, nullptr));
  endRecording(true);
}

void GrabVideo::grabbingFinished() { abort(); }

void GrabVideo::progressChanged(int value) { updateProcessed(value); }

QFileDialog* GrabVideo::createSaveDialog() {
  QStringList filters;
  QString defaultSuffix;
  for (const auto& [extension, description] : *VideoEncoder::getInstance()->getLoadableFiles()) {
    const QString suffix = extension.toLower();
    filters.append(QStringLiteral("%1 (*.%2)").arg(description, suffix));
    if (defaultSuffix.isEmpty()) defaultSuffix = suffix;
  }
  return picture::newSaveDialog(tr("Save Video"), filters, defaultSuffix, LastDirectoryKey);
}

}  // namespace nubo::commands::grab
