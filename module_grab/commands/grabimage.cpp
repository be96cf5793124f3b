#include "module_grab/commands/grabimage.h"

#include <QCursor>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QImageWriter>
#include <QOpenGLFramebufferObject>
#include <QSettings>
#include <boost/bind.hpp>
#include <optional>

#include "kernel/events/event.h"
#include "kernel/events/eventmanager.h"
#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "kernel/main/parameterpanelfactory.h"
#include "kernel/main/parametervalues.h"
#include "kernel/util/delegate.h"
#include "kernel/util/functioncommand.h"
#include "module_grab/commands/picturefile.h"
#include "module_grab/commands/picturesize.h"
#include "module_grab/commands/tiledrenderer.h"
#include "module_grab/events.h"
#include "module_grab/image/icon.h"
#include "module_grab/modulegrab.h"
#include "module_scene/draw/viewpoint.h"
#include "module_scene/gui/viewer.h"
#include "picture/hugepages.h"
#include "picture/offscreencontext.h"
#include "picture/panelview.h"
#include "picture/savedialog.h"

namespace nubo::commands::grab {

using main::newParameter;
using math::Matrix4;
using util::FunctionDelegate;
using util::WorkerDelegate;

namespace {

[[maybe_unused]] const nubo::grab::GrabEvents GrabEventIds;
const nubo::grab::SceneEvents SceneEventIds;
[[maybe_unused]] const nubo::grab::GlobalEvents GlobalEventIds;

constexpr int InteractiveSet = 1;
constexpr int ProgrammaticSet = 10000;
constexpr int OfferedInMenuAndToolBar = main::CommandGUIDescriptor::Menu | main::CommandGUIDescriptor::ToolBar;
constexpr double MetersPerInch = 0.0254;
constexpr double PictureOpening = scene::HalfOpening * 360 / 3.14159265358979323846;  // degrees
const char Execute[] = "nubo::commands::grab::GrabImage::execute";
const char Probe[] = "nubo::commands::grab::GrabImage::probeFramebufferObjects";
const char DirectoryKey[] = "lastGrabImageDirectory";

template <class T>
void addCallersValue(main::ParameterSet& set, const char* name, T* value) {
  auto* parameter = newParameter<T>(name, QStringLiteral("noDesc"));
  parameter->disableDeleteOnSet(true);
  parameter->template setValue<T>(value);
  set.addParameter(parameter);
}

main::CommandDescriptor* newDescriptor() {
  return new main::CommandDescriptor(QStringLiteral("Grabs an image of the scene"),
                                     QString::fromLatin1(GrabImage::CommandName));
}

/// Shows the wait cursor on the whole application for as long as it lives.
class WaitCursor {
 public:
  WaitCursor() {
    WorkerDelegate::invokeSync(
        new FunctionDelegate([] { QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor)); }));
  }
  ~WaitCursor() {
    WorkerDelegate::invokeSync(new FunctionDelegate([] { QGuiApplication::restoreOverrideCursor(); }));
  }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;
};

}  // namespace

const char* const GrabImage::CommandName = "grabimage";
bool GrabImage::m_Registered =
    nubo::grab::ModuleGrab::ModuleGrabFactory::getInstance()->registerPrimaryCommand(&GrabImage::create);

main::Command* GrabImage::create() { return new GrabImage; }

GrabImage::GrabImage()
    : Command(newDescriptor(),
              new main::CommandGUIDescriptor(main::CommandGUIDescriptor::Menu, QObject::tr("Grab"), 10,
                                             QString::fromLatin1(CommandName), QObject::tr("Image"),
                                             new QIcon(nubo::grab::loadIcon(QStringLiteral("grabscene"))))) {
  m_GUIDescriptors.front()->setShortcut(QStringLiteral("F12"));
  m_Placement = OfferedInMenuAndToolBar;
  m_Abortable = false;
  m_Undoable = false;
  m_Cancellable = true;
  buildInteractiveSet();
  queueProbe();
  disableCommand(true);
}

GrabImage::GrabImage(QImage* image, const Matrix4* transform, gui::ScenePanel* panel)
    : Command(newDescriptor(), nullptr) {
  m_Placement = 0;
  m_Abortable = false;
  m_Undoable = false;
  m_Programmatic = true;
  main::ParameterSet set(ProgrammaticSet, QString());
  addCallersValue(set, "image", image);
  // Parameters hold what they are given without const; the matrix is only read.
  addCallersValue(set, "transform", const_cast<Matrix4*>(transform));
  addCallersValue(set, "scenepanel", panel);
  m_ParameterSets.push_back(set);
  m_CurrentParameterSetID = set.getID();
}

GrabImage::GrabImage(const GrabImage& other) : Command(other), mp_ActivePanel(other.mp_ActivePanel) {
  if (other.mp_PanelFactory) copyInteractiveSet(other);
}

GrabImage& GrabImage::operator=(const GrabImage& other) {
  if (this == &other) return *this;
  Command::operator=(other);
  mp_PanelFactory.reset();
  mp_ActivePanel = other.mp_ActivePanel;
  if (other.mp_PanelFactory) copyInteractiveSet(other);
  return *this;
}

GrabImage::~GrabImage() {
  events::EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<Command*>(this));
}

void GrabImage::buildInteractiveSet() {
  main::ParameterSet set(InteractiveSet, QString());
  auto* fileName = newParameter<QString>("filename", QObject::tr("Imagefilename to save grab"));
  mp_PanelFactory = std::make_unique<main::FileParameterPanelFactory>(boost::bind(&GrabImage::createSaveDialog, this));
  fileName->setParameterPanelFactory(mp_PanelFactory.get());
  set.addParameter(fileName);
  auto* width = newParameter<int>("width", QObject::tr("Width of the grabbed image"));
  width->setDefaultParameterForDefaultGUI(QStringLiteral("10000"));
  width->setQuantity(main::AbstractParameter::Quantity::PixelsAcross);
  set.addParameter(width);
  set.setCheck([this](const main::ParameterSet& values) { return checkValues(values); });
  set.setSummary([this](const main::ParameterSet& values) { return summarize(values); });
  // All that a panel shows, in its own shape.
  set.setFraming([](const main::ParameterSet&) { return main::ParameterSet::Frame{0, PictureOpening}; });
  m_ParameterSets.push_back(set);
}

main::ParameterSet::Refusal GrabImage::checkValues(const main::ParameterSet& values) const {
  const auto fileName = main::solveParameter<QString>(m_TypeSolver, values, 0);
  const auto width = main::solveParameter<int>(m_TypeSolver, values, 1);
  if (!fileName || !width) return {};
  if (!hasWritableSuffix(*fileName)) return {0, QObject::tr("No valid image file extension selected")};
  if (!mp_ActivePanel) return {};
  return {1, whyNotPossible(QFileInfo(*fileName).suffix(), *width, picture::heightFor(*width, mp_ActivePanel->size()))};
}

QString GrabImage::summarize(const main::ParameterSet& values) const {
  const auto fileName = main::solveParameter<QString>(m_TypeSolver, values, 0);
  const auto width = main::solveParameter<int>(m_TypeSolver, values, 1);
  if (!fileName || !width || !mp_ActivePanel) return QString();
  const int height = picture::heightFor(*width, mp_ActivePanel->size());
  return QObject::tr("%L1 × %L2 pixels, about %L3 MB while it is built")
      .arg(*width)
      .arg(height)
      .arg(megabytesFor(QFileInfo(*fileName).suffix(), *width, height), 0, 'f', 0);
}

/// A copy has parameters of its own, whose file dialog is its own too.
void GrabImage::copyInteractiveSet(const GrabImage& other) {
  m_ParameterSets.clear();
  mp_CurrentParameterSet = nullptr;
  buildInteractiveSet();
  if (other.mp_CurrentParameterSet) setParameters(*other.mp_CurrentParameterSet);
}

void GrabImage::queueProbe() {
  mp_Life = std::make_shared<GrabImage*>(this);
  auto* probe = new FunctionDelegate([life = std::weak_ptr<GrabImage*>(mp_Life)] {
    if (const auto command = life.lock()) (*command)->probeFramebufferObjects();
  });
  main::Overseer::getInstance()->getCommandProcessor()->processCommand(
      new util::FunctionCommand([probe] { WorkerDelegate::invoke(probe); }, true, nullptr),
      main::CommandProcessor::Queued, false);
}

void GrabImage::probeFramebufferObjects() {
  picture::OffscreenContext context(nullptr);
  if (!context.isValid()) {
    NUBO_LOG(log::Failure, Probe, "Could not create OpenGL context!");
    return;
  }
  if (!context.makeCurrent()) {
    NUBO_LOG(log::Failure, Probe, "Current OpenGL context is invalid!");
    return;
  }
  if (!QOpenGLFramebufferObject::hasOpenGLFramebufferObjects()) {
    NUBO_LOG(log::Failure, Probe, "Grab Image: Your graphics card doesn't support framebuffer objects!");
    return;
  }
  events::EventManager::getInstance()->registerEventFunction(
      SceneEventIds.SCENEPANEL_CHANGED,
      new events::EventManager::Function(boost::bind(&GrabImage::scenePanelChanged, this, boost::placeholders::_1)),
      static_cast<Command*>(this), nullptr);
}

void GrabImage::scenePanelChanged(const main::Event* event) {
  mp_ActivePanel = qobject_cast<gui::ScenePanel*>(event->first());
  disableCommand(mp_ActivePanel.isNull());
}

QFileDialog* GrabImage::createSaveDialog() {
  QStringList filters;
  for (const QByteArray& name : QImageWriter::supportedImageFormats()) {
    const QString format = QString::fromLatin1(name);
    filters.append(format.toUpper() + QStringLiteral("-File (*.") + format.toLower() + QLatin1Char(')'));
  }
  return picture::newSaveDialog(QObject::tr("Save Image"), filters, QStringLiteral("png"), QLatin1String(DirectoryKey));
}

void GrabImage::execute() {
  if (m_CurrentParameterSetID == ProgrammaticSet)
    executeProgrammatic();
  else if (m_CurrentParameterSetID == InteractiveSet)
    executeInteractive();
}

void GrabImage::executeProgrammatic() {
  mp_CurrentParameterSet = &m_ParameterSets.back();
  const auto& parameters = *mp_CurrentParameterSet->getParameterList();
  auto* image = parameters[0]->getValue<QImage>();
  const auto* transform = parameters[1]->getValue<Matrix4>();
  auto* panel = parameters[2]->getValue<gui::ScenePanel>();
  WorkerDelegate::invokeSync(new FunctionDelegate([this, panel] { mp_ActivePanel = panel; }));
  if (!image || !transform) return;
  const int dotsPerInch = int(image->dotsPerMeterX() * MetersPerInch);
  updateProcessed(-1);
  updateText(QObject::tr("Grabbing image with %1 dpi").arg(dotsPerInch, 0, 10, QLatin1Char(' ')));
  saveImage(image, *transform);
}

void GrabImage::executeInteractive() {
  if (!mp_CurrentParameterSet || mp_CurrentParameterSet->getParameterList()->empty()) return;
  const auto fileName = main::solveParameter<QString>(m_TypeSolver, *mp_CurrentParameterSet, 0);
  if (!fileName) {
    log::qConsole("Parameter failure");
    return;
  }
  const auto width = main::solveParameter<int>(m_TypeSolver, *mp_CurrentParameterSet, 1);
  if (!width) {
    NUBO_LOG(log::Note, Execute, "Parameter failure");
    return;
  }
  if (!hasWritableSuffix(*fileName)) {
    NUBO_LOG(log::Failure, Execute, "No valid image file extension selected");
    return;
  }
  const std::optional<picture::PanelView> view = picture::viewOf(mp_ActivePanel);
  if (!view) return;
  const int height = picture::heightFor(*width, view->size);
  if (*width < 2 || height < 2) {
    NUBO_LOG(log::Failure, Execute, "Target picture (%d x %d) size is to small!", *width, height);
    return;
  }
  if (!gui::Viewer::getInstance()->isFboAvailable()) {
    NUBO_LOG(log::Failure, Execute, "Your graphics card doesn't support framebuffer objects - abort!");
    return;
  }
  grabToFile(*fileName, *width, height, view->transform);
}

void GrabImage::grabToFile(const QString& fileName, int width, int height, const Matrix4& transform) {
  main::nuboSettings()->setValue(QLatin1String(DirectoryKey), QFileInfo(fileName).absolutePath());
  const WaitCursor cursor;
  QImage image(width, height, QImage::Format_ARGB32);
  if (image.isNull()) {
    NUBO_LOG(log::Failure, Execute, "Couldn't create image buffer with size (%d x %d)", width, height);
    return;
  }
  updateProcessed(-1);
  updateText(QObject::tr("Building tiles"));
  if (const double dotsPerInch = mp_CurrentParameterSet->parameters()[1]->getDotsPerInch(); dotsPerInch > 0) {
    image.setDotsPerMeterX(qRound(dotsPerInch / MetersPerInch));
    image.setDotsPerMeterY(image.dotsPerMeterX());
  }
  {
    const picture::PagesAhead pages(image.bits(), std::size_t(image.sizeInBytes()));
    saveImage(&image, transform);
  }
  if (m_Aborted) return updateEndedEarly(QObject::tr("nothing was written"));
  givePreview(image);
  updateText(QObject::tr("Saving image"));
  const QByteArray localName = fileName.toLocal8Bit();
  QString reason;
  const scene::Background background = gui::Viewer::getInstance()->getGlobalScene()->getBackground();
  if (writePicture(std::move(image), background, fileName, reason)) {
    giveFact(QStringLiteral("width"), width);
    giveFact(QStringLiteral("height"), height);
    NUBO_LOG(log::Note, Execute, "Image saved to '%s'", localName.constData());
  } else {
    giveReason(reason);
    NUBO_LOG(log::Failure, Execute, "Couldn't save image '%s'!", localName.constData());
  }
}

void GrabImage::saveImage(QImage* target, const Matrix4& transform) { renderTiled(target, transform, m_Aborted); }

}  // namespace nubo::commands::grab
