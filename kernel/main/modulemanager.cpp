#include "kernel/main/modulemanager.h"

#include <QDir>
#include <QLibrary>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "kernel/log/logger.h"
#include "kernel/util/delegate.h"
#include "kernel/util/exceptiontext.h"
#include "kernel/util/libraryfile.h"

namespace nubo::main {

namespace {

/// Why a library is no module.
class ModuleError : public std::runtime_error {
 public:
  explicit ModuleError(const QString& reason) : std::runtime_error(reason.toUtf8().constData()) {}
};

/// Runs foreign code of a module; false, with a record in the log, when something leaves it.
template <class Function>
bool attempt(const QString& fileName, Function function) {
  try {
    function();
    return true;
  } catch (...) {
    NUBO_LOG(log::Failure, "nubo::main::ModuleManager::loadModules",
             QStringLiteral("Module \"%1\" failed: %2").arg(QFileInfo(fileName).fileName(), util::exceptionText()));
    return false;
  }
}

/// A library with its factory, module and commands. Goes down in the reverse order in which it came up.
class LoadedModule {
 public:
  explicit LoadedModule(const QString& fileName) : m_Library(fileName) {
    // A library that lacks a function must be found out now, not when the function is called.
    m_Library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
  }
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;
  ~LoadedModule() { unload(); }

  /// Throws what stands in the way.
  void load();
  /// Takes it out of sight, but leaves everything in its place: what the module has queued or started may go on running
  /// until the program ends.
  void withdraw();
  /// A module that was not withdrawn is found by its name until it is gone.
  void unload();
  void start(const boost::function<void(QString)>& progress) {
    if (mp_Module->hasStartupActions()) mp_Module->doStartupActions(progress);
    m_Started = true;
  }
  bool isMapped() const { return m_Library.isLoaded(); }
  bool isUsable() const { return m_Usable; }
  Module* module() const { return mp_Module.get(); }
  QString name() const { return mp_Information->getName(); }
  QString fileName() const { return m_Library.fileName(); }

 private:
  void resolve();
  void makeCommands();

  QLibrary m_Library;
  ModuleFactory* (*m_GetFactory)() = nullptr;
  void (*m_RecycleFactory)() = nullptr;
  ModuleFactory* mp_Factory = nullptr;
  std::vector<CommandCreator> m_Creators;
  std::unique_ptr<InformationObject> mp_Information;
  std::unique_ptr<Module> mp_Module;
  std::vector<std::unique_ptr<Command>> m_Withdrawn;
  bool m_Usable = false;
  bool m_Started = false;
};

void LoadedModule::withdraw() {
  m_Usable = false;
  m_Withdrawn = CommandManager::getInstance()->takeOf(m_Creators);
}

void LoadedModule::unload() {
  if (std::exchange(m_Started, false)) attempt(fileName(), [this] { mp_Module->doShutdownActions(); });
  // What is on its way to this thread may use the module's objects, and later still its code.
  util::WorkerDelegate::runQueued();
  CommandManager::getInstance()->removeOf(std::exchange(m_Creators, {}));
  m_Withdrawn.clear();
  delete mp_Module.get();
  mp_Module.release();
  if (std::exchange(mp_Factory, nullptr)) attempt(fileName(), m_RecycleFactory);
  mp_Information.reset();
  util::WorkerDelegate::runQueued();
  m_Library.unload();
}

void LoadedModule::load() {
  if (util::isCutOff(fileName())) throw ModuleError(QStringLiteral("the file is not complete"));
  if (!m_Library.load()) throw ModuleError(m_Library.errorString());
  resolve();
  mp_Factory = m_GetFactory();
  if (!mp_Factory) throw ModuleError(QStringLiteral("it has no factory"));
  mp_Module.reset(mp_Factory->createModule());
  if (!mp_Module) throw ModuleError(QStringLiteral("its factory makes no module"));
  mp_Information.reset(mp_Module->getInformationObject());
  if (!mp_Information) throw ModuleError(QStringLiteral("it has no information object"));
  if (ModuleManager::getInstance()->getModule(name())) {
    throw ModuleError(QStringLiteral("a module \"%1\" is loaded already").arg(name()));
  }
  makeCommands();
  m_Usable = true;
}

void LoadedModule::resolve() {
  m_GetFactory = reinterpret_cast<ModuleFactory* (*)()>(m_Library.resolve("getFactory"));
  m_RecycleFactory = reinterpret_cast<void (*)()>(m_Library.resolve("recycleFactory"));
  if (!m_GetFactory) throw ModuleError(QStringLiteral("it lacks the entry point getFactory"));
  if (!m_RecycleFactory) throw ModuleError(QStringLiteral("it lacks the entry point recycleFactory"));
}

void LoadedModule::makeCommands() {
  m_Creators = mp_Factory->getPrimaryCommands();
  for (const CommandCreator creator : m_Creators) {
    Command* command = creator();
    if (!command) throw ModuleError(QStringLiteral("a command could not be made"));
    if (CommandManager::getInstance()->add(command, creator)) mp_Module->registerCommand(command);
  }
}

}  // namespace

struct ModuleManager::Private {
  QStringList newLibrariesIn(const QString& directory) const;

  std::vector<std::unique_ptr<LoadedModule>> modules;
};

/// In name order, each once whatever links point to it, since a library has one factory only.
QStringList ModuleManager::Private::newLibrariesIn(const QString& directory) const {
  std::set<QString> known;
  for (const auto& module : modules) known.insert(QFileInfo(module->fileName()).canonicalFilePath());
  QStringList libraries;
  for (const QFileInfo& file : QDir(directory).entryInfoList(QDir::Files, QDir::Name)) {
    if (QLibrary::isLibrary(file.fileName()) && known.insert(file.canonicalFilePath()).second) {
      libraries.append(file.absoluteFilePath());
    }
  }
  return libraries;
}

ModuleManager::ModuleManager() : d(new Private) {}

ModuleManager* ModuleManager::getInstance() {
  static auto* manager = new ModuleManager;
  return manager;
}

void ModuleManager::loadModules(const QString& directory, const boost::function<void(QString)>& progress) {
  const boost::function<void(QString)> report = progress ? progress : [](const QString&) {};
  std::vector<LoadedModule*> added;
  for (const QString& fileName : d->newLibrariesIn(directory)) {
    auto module = std::make_unique<LoadedModule>(fileName);
    if (attempt(fileName, [&] { module->load(); }))
      added.push_back(module.get());
    else
      module->withdraw();
    if (module->isMapped()) d->modules.push_back(std::move(module));
  }
  for (LoadedModule* module : added)
    if (!attempt(module->fileName(), [&] { module->start(report); })) module->withdraw();
}

void ModuleManager::unloadModules() {
  while (!d->modules.empty()) {
    d->modules.back()->unload();
    d->modules.pop_back();
  }
}

Module* ModuleManager::getModule(const QString& name) const {
  for (const auto& module : d->modules) {
    if (module->isUsable() && module->module() && module->name() == name) return module->module();
  }
  return nullptr;
}

QStringList ModuleManager::names() const {
  QStringList names;
  for (const auto& module : d->modules)
    if (module->isUsable()) names.append(module->name());
  return names;
}

}  // namespace nubo::main
