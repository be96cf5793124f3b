#include "module_grab/modulegrab.h"

#include <QObject>
#include <QUrl>

#include "kernel/events/eventhandler.h"
#include "module_grab/image/icon.h"
#include "module_grab/video/videoencoder.h"
#include "module_grab/visibility.h"

// Qt's resource macros declare functions, which must lie outside of namespaces.
static void initResources() { Q_INIT_RESOURCE(module_grab); }
static void cleanupResources() { Q_CLEANUP_RESOURCE(module_grab); }

namespace nubo::grab {

namespace {
constexpr char Category[] = "Grab";
}  // namespace

ModuleGrab::ModuleGrab(main::InformationObject* information) : Module(information) {
  events::EventHandler::getInstance()->registerEventTypes(Category);
  const QString group = QObject::tr("Grab");
  m_GroupPositions[main::CommandGUIDescriptor::Menu].emplace(group, 5000);
  m_GroupPositions[main::CommandGUIDescriptor::ToolBar].emplace(group, 10);
  m_GroupPositions[main::CommandGUIDescriptor::Settings].emplace(group, 500);
}

ModuleGrab::~ModuleGrab() {
  events::EventHandler::getInstance()->unregisterEventTypes(Category);
  delete video::VideoEncoder::getInstance();
}

bool ModuleGrab::hasStartupActions() { return true; }

void ModuleGrab::doStartupActions(boost::function<void(QString)> progress) {
  progress(QStringLiteral("Initializing Video"));
  progress(QStringLiteral("Loading video encoder plugins"));
  video::VideoEncoder::getInstance()->refreshPlugins();
}

ModuleGrab::ModuleGrabFactory* ModuleGrab::ModuleGrabFactory::mp_This = nullptr;

ModuleGrab::ModuleGrabFactory* ModuleGrab::ModuleGrabFactory::getInstance() {
  if (!mp_This) mp_This = new ModuleGrabFactory;
  return mp_This;
}

ModuleGrab::ModuleGrabFactory::ModuleGrabFactory() {
  // The first instance is made while the library loads, before the resources register themselves.
  initResources();
  mp_Information =
      new main::InformationObject(QStringLiteral("Offers picture and video grabbing of the scene"),
                                  QStringLiteral("Grab"), loadIcon(QStringLiteral("grabscene")), QUrl(), QUrl());
}

ModuleGrab::ModuleGrabFactory::~ModuleGrabFactory() {
  cleanupResources();
  mp_This = nullptr;
}

main::Module* ModuleGrab::ModuleGrabFactory::createModule() { return new ModuleGrab(mp_Information); }

}  // namespace nubo::grab

extern "C" {

NUBO_MODULE_GRAB_EXPORT nubo::main::ModuleFactory* getFactory() {
  return nubo::grab::ModuleGrab::ModuleGrabFactory::getInstance();
}

NUBO_MODULE_GRAB_EXPORT void recycleFactory() { delete nubo::grab::ModuleGrab::ModuleGrabFactory::getInstance(); }

}  // extern "C"
